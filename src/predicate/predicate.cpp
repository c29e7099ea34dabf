#include "predicate/predicate.h"

#include <algorithm>

#include "admission/link_eval.h"
#include "common/setup.h"
#include "computation/computation.h"
#include "database/booking.h"
#include "database/database.h"
#include "error/error.h"

#define ERROR_SOURCE "predicate/predicate.c"

namespace {

bool isComplete(const LongList* path) {
    return std::none_of(path->cont, path->cont + path->top,
                        [](Long node) { return node < 0; });
}

// Puts [src, dst] into the request in place of its path, which goes to `record`.
int forgePath(LSPRequest* req, LongList* record, Long src, Long dst) {
    if (longVecInit(record, -1) < 0)
        return FAIL_WITH(-1, "Unable to initialize path record structure");
    if (longVecCopy(record, &req->path) < 0)
        return FAIL_WITH(-1, "Unable to copy path into record structure");
    req->path.top = 0;
    if (longVecPushBack(&req->path, src) < 0 || longVecPushBack(&req->path, dst) < 0)
        return FAIL_WITH(-1, "Unable to forge path into request");
    return 0;
}

bool isExcluded(const LSPrerouteInfo& info, Long src, Long dst) {
    return info.id >= 0 && src == info.src && dst == info.dst;
}

int fillFromLSP(LSPRequest* req, DBLabelSwitchedPath* lsp) {
    req->id = lsp->id;
    req->precedence = lsp->precedence;
    req->type = lsp->type;
    req->primID = lsp->primID;
    req->rerouteInfo = {lsp->noContentionId, -1, -1};
    std::copy_n(lsp->bw, kClasses, req->bw);
    if (longVecCopy(&req->forbidLinks, &lsp->forbidLinks) < 0) return -1;
    return longVecCopy(&req->path, &lsp->path);
}

}  // namespace

bool fitsCapacity(const double (&rbw)[kClasses][kLevels], const double (&cap)[kClasses],
                  int precedence, double* gain) {
    const bool allowReroute = kavrilConfig.predicateConfig.allowReroute;
    for (int oa = 0; oa < kClasses; oa++) {
        double total = 0.0;
        double upToLevel = 0.0;
        for (int p = 0; p < kLevels; p++) {
            total += rbw[oa][p];
            if (p <= precedence) upToLevel += rbw[oa][p];
        }
        const double occupied = allowReroute ? upToLevel : total;
        if (occupied > cap[oa]) return false;
        gain[oa] = total > cap[oa] ? total - cap[oa] : 0.0;
    }
    return true;
}

bool capacityClause(DBLinkState* ls, LSPRequest* req, double* gain) {
    return fitsCapacity(ls->rbw, ls->cap, req->precedence, gain);
}

bool colorClause(DBLinkState* ls, LSPRequest* req) {
    return indexOf(&req->forbidLinks, ls->color) < 0;
}

bool isValidRequestLink(DataBase* dataBase, Long src, Long dst, DBLinkState* ls,
                        LSPRequest* req, double* gain) {
    if (ls == nullptr || req == nullptr || gain == nullptr)
        return FAIL_WITH(false, "Bad argument (NULL)");
    ScopedLinkState newLS;
    if (DBlinkStateInit(&newLS) < 0)
        return FAIL_WITH(false, "Unable to initialize link state");
    ScopedLongList record;
    const bool forged = !isComplete(&req->path);
    if (forged && forgePath(req, &record, src, dst) < 0) return false;
    if (DBevalLSOnSetup(dataBase, src, dst, &newLS, ls, req) < 0)
        return FAIL_WITH(false, "Unable to update link state");

    const PredicateConfig& config = kavrilConfig.predicateConfig;
    bool gate = true;
    if (config.capacityClause) gate = capacityClause(&newLS, req, gain);
    if (config.colorClause) gate = gate && colorClause(&newLS, req);
    if (isExcluded(req->rerouteInfo, src, dst)) gate = false;
    if (forged && longVecCopy(&req->path, &record) < 0)
        return FAIL_WITH(false, "Unable to restore path into request");
    return gate;
}

bool isValidLSPLink(DataBase* dataBase, Long src, Long dst, DBLinkState* ls,
                    DBLabelSwitchedPath* lsp, double* gain) {
    if (ls == nullptr || lsp == nullptr || gain == nullptr)
        return FAIL_WITH(false, "Bad argument (NULL)");
    ScopedRequest req;
    if (lspRequestInit(&req) < 0 || fillFromLSP(&req, lsp) < 0)
        return FAIL_WITH(false, "Unable to initialize request");
    return isValidRequestLink(dataBase, src, dst, ls, &req, gain);
}
