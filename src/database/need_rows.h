// What failures need, failure by failure: the books of all links turned around.
//
// Private to the library. A search for a backup asks what the failures that it protects
// from need on every link that it comes by. Here the links where a failure has something
// to say stand together, so that the search starts by reading a few rows instead of
// searching in the book of every link (bench/backup.cpp). Kept while sums are exact
// (grain.h): a value is what the failure activates beyond what it frees, all levels.
#pragma once

#include "database/database_st.h"
#include "database/id_map.h"
#include "database/topology.h"

// A booking that the rows do not have yet.
struct RowChange {
    Long position;
    Long failure;
    int oa;
    double x;
};

// By failure; a row's ids are positions of links among the topology's out-links.
struct NeedRows {
    std::uint32_t version;  // of the topology that they hold for, 0: none
    Long linkSlots;
    Long nodeSlots;
    IdMap<double>* ofLinks[kClasses];
    IdMap<double>* ofNodes[kClasses];
    Long size;  // of `changes`
    Long top;
    RowChange* changes;  // to come
};

// The rows as they are now, made anew after the topology has changed; null, without a
// message, if there is no memory. All books have to be balanced.
const NeedRows* currentRows(DataBase* dataBase, const DBTopology* topology);

// Says that x has been booked on the stored link at a position among the out-links. That
// is entered into the rows when they are next asked for.
void addToRows(DataBase* dataBase, const DBTopology* topology, Long position, int oa,
               Long failure, double x);

// Says that the books have changed otherwise.
void loseRows(DataBase* dataBase);

void endRows(NeedRows* rows);
