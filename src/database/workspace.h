// Memory that a database keeps between calls, so that requests allocate nothing.
//
// Private to the library.
#pragma once

#include <cstddef>

#include "common/common.h"
#include "database/link_book.h"
#include "database/topology.h"

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

struct Flags {
    Long size;
    bool* cont;
};

// What the scratches are for, and by what they are indexed.
enum ScratchUse {
    BACKUP_NODES,         // search nodes of the backup search, by node
    BACKUP_LINKS,         // its working links, by link
    LINK_SUMMARIES,       // summaries for primary requests, by position of the link
    PRIMARY_NODES,        // labels of the primary search, by node
    PRIMARY_LINKS,        // what it knows of the links, by position
    PRIMARY_TERMS,        // their score terms
    PRIMARY_FIRST_TERMS,  // where they begin, by position
    PRIMARY_SUMS,         // sums of utilisations, by node
    CLASS_SUMMARIES,      // and the classes behind it: summaries, by position
    NB_SCRATCHES = CLASS_SUMMARIES + kClasses
};

enum StampUse {
    HANDLED_LINKS,    // links of the walk over an LSP
    MET_NODES,        // nodes of the search for the worst failure
    FORBIDDEN_LINKS,  // of the backup search
    REACHED_NODES,    // by the backup search
    NB_STAMPS
};

struct DBWorkspace {
    DBTopology topology;
    BookChangeVec changes;  // of the trial under way
    Stamps stamps[NB_STAMPS];
    Scratch scratches[NB_SCRATCHES];

    // Topology and classes for which the summaries hold, but for the stale links.
    std::uint32_t summaryVersion;
    unsigned summaryClasses;
    Flags staleLinks;  // by link id
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

// Makes room for flags of the ids below `slots`, set where new; -1 if there is no memory.
int sizeStaleLinks(DataBase* dataBase, Long slots);

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
