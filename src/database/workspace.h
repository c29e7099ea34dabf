// Memory that a database keeps between calls, so that requests allocate nothing.
//
// Private to the library.
#pragma once

#include <cstddef>

#include "common/common.h"
#include "database/need_rows.h"
#include "database/topology.h"
#include "database/worst_need.h"

// Marks by id that are all cleared at once: a slot is marked if it carries the current
// stamp.
struct Stamps {
    Long size;
    Long* cont;
    Long current;
};

// An array that a computation finds as it left it, at the size it needs.
struct Scratch {
    std::size_t bytes;
    void* cont;
};

// What the scratches are for, and by what they are indexed.
enum ScratchUse {
    BACKUP_LINKS,        // working links of the backup search, by link
    BACKUP_NODES,        // its search nodes, by node
    BACKUP_NEEDS,        // what failures need that it protects from, by out-link
    BACKUP_QUEUE,        // its queue
    BACKUP_WORST,        // worst needs of links that chosen backups run over, by out-link
    LINK_SUMMARIES,      // by out-link
    PRIMARY_NODES,       // labels of the primary search, by node
    PRIMARY_COSTS,       // their committed costs, by node
    PRIMARY_TO_DO,       // what there is to do about them, by node
    PRIMARY_ARCS,        // links that take the request
    PRIMARY_POSITIONS,   // of these among the out-links
    PRIMARY_FIRST_ARCS,  // where those of a node begin, by node
    PRIMARY_TERMS,       // their score terms
    PRIMARY_OFFERS,      // scores at their heads, by in-link
    PRIMARY_SUMS,        // sums of utilisations, by node
    CLASS_SUMMARIES,     // and the classes behind it, by out-link
    LEVEL_SUMS = CLASS_SUMMARIES + kClasses,  // and the classes behind it
    NB_SCRATCHES = LEVEL_SUMS + kClasses
};

enum StampUse {
    HANDLED_LINKS,    // links of the walk over an LSP
    MET_NODES,        // nodes of the search for the worst failure
    FORBIDDEN_LINKS,  // of the backup search
    REACHED_NODES,    // by a search
    BUILT_NODES,      // by the primary search, through any links
    BOOKED_LINKS,     // links of the backups that it has chosen
    NB_STAMPS
};

// What is known of the summaries of the links (link_summary.h).
struct SummaryState {
    std::uint32_t version;  // topology for which they hold, but for the stale links
    unsigned classes;       // classes that have been read, as bits
    LongVec stale;          // ids of links that have changed since
    bool* isStale;          // by link id, `stale.size` of them
    Grain grain;            // the finest unit and the largest magnitude of any link
    Long nbInexact;
    Long nbOdd;  // plain, or of unreasonable size
};

struct DBWorkspace {
    DBTopology topology;
    BookChangeVec changes;  // of the trial under way
    BalanceShifts shifts;   // that they come to, in one class
    Stamps stamps[NB_STAMPS];
    Scratch scratches[NB_SCRATCHES];
    NeedRows rows;
    SummaryState summary;
};

// The database's workspace, made on first use; null, without a message, if there is no
// memory for it.
DBWorkspace* workspaceOf(DataBase* dataBase);
void endWorkspace(DataBase* dataBase);

// Clears all marks of the ids below `slots`; -1 if there is no memory.
int clearStamps(Stamps* stamps, Long slots);

inline void mark(Stamps* stamps, Long id) {
    stamps->cont[id] = stamps->current;
}
inline bool isMarked(const Stamps* stamps, Long id) {
    return stamps->cont[id] == stamps->current;
}

// Makes room to note changes of links with ids below `slots`; -1 if there is no memory.
int sizeStaleLinks(DBWorkspace* work, Long slots);
void clearStaleLinks(DBWorkspace* work);

// Says that the bandwidth of a stored link has changed.
void linkChanged(DataBase* dataBase, const DBLink* link);

// The scratch, of at least so many bytes, zeroed where it is new; null if there is no
// memory. Growing it loses its contents.
void* growScratch(Scratch* scratch, std::size_t bytes);

template <class T>
T* scratchArray(Scratch* scratch, Long count) {
    return static_cast<T*>(
        growScratch(scratch, (static_cast<std::size_t>(count) + 1) * sizeof(T)));
}
