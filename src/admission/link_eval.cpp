#include "admission/link_eval.h"

#include <algorithm>

#include "database/database.h"
#include "database/live/live.h"
#include "error/error.h"

#define ERROR_SOURCE "database/database.c"

namespace {

// Makes the temporary LSP that stands for a request.
int fillFromRequest(DataBase* dataBase, DBLabelSwitchedPath* lsp, LSPRequest* req) {
    lsp->id = req->id;
    lsp->precedence = req->precedence;
    std::copy_n(req->bw, kClasses, lsp->bw);
    if (longVecCopy(&lsp->forbidLinks, &req->forbidLinks) < 0) return -1;
    if (req->rerouteInfo.id >= 0) lsp->noContentionId = req->rerouteInfo.id;
    lsp->type = req->type;
    lsp->primID = -1;
    if (req->type > DB_GLOBAL_BACKUP_LSP)
        return FAIL_WITH(-1, "Unknown request type (NULL)");
    if (isBackup(req->type)) {
        DBLabelSwitchedPath* primary = DBgetLSP(dataBase, req->primID);
        if (primary == nullptr)
            return FAIL_WITH(-1, "Impossible to determine the primary path");
        lsp->primID = req->primID;
        if (longVecCopy(&lsp->primPath, &primary->path) < 0) return -1;
    }
    if (req->path.top < 2) return FAIL_WITH(-1, "Wrong path in request");
    if (longVecCopy(&lsp->path, &req->path) < 0)
        return FAIL_WITH(-1, "Impossible to duplicate path");
    return 0;
}

// Copies a state, which may be that of a stored link.
int copyState(DataBase* dataBase, Long src, Long dst, DBLinkState* newLS,
              DBLinkState* oldLS) {
    if (DBlinkStateCopy(newLS, oldLS) < 0)
        return FAIL_WITH(-1, "Impossible to duplicate the linkState");
    DBLink* link = findLink(&dataBase->linkTab, src, dst);
    return link != nullptr && newLS == &link->state ? stateReplaced(dataBase, link) : 0;
}

}  // namespace

int evalLS(DataBase* dataBase, Long src, Long dst, DBLinkState* newLS, DBLinkState* oldLS,
           LSPRequest* req, operation op) {
    if (dataBase == nullptr || newLS == nullptr || oldLS == nullptr || req == nullptr)
        return FAIL_WITH(-1, "Bad argument (NULL)");
    if (newLS != oldLS && copyState(dataBase, src, dst, newLS, oldLS) < 0) return -1;
    ScopedLSP lsp;
    if (DBlspInit(&lsp) < 0 || fillFromRequest(dataBase, &lsp, req) < 0) return -1;
    return updateLS(dataBase, src, dst, newLS, &lsp, op);
}

int DBevalLSOnSetup(DataBase* dataBase, Long src, Long dst, DBLinkState* newLS,
                    DBLinkState* oldLS, LSPRequest* req) {
    return evalLS(dataBase, src, dst, newLS, oldLS, req, SETUP);
}

int DBevalLSOnRemove(DataBase* dataBase, Long src, Long dst, DBLinkState* newLS,
                     DBLinkState* oldLS, LSPRequest* req) {
    return evalLS(dataBase, src, dst, newLS, oldLS, req, REMOVE);
}
