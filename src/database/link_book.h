// The failure tables of a stored link, packed.
//
// Private to the library. The vectors bbw and fbw of a link's state have an element per
// failing link and level, nearly all of them 0; on a large network they do not fit into
// memory, and finding the worst failure means to walk them. A link that LSPs are booked
// on therefore keeps, per class, an entry per failure that has something to say, in the
// order of failure ids. Missing entries count as 0, like missing elements, so sums and
// results are the same to the last bit.
//
// A link is packed (link->book, its vectors all 0) or plain (no book). It is packed when
// it is first booked, and unpacked where somebody reads the vectors. A link whose state
// DBgetLinkState has handed out stays plain: its owner may read and write it any time.
#pragma once

#include "database/database_st.h"
#include "database/topology.h"

struct BookEntry {
    bool active;  // something activated, or less than nothing freed: needs bandwidth
    double bbw[kLevels];
    double fbw[kLevels];
};

// The largest need of all failures in a class: what rbw adds to pbw, level by level.
struct WorstNeed {
    std::uint32_t version;  // of the topology that it holds for, 0 for none
    double level[kLevels];
};

// Most lookups find nothing. They are told so by `present`, which has a bit for the lower
// bits of every failure id there is, or by the ids, which lie apart from the entries.
struct BookClass {
    Long size;
    Long top;
    Long* failures;  // ascending
    BookEntry* cont;
    std::uint64_t present[4];
    WorstNeed worst;
};

struct LinkBook {
    std::uint32_t rbwVersion;  // topology for which rbw was computed from this, 0: none
    std::uint8_t reserved;     // then: classes with a reservation that is not 0,
    std::uint8_t overfull;     //   and with one that exceeds the capacity in all
    BookClass classes[kClasses];
};

// What a trial would add, in bbw or fbw (if `freed`) of one failure: mult * amounts, per
// class.
struct BookChange {
    Long failure;
    bool freed;
    double mult;
    const double* amounts;
};

struct BookChangeVec {
    Long size;
    Long top;
    BookChange* cont;
};

// A trial: changes that are not made, all at one level. They may only add to needs
// (`raises`), which spares a walk over all failures.
struct BookTrial {
    const BookChangeVec* changes;
    int level;
    bool raises;
};

// Packs the link if it may be, and returns its book; else null, without a message.
LinkBook* packedBook(DBLink* link);

// Fills the vectors from the book and ends it. -1, with a message, if they cannot grow;
// the link then stays packed.
int unpackLink(DBLink* link);

// Copies a book into one that is zeroed or held a copy before; -1 if memory ends.
int copyBook(LinkBook* dst, const LinkBook* src);
void endBook(LinkBook* book);

// Adds x to the element of a failure: of fbw if `freed`, of bbw otherwise.
int bookAdd(LinkBook* book, bool freed, int oa, int level, Long failure, double x);

// The worst need of a class, computed if it is not known.
const WorstNeed& worstNeed(DataBase* dataBase, const DBTopology* topology,
                           BookClass* cls);

// The worst need that class oa would have with the changes of a trial.
WorstNeed worstNeedAfter(DataBase* dataBase, const DBTopology* topology, BookClass* cls,
                         int oa, const BookTrial& trial);

// Whether the failure of a link, or of the node it enters, needs as much as any in the
// class at some level; if so, stores the worst need of all other failures. The worst need
// has to be known.
bool isAmongWorst(DataBase* dataBase, const DBTopology* topology, const BookClass* cls,
                  Long failure, double (&others)[kLevels]);

// Raises `worst` by what the failure of a link, and of the node it enters, would need in
// class oa with the changes of a trial.
void raiseByFailure(const DBTopology* topology, const BookClass* cls, int oa,
                    const BookTrial& trial, Long failure, double (&worst)[kLevels]);
