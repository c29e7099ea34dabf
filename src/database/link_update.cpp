#include "database/link_update.h"

#include <algorithm>

#include "database/database.h"
#include "database/stored_link.h"
#include "database/workspace.h"
#include "error/error.h"

#define ERROR_SOURCE "database/database.c"

namespace {

// Index of the first entry equal to node, from index `from` on, or -1.
Long indexOf(const LongList* list, Long node, Long from = 0) {
    for (Long i = from; i < list->top; i++)
        if (list->cont[i] == node) return i;
    return -1;
}

// Index of the hop (src, dst) on a list of nodes, or -1. Only the first occurrence of
// src is looked at.
Long hopIndex(const LongList* nodes, Long src, Long dst) {
    const Long k = indexOf(nodes, src);
    return k >= 0 && k < nodes->top - 1 && nodes->cont[k + 1] == dst ? k : -1;
}

// The link id of a hop, or -1 with messages.
Long hopLinkId(DataBase* dataBase, const LongList* nodes, Long hop) {
    const Long id = DBgetLinkID(dataBase, nodes->cont[hop], nodes->cont[hop + 1]);
    return id >= 0 ? id : FAIL_WITH(-1, "Cannot determine link ID");
}

using VecTable = DoubleVec[kClasses][kLevels];

// The tables that an update changes: those of a plain state, or, for stored links, pbw
// with a book in place of the vectors. A trial notes in `changes` what it would book.
struct Tables {
    double (*pbw)[kLevels];
    VecTable* bbw;
    VecTable* fbw;
    const LinkImage* image;
    BookChangeVec* changes;
};

// One update of one link, with what its steps share.
struct Update {
    DataBase* dataBase;
    Tables tables;
    const DBLabelSwitchedPath* lsp;
    double mult;                        // +1 for a setup, -1 for a removal
    const DBLabelSwitchedPath* oldLSP;  // partner, if the LSP's path crosses the link
    bool onPath;                        // the link is a hop of the LSP's path
    bool rerouting;                     // and of its partner's
    Long primHop;                       // its hop on the primary's path, or -1
    double newBW[kClasses];             // booked instead of bw while rerouting

    const double* amount() const { return rerouting ? newBW : lsp->bw; }
};

void fillNewBW(Update* u) {
    const DBLabelSwitchedPath* old = u->oldLSP;
    const bool shares = !isBackup(u->lsp->type) && !isBackup(old->type) &&
                        u->lsp->precedence == old->precedence;
    for (int oa = 0; oa < kClasses; oa++)
        u->newBW[oa] =
            shares ? std::max(0.0, u->lsp->bw[oa] - old->bw[oa]) : u->lsp->bw[oa];
}

void findPartner(Update* u, Long src, Long dst) {
    if (!u->onPath || u->lsp->noContentionId < 0) return;
    u->oldLSP = DBgetLSP(u->dataBase, u->lsp->noContentionId);
    if (u->oldLSP == nullptr) {
        PUSH_ERROR(WARNING, "Cannot find the old LSP");
        return;
    }
    u->rerouting = hopIndex(&u->oldLSP->path, src, dst) >= 0;
    if (u->rerouting) fillNewBW(u);
}

int addToVector(DoubleVec* vec, Long f, double x) {
    if (vec->size <= f && dblVecResize(vec, f + 1) < 0) return -1;
    vec->cont[f] += x;
    return 0;
}

int addToImage(const Update* u, bool freed, int oa, Long f, double x) {
    const LinkImage& image = *u->tables.image;
    if (bookAdd(image.topology, image.book, freed, oa, u->lsp->precedence, f, x) < 0)
        return -1;
    if (image.position >= 0)
        addToRows(u->dataBase, image.topology, image.position, oa, f, freed ? -x : x);
    return 0;
}

constexpr bool kFreed = true;
constexpr bool kActivated = false;

// Adds mult * amounts to element f of the LSP's level, class by class, in fbw if `freed`
// or else in bbw. A class that adds 0 grows nothing: an element that does not exist
// counts as 0.
int book(const Update* u, bool freed, Long f, double mult, const double* amounts) {
    const Tables& tables = u->tables;
    if (tables.changes != nullptr) {
        tables.changes->cont[tables.changes->top++] = {f, freed, mult, amounts};
        return 0;
    }
    const int level = u->lsp->precedence;
    for (int oa = 0; oa < kClasses; oa++) {
        if (amounts[oa] == 0.0) continue;
        const double x = mult * amounts[oa];
        const int ret =
            tables.image != nullptr
                ? addToImage(u, freed, oa, f, x)
                : addToVector(&(*(freed ? tables.fbw : tables.bbw))[oa][level], f, x);
        if (ret < 0) return -1;
    }
    return 0;
}

// Books hops from..to-1 of a node list, one failure each.
int bookHops(const Update* u, bool freed, const LongList* nodes, Long from, Long to,
             double mult) {
    for (Long hop = from; hop < to; hop++) {
        const Long id = hopLinkId(u->dataBase, nodes, hop);
        if (id < 0 || book(u, freed, id, mult, u->amount()) < 0) return -1;
    }
    return 0;
}

int updatePrimary(Update* u) {
    const DBLabelSwitchedPath* lsp = u->lsp;
    for (int oa = 0; oa < kClasses; oa++) {
        if (u->amount()[oa] == 0.0) continue;
        double* pbw = &u->tables.pbw[oa][lsp->precedence];
        const double x = u->mult * u->amount()[oa];
        if (u->tables.image != nullptr) u->tables.image->book->grain.add(*pbw, x);
        *pbw += x;
    }

    ScopedLongList idList;  // links of the partner's path
    if (u->oldLSP != nullptr) {
        if (longVecInit(&idList, -1) < 0) return -1;
        for (Long hop = 0; hop < u->oldLSP->path.top - 1; hop++) {
            const Long id = hopLinkId(u->dataBase, &u->oldLSP->path, hop);
            if (id < 0 || longVecPushBack(&idList, id) < 0) return -1;
        }
    }
    for (Long hop = 0; hop < lsp->path.top - 1; hop++) {
        const Long id = hopLinkId(u->dataBase, &lsp->path, hop);
        if (id < 0) return -1;
        const bool shared = u->rerouting && indexOf(&idList, id) >= 0;
        if (book(u, kFreed, id, u->mult, shared ? u->newBW : lsp->bw) < 0) return -1;
    }
    return 0;
}

int updateLocalBackup(Update* u) {
    const LongList* path = &u->lsp->path;
    const LongList* prim = &u->lsp->primPath;
    const Long start = path->top > 0 ? indexOf(prim, path->cont[0]) : -1;
    if (start < 0 || start >= prim->top - 1)
        return FAIL_WITH(-1, "Cannot determine the link to protect");
    const Long plink = hopLinkId(u->dataBase, prim, start);
    if (plink < 0) return -1;
    if (u->onPath && book(u, kActivated, plink, u->mult, u->amount()) < 0) return -1;
    if (u->primHop < 0) return 0;
    // Between head and merge point the backup bypasses the primary; before and behind,
    // the primary keeps flowing when the protected link fails.
    const Long end = indexOf(prim, path->cont[path->top - 1], start);
    if (start <= u->primHop && u->primHop < end) return 0;
    return book(u, kFreed, plink, -u->mult, u->amount());
}

int updateGlobalBackup(Update* u) {
    const LongList* path = &u->lsp->path;
    const LongList* prim = &u->lsp->primPath;
    const Long start = path->top > 0 ? indexOf(prim, path->cont[0]) : -1;
    if (start < 0) return FAIL_WITH(-1, "Cannot determine the link to protect");
    const Long end = prim->top - 1;
    if (u->onPath && bookHops(u, kActivated, prim, start, end, u->mult) < 0) return -1;
    if (u->primHop < 0) return 0;
    // Every hop of the primary gets this, inside the protected segment too.
    return bookHops(u, kFreed, prim, 0, start, -u->mult);
}

int dispatch(Update* u) {
    switch (u->lsp->type) {
        case DB_LOCAL_BACKUP_LSP:
            return updateLocalBackup(u);
        case DB_GLOBAL_BACKUP_LSP:
            return updateGlobalBackup(u);
        default:
            return updatePrimary(u);
    }
}

// Applies the LSP to the tables of the link from src to dst, those that u has been given.
// 1 if they changed, 0 if the LSP does not concern the link, -1 on failure, changes made
// so far staying.
int apply(Update* u, DataBase* dataBase, Long src, Long dst,
          const DBLabelSwitchedPath* lsp, operation op) {
    u->dataBase = dataBase;
    u->lsp = lsp;
    u->onPath = hopIndex(&lsp->path, src, dst) >= 0;
    findPartner(u, src, dst);
    u->primHop = isBackup(lsp->type) ? hopIndex(&lsp->primPath, src, dst) : -1;
    if (!u->onPath && u->primHop < 0) return 0;

    if (op != SETUP && op != REMOVE)
        return FAIL_WITH(-1, "Bad argument (unknown operation)");
    u->mult = op == SETUP ? 1.0 : -1.0;
    return dispatch(u) < 0 ? -1 : 1;
}

// An empty list with room for what a trial of the LSP can change at most, or null.
BookChangeVec* roomForTrial(DataBase* dataBase, const DBLabelSwitchedPath* lsp) {
    DBWorkspace* work = workspaceOf(dataBase);
    if (work == nullptr) return FAIL_WITH(nullptr, "Critical lack of memory");
    BookChangeVec* changes = &work->changes;
    const Long most = lsp->path.top + 2 * lsp->primPath.top + 1;
    if (most > changes->size) {
        void* cont =
            myrealloc(changes->cont, static_cast<std::size_t>(most) * sizeof(BookChange));
        if (cont == nullptr) return FAIL_WITH(nullptr, "Critical lack of memory");
        *changes = {most, 0, static_cast<BookChange*>(cont)};
    }
    changes->top = 0;
    return changes;
}

// Computes a class of rbw from the tables of an image as they are.
void reserve(DataBase* dataBase, const LinkImage& image, int oa, double (&rbw)[kLevels]) {
    addNeeds(worstNeed(dataBase, image.topology, image.book, oa).level, image.pbw[oa],
             rbw);
}

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

}  // namespace

int updateLS(DataBase* dataBase, Long src, Long dst, DBLinkState* ls,
             DBLabelSwitchedPath* lsp, operation op) {
    if (dataBase == nullptr || ls == nullptr || lsp == nullptr)
        return FAIL_WITH(-1, "Bad argument (NULL)");
    Update u = {};
    u.tables = {ls->pbw, &ls->bbw, &ls->fbw, nullptr, nullptr};
    const int ret = apply(&u, dataBase, src, dst, lsp, op);
    if (ret > 0) computeRBW(dataBase, ls->rbw, ls->pbw, ls->bbw, ls->fbw);
    return std::min(ret, 0);
}

int updateImage(DataBase* dataBase, const LinkImage& image, Long src, Long dst,
                DBLabelSwitchedPath* lsp, operation op) {
    Update u = {};
    u.tables = {image.pbw, nullptr, nullptr, &image, nullptr};
    image.book->rbwVersion = 0;
    const int ret = apply(&u, dataBase, src, dst, lsp, op);
    if (ret > 0) {
        for (int oa = 0; oa < kClasses; oa++) reserve(dataBase, image, oa, image.rbw[oa]);
        image.book->rbwVersion = image.topology->version;
    }
    return std::min(ret, 0);
}

int updateLink(DataBase* dataBase, DBLink* link, Long src, Long dst,
               DBLabelSwitchedPath* lsp, operation op) {
    linkChanged(dataBase, link);
    const DBTopology* topology = currentTopology(dataBase);
    LinkBook* book = topology != nullptr ? packedBook(link) : nullptr;
    DBLinkState* ls = &link->state;
    if (book == nullptr) {
        loseRows(dataBase);
        return unpackLink(link) < 0 ? -1 : updateLS(dataBase, src, dst, ls, lsp, op);
    }
    isBalanced(topology, book, ls->pbw);
    return updateImage(dataBase, imageOf(topology, link), src, dst, lsp, op);
}

int trialSetup(DataBase* dataBase, const LinkImage& image, Long src, Long dst,
               DBLabelSwitchedPath* lsp, double (&rbw)[kClasses][kLevels]) {
    BookChangeVec* changes = roomForTrial(dataBase, lsp);
    if (changes == nullptr) return -1;
    double pbw[kClasses][kLevels];
    std::copy_n(&image.pbw[0][0], kClasses * kLevels, &pbw[0][0]);
    Update u = {};
    u.tables = {pbw, nullptr, nullptr, nullptr, changes};
    const int ret = apply(&u, dataBase, src, dst, lsp, SETUP);
    if (ret < 0) return -1;
    const bool isFresh = image.book->rbwVersion == image.topology->version;
    for (int oa = 0; oa < kClasses; oa++) {
        // Beside a partner with less than no bandwidth, no bandwidth adds some.
        const bool isChanged = ret > 0 && (lsp->bw[oa] != 0.0 || u.amount()[oa] != 0.0);
        if (isChanged) {
            const bool raises = isBackup(lsp->type) && lsp->bw[oa] > 0.0;
            const WorstNeed worst =
                worstNeedAfter(dataBase, image.topology, image.book, oa,
                               {changes, lsp->precedence, raises});
            addNeeds(worst.level, pbw[oa], rbw[oa]);
        } else if (ret == 0 || isFresh) {
            std::copy_n(image.rbw[oa], kLevels, rbw[oa]);
        } else {
            reserve(dataBase, image, oa, rbw[oa]);
        }
    }
    return 0;
}

int DBupdateLSOnSetup(DataBase* dataBase, Long src, Long dst, DBLinkState* ls,
                      DBLabelSwitchedPath* lsp) {
    return updateLS(dataBase, src, dst, ls, lsp, SETUP);
}

int DBupdateLSOnRemove(DataBase* dataBase, Long src, Long dst, DBLinkState* ls,
                       DBLabelSwitchedPath* lsp) {
    return updateLS(dataBase, src, dst, ls, lsp, REMOVE);
}

int evalLS(DataBase* dataBase, Long src, Long dst, DBLinkState* newLS, DBLinkState* oldLS,
           LSPRequest* req, operation op) {
    if (dataBase == nullptr || newLS == nullptr || oldLS == nullptr || req == nullptr)
        return FAIL_WITH(-1, "Bad argument (NULL)");
    if (newLS != oldLS && DBlinkStateCopy(newLS, oldLS) < 0)
        return FAIL_WITH(-1, "Impossible to duplicate the linkState");
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
