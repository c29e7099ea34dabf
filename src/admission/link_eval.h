// Trials: the state that a link would have with a request set up on it.
#pragma once

#include "computation/computation_st.h"
#include "database/link_update.h"

// Applies a request, as if it were an LSP, to a copy: newLS, initialised by the caller,
// receives oldLS with the update. They may be one record. The database does not change;
// the request's path must have two nodes or more.
int evalLS(DataBase* dataBase, Long src, Long dst, DBLinkState* newLS, DBLinkState* oldLS,
           LSPRequest* req, operation op);
int DBevalLSOnSetup(DataBase* dataBase, Long src, Long dst, DBLinkState* newLS,
                    DBLinkState* oldLS, LSPRequest* req);
int DBevalLSOnRemove(DataBase* dataBase, Long src, Long dst, DBLinkState* newLS,
                     DBLinkState* oldLS, LSPRequest* req);
