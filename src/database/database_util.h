// Nodes and links, and the tables that hold them and the LSPs by id.
//
// New/Destroy handle record and contents, Init/End the contents of a caller's record.
// The tables own what is put into them: ending one destroys every record it holds.
// They are indexed by the ids that callers choose and grow as ids demand; a table of
// size -1 starts with one slot. Null or ended arguments push "Bad argument (NULL)".
#pragma once

#include "database/database_st.h"
#include "database/link_state.h"
#include "database/lsp.h"

DBNode* DBnodeNew();
int DBnodeInit(DBNode* node);
int DBnodeEnd(DBNode* node);
int DBnodeDestroy(DBNode* node);

DBLink* DBlinkNew();
int DBlinkInit(DBLink* link);
int DBlinkEnd(DBLink* link);
int DBlinkDestroy(DBLink* link);

DBNodeVec* DBnodeVecNew(Long size);
int DBnodeVecInit(DBNodeVec* vec, Long size);
int DBnodeVecEnd(DBNodeVec* vec);
int DBnodeVecDestroy(DBNodeVec* vec);

// Stores the node under a free id and takes it over; -1 if the id is taken.
int DBnodeVecSet(DBNodeVec* vec, DBNode* node, Long id);

// Destroys the node and lowers `top` to one past the next node.
int DBnodeVecRemove(DBNodeVec* vec, Long id);

// Sets the capacity; nodes at ids that no longer fit are destroyed.
int DBnodeVecResize(DBNodeVec* vec, Long newsize);

DBLSPVec* DBlspVecNew(Long size);
int DBlspVecInit(DBLSPVec* vec, Long size);
int DBlspVecEnd(DBLSPVec* vec);
int DBlspVecDestroy(DBLSPVec* vec);

// Stores the LSP under a free id and takes it over; -1 if the id is taken.
int DBlspVecSet(DBLSPVec* vec, DBLabelSwitchedPath* lsp, Long id);

// Empties the slot and hands the LSP back to the caller, who destroys it.
int DBlspVecRemove(DBLSPVec* vec, Long id);
int DBlspVecResize(DBLSPVec* vec, Long newsize);

// Nodes that a link table can have at most: its cells take no more than the 2 GiB that
// the accounting of memory can tell.
constexpr Long kLinkTabMax = 16383;

DBLinkTab* DBlinkTabNew(Long size);
int DBlinkTabInit(DBLinkTab* tab, Long size);
int DBlinkTabEnd(DBLinkTab* tab);
int DBlinkTabDestroy(DBLinkTab* tab);

// Stores the link at (src, dst), whatever the cell held.
int DBlinkTabSet(DBLinkTab* tab, DBLink* link, Long src, Long dst);

// Destroys the link at (src, dst).
int DBlinkTabRemove(DBLinkTab* tab, Long src, Long dst);

// Grows the table; a smaller size is refused. If memory ends among the rows, the table
// keeps as many as are complete.
int DBlinkTabResize(DBLinkTab* tab, Long newsize);

// The end node of a link id, from one of the tables that translate ids; -1 for a free id.
inline Long endOf(const LongVec* ends, Long id) {
    return id >= 0 && id < ends->size ? ends->cont[id] - 1 : -1;
}

// The record at an id or a pair of ids; null, without a message, if there is none.
DBNode* findNode(const DBNodeVec* vec, Long id);
DBLabelSwitchedPath* findLSP(const DBLSPVec* vec, Long id);
DBLink* findLink(const DBLinkTab* tab, Long src, Long dst);
