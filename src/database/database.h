// The network database of a session: nodes, links and LSPs, and the bandwidth that LSPs
// occupy on links.
//
// The database owns everything put into it. What it hands out is to be read: only the
// functions whose names begin with DB change it. Ids are the caller's and index tables
// directly, so they should be small. Operations that touch several links go on past a
// failing one and say at the end that they are "uncomplete"; nothing is rolled back.
#pragma once

#include <cstdio>

#include "common/common.h"
#include "database/database_st.h"
#include "database/database_util.h"
#include "database/link_update.h"
#include "database/reserved_bandwidth.h"

DataBase* DBnew(Long id);
int DBdestroy(DataBase* dataBase);

// A database of its own that from now on does what this one would, to the last bit and
// message; null, with a message, if there is no memory.
DataBase* DBcopy(DataBase* dataBase);

// Writes the database with kavrilConfig, NBOA, NBPL and the current stack into a file,
// whole or not at all: whatever stops it, the path has what it had or all that is new,
// and when this returns 0 that is on the disk.
int DBsave(DataBase* dataBase, const char* path);

// Returns the database that was saved, and makes kavrilConfig, NBOA, NBPL and the current
// stack what they were then. Null, nothing changed but for a message that says why, if
// there is no such file, or it is cut off, altered, of a later version, or otherwise
// nothing that DBsave has written.
DataBase* DBload(const char* path);

Long DBgetID(DataBase* dataBase);
Long DBgetNbNodes(DataBase* dataBase);
Long DBgetNbLinks(DataBase* dataBase);

// The highest node id in use, -1 in an empty database.
Long DBgetMaxNodeID(DataBase* dataBase);

// Adds a node; -1, and nothing changed, if the id is taken.
int DBaddNode(DataBase* dataBase, Long id);

// The node's own neighbour list, ascending; null if there is no such node.
LongList* DBgetNodeInNeighb(DataBase* dataBase, Long id);
LongList* DBgetNodeOutNeighb(DataBase* dataBase, Long id);

// The stored LSP; null, without a message, if there is none.
DBLabelSwitchedPath* DBgetLSP(DataBase* dataBase, Long id);

// A free LSP id from 0 to `most`: the one after the highest in use, or else the lowest;
// -1 if there is none. Backups that were given theirs after their primary keep its id
// from being given again while they are up.
Long DBgetFreeLSPId(const DataBase* dataBase, Long most);

// Adds a directed link with a copy of initLinkState. -1, and nothing changed, if the id
// or the pair of nodes has a link already, or a node is missing. If a neighbour list
// cannot grow, the link stays and -1 tells that it is incomplete.
int DBaddLink(DataBase* dataBase, Long id, Long src, Long dst,
              DBLinkState* initLinkState);

// The id of the link from src to dst; -1, without a message, if there is none.
Long DBgetLinkID(DataBase* dataBase, Long src, Long dst);

// The end nodes of a link id; -1, without a message, for a free id in the tables.
Long DBgetLinkSrc(DataBase* dataBase, Long id);
Long DBgetLinkDst(DataBase* dataBase, Long id);

// The link's own records, or null: to be read, not written. A state that has been asked
// for shows what the link carries, its failure tables too, for as long as the link lives.
DBLSPList* DBgetLinkLSPs(DataBase* dataBase, Long src, Long dst);
DBLinkState* DBgetLinkState(DataBase* dataBase, Long src, Long dst);

// Replaces the link's state by a copy of newLS; nothing is recomputed.
int DBsetLinkState(DataBase* dataBase, Long src, Long dst, DBLinkState* newLS);

// Sets the capacities of a link. LSPs stay, also if they no longer fit.
int DBsetLinkCapacity(DataBase* dataBase, Long src, Long dst,
                      const double (&cap)[kClasses]);

// Removes a link. LSPs that cross it stay, their paths still naming it.
int DBremoveLink(DataBase* dataBase, Long src, Long dst);

// Removes a node and all its links.
int DBremoveNode(DataBase* dataBase, Long id);

// Writes nodes, links, the LSPs on every link and its bandwidth per class to a stream;
// printing means to standard output.
void DBwriteDB(std::FILE* out, DataBase* dataBase);
void DBprintDB(DataBase* dataBase);
void DBprintNode(DBNode* node);
void DBprintLink(DBLink* link);
