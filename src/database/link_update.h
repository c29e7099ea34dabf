// Bookkeeping of one link when an LSP is set up or removed.
//
// A primary is booked in pbw of its links, and on each of them in fbw against the
// failure of every link that it crosses. A backup is booked in bbw of its own links
// against the failures that it protects from, and takes back, on links of its primary
// where the primary keeps flowing, what the primary booked in fbw. Only the LSP's own
// level is touched. The reserved bandwidth is derived anew at the end.
//
// An LSP whose partner (noContentionId) crosses the link too does not count twice: if
// both are primaries of one precedence, it is booked with what it needs beyond the
// partner. While both are up the link thus carries the larger of the two, and removing
// either leaves exactly the other.
//
// Nothing is rolled back: after a failure the changes made so far stay and rbw is
// stale until the link's next update.
#pragma once

#include "database/database_st.h"

enum operation : int { SETUP = 0, REMOVE = 1 };

// Applies the LSP to ls, the state of the link from src to dst. 0 and nothing changed
// if the link is neither on the LSP's path nor on that of its primary.
int updateLS(DataBase* dataBase, Long src, Long dst, DBLinkState* ls,
             DBLabelSwitchedPath* lsp, operation op);
int DBupdateLSOnSetup(DataBase* dataBase, Long src, Long dst, DBLinkState* ls,
                      DBLabelSwitchedPath* lsp);
int DBupdateLSOnRemove(DataBase* dataBase, Long src, Long dst, DBLinkState* ls,
                       DBLabelSwitchedPath* lsp);
