#include "computation/primary/request_admission.h"

#include <algorithm>
#include <limits>

#include "common/setup.h"
#include "database/database.h"

namespace {

bool isKnown(const LongList* path) {
    return std::all_of(path->cont, path->cont + path->top, [](Long n) { return n >= 0; });
}

bool hasAllLinks(DataBase* dataBase, const LongList* path) {
    for (Long i = 0; i + 1 < path->top; i++)
        if (findLink(&dataBase->linkTab, path->cont[i], path->cont[i + 1]) == nullptr)
            return false;
    return true;
}

}  // namespace

bool canBeSearched(DataBase* dataBase, const LSPRequest* req) {
    const LongList* path = &req->path;
    if (path->top < 2 || path->cont[0] < 0 || path->cont[path->top - 1] < 0) return false;
    if (isKnown(path) || req->type != DB_PRIMARY_LSP) return false;
    if (req->precedence < 0 || req->precedence >= kLevels) return false;
    if (dataBase->nbNodes < 0 || dataBase->nbLinks < 0) return false;
    if (req->rerouteInfo.id < 0) return true;
    const DBLabelSwitchedPath* partner = DBgetLSP(dataBase, req->rerouteInfo.id);
    return partner != nullptr && hasAllLinks(dataBase, &partner->path);
}

bool RequestAdmission::prepare(unsigned classes) {
    const PredicateConfig& config = kavrilConfig.predicateConfig;
    for (int oa = 0; oa < kClasses; oa++) {
        const double bw = req_->bw[oa];
        if (bw == 0.0) continue;
        asked_ |= 1U << oa;
        if (!(bw > 0.0 && bw <= std::numeric_limits<double>::max())) isOdd_ = true;
    }
    upTo_ = config.allowReroute ? req_->precedence : kLevels - 1;
    othersThan_ = ~asked_;
    if (!refreshViews(dataBase_, live_, {classes, asked_, upTo_, 0})) return false;
    isColored_ = config.colorClause && req_->forbidLinks.top > 0;
    needsRoom_ = config.capacityClause;
    return req_->rerouteInfo.id < 0 || listShared();
}

bool RequestAdmission::listShared() {
    const LSPrerouteInfo& info = req_->rerouteInfo;
    const LongList* path = &DBgetLSP(dataBase_, info.id)->path;
    auto add = [this](Long tail, Long head) {
        const DBLink* link = findLink(&dataBase_->linkTab, tail, head);
        return link == nullptr || append(&shared_, positionOf(&live_->graph, tail, head));
    };
    for (Long i = 0; i + 1 < path->top; i++)
        if (!add(path->cont[i], path->cont[i + 1])) return false;
    return add(info.src, info.dst);
}

bool RequestAdmission::admits(Long position, Long tail) {
    const LSPrerouteInfo& info = req_->rerouteInfo;
    const Long head = live_->graph.heads[position];
    if (info.id >= 0) {
        if (tail == info.src && head == info.dst) return false;
        if (hopIndex(&DBgetLSP(dataBase_, info.id)->path, tail, head) >= 0)
            return admitsOnTrial(position, tail);
    }
    if (needsRoom_ && !fitsInto(position, tail)) return false;
    return !isColored_ || !isForbidden(position);
}

bool RequestAdmission::fitsInto(Long position, Long tail) {
    if (isOdd_) return admitsOnTrial(position, tail);
    const Views& views = live_->views;
    const LinkView& view = views.links[position];
    if ((view.overfull[upTo_] & othersThan_) != 0) return false;
    bool isClear = true;
    for (int oa = 0; oa < kClasses; oa++) {
        if ((asked_ >> oa & 1U) == 0) continue;
        const double bw = req_->bw[oa];
        const Rooms& rooms = views.rooms[oa][upTo_];
        if (bw <= rooms.sure[position]) continue;
        if (bw > rooms.most[position]) return false;
        // What fails on the way there may free what it takes.
        if ((view.ownNeed >> oa & 1U) != 0) {
            isClear = false;
            continue;
        }
        const DBLink* link = live_->graph.out[position].link;
        const LedgerClass* cls = link->ledger->classes[oa];
        const Need worst = cls != nullptr ? cls->worst : Need{};
        if (!fits(&link->state, worst.at, oa, req_->precedence, bw, upTo_)) return false;
    }
    return isClear || admitsOnTrial(position, tail);
}

bool RequestAdmission::prepareTrial() {
    if (DBlspInit(&lsp_) < 0 || longVecResize(&lsp_.path, 2) < 0 ||
        longVecCopy(&lsp_.forbidLinks, const_cast<LongList*>(&req_->forbidLinks)) < 0)
        return false;
    lsp_.path.top = 2;
    lsp_.id = req_->id;
    lsp_.type = DB_PRIMARY_LSP;
    lsp_.precedence = req_->precedence;
    lsp_.noContentionId = std::max(req_->rerouteInfo.id, -1);
    std::copy_n(req_->bw, kClasses, lsp_.bw);
    return true;
}

bool RequestAdmission::admitsOnTrial(Long position, Long tail) {
    const Long head = live_->graph.heads[position];
    if (lsp_.path.top == 0 && !prepareTrial()) hasFailed_ = true;
    if (hasFailed_) return false;
    double gain[kClasses];
    lsp_.path.cont[0] = tail;
    lsp_.path.cont[1] = head;
    if (trial_.init() < 0) hasFailed_ = true;
    return !hasFailed_ &&
           trial_.admits(live_->graph.out[position].link, tail, head, gain);
}
