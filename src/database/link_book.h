// The failure tables of a stored link, packed.
//
// Private to the library. The vectors bbw and fbw of a link's state have an element per
// failing link and level, nearly all of them 0; on a large network they do not fit into
// memory, and finding the worst failure means to walk them. A link that LSPs are booked
// on therefore keeps, per class, an entry per failure that has something to say, in the
// order of failure ids. Missing entries count as 0, like missing elements, so sums and
// results are the same to the last bit.
//
// As long as sums are exact (grain.h) a book also keeps what the failure of a node needs,
// and the worst need in step with every change, so that booking an LSP walks over its own
// failures only (bench/state.cpp).
//
// A link is packed (link->book, its vectors all 0) or plain (no book). It is packed when
// it is first booked, and unpacked where somebody reads the vectors. A link whose state
// DBgetLinkState has handed out stays plain: its owner may read and write it any time.
#pragma once

#include "database/database_st.h"
#include "database/grain.h"
#include "database/id_map.h"
#include "database/topology.h"

struct BookEntry {
    bool active;  // something activated, or less than nothing freed: needs bandwidth
    double bbw[kLevels];
    double fbw[kLevels];
};

// What a failure activates beyond what it frees, levels 0 to p together: its need, if
// that is more than 0.
struct Balance {
    double upTo[kLevels];
};

// The largest need of all failures in a class: what rbw adds to pbw, level by level.
struct WorstNeed {
    std::uint32_t version;  // of the topology that it holds for, 0 for none
    double level[kLevels];
};

struct BookClass {
    RecordMap<BookEntry> links;  // by failing link
    RecordMap<Balance> nodes;    // by failing node: sums over the links that enter it
    WorstNeed worst;
};

struct LinkBook {
    std::uint32_t rbwVersion;    // topology for which rbw was computed from this, 0: none
    std::uint32_t nodesVersion;  // topology for which `nodes` hold, 0: none
    Grain grain;                 // of the entries and of pbw
    BookClass classes[kClasses];
};

// Packs the link if it may be, and returns its book; else null, without a message.
LinkBook* packedBook(DBLink* link);

// Fills the vectors from the book and ends it. -1, with a message, if they cannot grow;
// the link then stays packed.
int unpackLink(DBLink* link);

// Copies a book into one that is zeroed or held a copy before; -1 if memory ends. The
// copy does its sums in order.
int copyBook(LinkBook* dst, const LinkBook* src);
void endBook(LinkBook* book);

// Whether the book keeps needs of nodes for this topology; they are made if that is
// possible.
bool isBalanced(const DBTopology* topology, LinkBook* book, const double (*pbw)[kLevels]);

// What a failure activates beyond what it frees, all levels.
inline double balanceOf(const BookEntry& entry) {
    double balance = 0.0;
    for (int p = 0; p < kLevels; p++) balance += entry.bbw[p] - entry.fbw[p];
    return balance;
}

// Adds x to the element of a failure: of fbw if `freed`, of bbw otherwise.
int bookAdd(const DBTopology* topology, LinkBook* book, bool freed, int oa, int level,
            Long failure, double x);

// The node that a failing link enters; -1 if the id is free.
inline Long headOf(const DBTopology* topology, Long failure) {
    return failure < topology->linkSlots && topology->byId[failure].link != nullptr
               ? topology->byId[failure].head
               : -1;
}
