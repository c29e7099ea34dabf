// All that is derived from the plain records of a database, and kept in step with them.
//
// Private to the library, and the only owner of derived state: the failure tables of the
// links, without their zeros (ledger.h), and which links a failing node has cells on; the
// flat network (graph.h); what searches read of links (views.h). The functions that
// change the records say so here, and checkLive computes everything anew and compares.
#pragma once

#include <cstdint>

#include "database/booking.h"
#include "database/live/concerned.h"
#include "database/live/graph.h"
#include "database/live/ledger.h"
#include "database/live/views.h"

struct LinkClass {
    DBLink* link;
    int oa;
};

struct Live {
    Graph graph;
    Views views;
    Array<DBLink*> bySlot;  // null for a free slot
    Array<Long> freeSlots;
    // By class and failing node: the links that have cells of it; and those with idle
    // cells.
    Array<CellSets> concerned[kClasses];
    SlotSet idle;
    // Links that the database's counter leaves out of the failures, those with the
    // highest ids: node removals lower it by one too many.
    Array<CellKey> uncounted;
    Array<CellKey> spare;  // room for the next list of these
    Long nbUsed;           // links there are
    RunScratch scratch;
    Array<LinkClass> losers;  // that have cells of the link about to go
    std::uint32_t walk;       // number of the last walk over links
};

// Marks on links for one walk over them.
class WalkMarks {
  public:
    explicit WalkMarks(Live* live);
    bool has(const DBLink* link) const { return link->ledger->walk == walk_; }
    void put(DBLink* link) const { link->ledger->walk = walk_; }

  private:
    std::uint32_t walk_;
};

// An empty one, or null.
Live* newLive();
void endLive(Live* live);

// Prepares a link to be stored: gives it its ledger, made from the vectors of its state,
// and makes room for all that linkJoins has to do. False, nothing changed, if there is no
// memory.
bool prepareLink(DataBase* dataBase, DBLink* link, Long src, Long dst);

// Takes that back for a link that is not stored after all.
void abandonLink(DataBase* dataBase, DBLink* link);

// The link has been stored, ids, lists of neighbours and counters included.
void linkJoins(DataBase* dataBase, DBLink* link);

// False if there is no memory to take the link out.
bool prepareLeave(DataBase* dataBase, const DBLink* link);

// The link is about to go; the counters are to follow.
void linkLeaves(DataBase* dataBase, DBLink* link);

void nodeJoins(DataBase* dataBase, Long node);
void nodeLeaves(DataBase* dataBase);

// The database's counters or ids of links have changed. There has to be room for that:
// false if there is no memory.
bool prepareCounts(const DataBase* dataBase);
void countsChanged(DataBase* dataBase);

// Makes a booking on a stored link, and computes rbw if the booking is complete. -1, with
// a message, if there is no memory.
int bookLink(DataBase* dataBase, DBLink* link, const Booking& booking, bool isComplete);

// rbw as bookLink would make it; nothing changes. False if there is no memory.
bool tryLink(DataBase* dataBase, const DBLink* link, const Booking& booking,
             double (&rbw)[kClasses][kLevels]);

// Whether it is plain without a look at the failure tables that after a booking all
// classes reserve no more than their capacities, up to a level and in all.
bool surelyFits(const DBLink* link, const Booking& booking, int upTo);

// rbw of a stored link as its tables give it.
void reservedNow(const DBLink* link, double (&rbw)[kClasses][kLevels]);

// Works out what rests on the cells and sums of a link, which have been read: its worst
// needs, which classes are in use, and in which of them rbw is not what the tables give.
void settleLink(const Live* live, DBLink* link);

// Puts the vectors of the link's state in step with its ledger, from now on. -1, with a
// message, if they cannot grow.
int mirrorLink(const DataBase* dataBase, DBLink* link);

// The state of a stored link has been replaced as a whole, its vectors too. -1 if there
// is no memory; the link then has no cells.
int stateReplaced(DataBase* dataBase, DBLink* link);

inline Counted countedIn(const Live* live) {
    return Counted(&live->uncounted);
}

// Computes all that is derived anew from the plain records, by the literal functions, and
// compares. Null if all is well, else what differs first; `where` gets the link's ends.
// For tests and debug builds: costs a full evaluation of every link.
const char* checkLive(DataBase* dataBase, Long (&where)[2]);
