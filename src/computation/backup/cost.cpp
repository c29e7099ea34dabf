// The link cost of the backup searches.

#include <algorithm>

#include "admission/link_eval.h"
#include "computation/backup/backup.h"
#include "computation/backup/backup_request.h"
#include "computation/computation.h"
#include "database/database.h"
#include "error/error.h"

#define ERROR_SOURCE "computation/backup/backup.c"

namespace {

constexpr double kLengthWeight = 1.0 / 11.0;

double totalReserved(const double (*rbw)[kLevels]) {
    double total = 0.0;
    for (int oa = 0; oa < kClasses; oa++)
        for (double level : rbw[oa]) total += level;
    return total;
}

// Backups preempt nobody: the whole reservation has to fit.
bool fits(const double (*rbw)[kLevels], const double* cap) {
    for (int oa = 0; oa < kClasses; oa++) {
        double reserved = 0.0;
        for (double level : rbw[oa]) reserved += level;
        if (reserved > cap[oa]) return false;
    }
    return true;
}

// The request for a backup that runs along dn's chain and on to dst.
int fillTrial(LSPRequest* req, Long dst, const CPDijkNode* dn,
              const DBLabelSwitchedPath* lsp, BackupType type) {
    fillBackupRequest(req, lsp, type);
    if (longVecPushBack(&req->path, dst) < 0) return -1;
    return pushChain(&req->path, dn);
}

// Hops from dst to the end of the primary's own primary path, if it has one, plus one.
double lengthTerm(const LongList* primPath, Long dst) {
    const Long* end = primPath->cont + primPath->top;
    const Long* found = std::find(static_cast<const Long*>(primPath->cont), end, dst);
    return static_cast<double>(end - found + 1);
}

}  // namespace

double computeCost(DataBase* dataBase, DBLinkState** lsList, Long src, Long dst,
                   CPDijkNode* dn, DBLabelSwitchedPath* lsp, BackupType type) {
    ScopedLinkState newLS;
    if (DBlinkStateInit(&newLS) < 0)
        return FAIL_WITH(-1.0, "Unable to init a link state");
    ScopedRequest req;
    if (lspRequestInit(&req) < 0) return -1.0;
    if (type != LOCAL_BACKUP && type != GLOBAL_BACKUP) {
        PUSH_ERROR(WARNING, "Unknown backup type");
        return -1.0;
    }
    if (fillTrial(&req, dst, dn, lsp, type) < 0) return -1.0;
    const Long id = DBgetLinkID(dataBase, src, dst);
    if (id < 0 || DBevalLSOnSetup(dataBase, src, dst, &newLS, lsList[id], &req) < 0) {
        PUSH_ERROR(WARNING, "Error while computing new link state");
        return -1.0;
    }
    return costOfReservation(lsList[id]->rbw, newLS.rbw, newLS.cap, lsp, dst);
}

double costOfReservation(const double (*before)[kLevels], const double (*after)[kLevels],
                         const double* cap, const DBLabelSwitchedPath* lsp, Long dst) {
    if (!fits(after, cap)) return -1.0;
    return costOfIncrease(totalReserved(before), totalReserved(after),
                          lengthCost(lsp, dst));
}

double lengthCost(const DBLabelSwitchedPath* lsp, Long dst) {
    double bandwidth = 0.0;
    for (double bw : lsp->bw) bandwidth += bw;
    return kLengthWeight * lengthTerm(&lsp->primPath, dst) * bandwidth;
}
