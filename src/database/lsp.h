// LSP records, and the ordered lists of the LSPs that cross a link.
//
// A record owns its four lists. An LSP list borrows the LSPs it refers to; it stands in
// descending order of DBlspCompare: the least important level first, then the larger
// bandwidth of class 0, then the smaller id. The choice of LSPs to preempt walks it
// from the front.
#pragma once

#include "common/scoped.h"
#include "database/database_st.h"

// A zeroed record with empty lists and no partner (noContentionId -1).
DBLabelSwitchedPath* DBlspNew();

// Empties the lists, the bandwidths and the partner of a record; the caller sets the
// other fields.
int DBlspInit(DBLabelSwitchedPath* lsp);
int DBlspDestroy(DBLabelSwitchedPath* lsp);
int DBlspEnd(DBLabelSwitchedPath* lsp);

// Copies every field. If a list cannot be copied the rest still is.
int DBlspCopy(DBLabelSwitchedPath* dst, DBLabelSwitchedPath* src);

inline bool lspIsLive(const DBLabelSwitchedPath* lsp) {
    return lsp->path.cont != nullptr;
}
using ScopedLSP = Scoped<DBLabelSwitchedPath, DBlspEnd, lspIsLive>;

// 1, 0 or -1. Larger is: the greater precedence, then the larger bandwidth of class 0
// (no other class decides), then the smaller id.
int DBlspCompare(const DBLabelSwitchedPath* a, const DBLabelSwitchedPath* b);

// A size of -1 means 1. Releasing a list leaves the LSPs alone.
DBLSPList* DBlspListNew(Long size);
int DBlspListInit(DBLSPList* list, Long size);
int DBlspListDestroy(DBLSPList* list);
int DBlspListEnd(DBLSPList* list);

// Inserts the LSP where the order puts it; returns the index, or -1. An LSP that is
// in the list already is inserted again.
int DBlspListInsert(DBLSPList* list, DBLabelSwitchedPath* lsp);

// Removes one entry with the LSP's precedence, class 0 bandwidth and id; -1 with a
// WARNING if there is none.
int DBlspListRemove(DBLSPList* list, DBLabelSwitchedPath* lsp);
