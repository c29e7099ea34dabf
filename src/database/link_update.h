// Bookkeeping of one link when an LSP is set up or removed; what is booked where is told
// in booking.h. The reserved bandwidth is derived anew at the end.
//
// Nothing is rolled back: after a failure the changes made so far stay and rbw is
// stale until the link's next update.
#pragma once

#include "database/booking.h"
#include "database/database_st.h"

// Applies the LSP to ls, the state of the link from src to dst. 0 and nothing changed
// if the link is neither on the LSP's path nor on that of its primary.
int updateLS(DataBase* dataBase, Long src, Long dst, DBLinkState* ls,
             DBLabelSwitchedPath* lsp, operation op);
int DBupdateLSOnSetup(DataBase* dataBase, Long src, Long dst, DBLinkState* ls,
                      DBLabelSwitchedPath* lsp);
int DBupdateLSOnRemove(DataBase* dataBase, Long src, Long dst, DBLinkState* ls,
                       DBLabelSwitchedPath* lsp);
