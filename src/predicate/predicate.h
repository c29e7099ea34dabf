// Admission predicates: may a link carry a request or an LSP?
//
// They judge the state that the link would have after a setup on it, tried on a copy,
// by the switches of the session's predicateConfig. Nothing in the database changes.
//
// The gain, 8 doubles per class in the caller's array, is what preemption would have to
// free on the link.
#pragma once

#include "computation/computation_st.h"
#include "database/database_st.h"

// Whether, class by class, the reserved bandwidth that the request cannot preempt fits:
// with allowReroute that of levels up to its own, else all. gain[k] is the excess of
// the whole reservation over the capacity. The first class that does not fit ends the
// test; its gain and those behind it are not written.
bool capacityClause(DBLinkState* ls, LSPRequest* req, double* gain);

// Whether the link's colour is none that the request forbids.
bool colorClause(DBLinkState* ls, LSPRequest* req);

// Whether the link from src to dst, in state ls, may carry the request. False on errors
// too, which leave a message. A path with a negative entry is not known yet: the
// request is then judged as if its path were this link. The gain is written only with
// the capacity switch on.
bool isValidRequestLink(DataBase* dataBase, Long src, Long dst, DBLinkState* ls,
                        LSPRequest* req, double* gain);

// The same for an LSP with its whole path.
bool isValidLSPLink(DataBase* dataBase, Long src, Long dst, DBLinkState* ls,
                    DBLabelSwitchedPath* lsp, double* gain);

// The capacity clause on its bare inputs.
bool fitsCapacity(const double (&rbw)[kClasses][kLevels], const double (&cap)[kClasses],
                  int precedence, double* gain);
