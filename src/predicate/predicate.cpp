#include "predicate/predicate.h"

#include <algorithm>

#include "common/setup.h"
#include "computation/computation.h"
#include "database/database.h"
#include "database/stored_link.h"
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

// The capacity clause on its bare inputs.
bool fits(const double (&rbw)[kClasses][kLevels], const double (&cap)[kClasses],
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

bool contains(const LongList* list, Long value) {
    const Long* end = list->cont + list->top;
    return std::find(static_cast<const Long*>(list->cont), end, value) != end;
}

// Whether a trial can take the LSP as it is, without the request made from it: its path
// is complete, and a backup's copy of its primary's path is still that.
bool isTriable(DataBase* dataBase, const DBLabelSwitchedPath* lsp) {
    if (lsp->type > DB_GLOBAL_BACKUP_LSP || lsp->path.top < 2 || !isComplete(&lsp->path))
        return false;
    if (lsp->type == DB_PRIMARY_LSP) return true;
    const DBLabelSwitchedPath* primary = DBgetLSP(dataBase, lsp->primID);
    if (primary == nullptr) return false;
    const LongList* copy = &lsp->primPath;
    return std::equal(copy->cont, copy->cont + copy->top, primary->path.cont,
                      primary->path.cont + primary->path.top);
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

bool capacityClause(DBLinkState* ls, LSPRequest* req, double* gain) {
    return fits(ls->rbw, ls->cap, req->precedence, gain);
}

bool colorClause(DBLinkState* ls, LSPRequest* req) {
    return !contains(&req->forbidLinks, ls->color);
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

bool isValidStoredLink(DataBase* dataBase, DBLink* link, Long src, Long dst,
                       DBLabelSwitchedPath* lsp, double* gain) {
    const DBTopology* topology = currentTopology(dataBase);
    LinkBook* book = topology != nullptr ? packedBook(link) : nullptr;
    if (book == nullptr || !isTriable(dataBase, lsp))
        return isValidLSPLink(dataBase, src, dst, fullState(dataBase, src, dst), lsp,
                              gain);
    double rbw[kClasses][kLevels];
    if (trialSetup(dataBase, imageOf(topology, link), src, dst, lsp, rbw) < 0)
        return FAIL_WITH(false, "Unable to update link state");
    const PredicateConfig& config = kavrilConfig.predicateConfig;
    bool gate = true;
    if (config.capacityClause) gate = fits(rbw, link->state.cap, lsp->precedence, gain);
    if (config.colorClause)
        gate = gate && !contains(&lsp->forbidLinks, link->state.color);
    return gate;
}
