#include "computation/backup/working_links.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "computation/backup/backup_request.h"
#include "database/database.h"
#include "database/reserved_bandwidth.h"
#include "error/error.h"

#define ERROR_SOURCE "computation/backup/backup.c"

namespace {

// Sums up what a class reserves, on top of `total` if that is asked for, too.
double addUp(const double (&rbw)[kLevels], double* total) {
    double reserved = 0.0;
    for (double level : rbw) {
        reserved += level;
        *total += level;
    }
    return reserved;
}

}  // namespace

WorkingLinks::~WorkingLinks() {
    for (Overlay* overlay : overlays_) {
        endArray(&overlay->changes);
        myfree(overlay);
    }
    endArray(&trial_.changes);
}

bool WorkingLinks::init() {
    if (DBlspInit(&backup_) < 0) return false;
    LSPRequest request = {};
    fillBackupRequest(&request, primary_, type_);
    for (int oa = 0; oa < kClasses; oa++) {
        if (request.bw[oa] == 0.0) continue;
        asked_ |= 1U << oa;
        if (!(request.bw[oa] > 0.0)) isOdd_ = true;
    }
    if (!refreshViews(dataBase_, live_, {0, 0, 0, asked_}) ||
        !overlayAt_.fill(live_->graph.out.top, -1) ||
        !isOnPrimary_.fill(live_->graph.nodeSlots(), false) ||
        longVecCopy(&backup_.primPath, &primary_->path) < 0)
        return false;
    backup_.precedence = trial_.level = request.precedence;
    backup_.type = request.type;
    backup_.primID = request.primID;
    std::copy_n(request.bw, kClasses, backup_.bw);
    const Run none = {nullptr, nullptr, 0};
    for (int oa = 0; asked_ >> oa != 0; oa++) {
        const double bw = backup_.bw[oa];
        const CellKey key = cellKey(0, 0, trial_.level);
        alone_[0][oa] = needWith(none, key, {bw, 0.0});
        alone_[1][oa] = needWith(none, key, {bw, -bw});
    }
    hasOneLength_ = primary_->primPath.top == 0;
    if (hasOneLength_) lengthCost_ = lengthCost(primary_, -1);
    const LongList* path = &primary_->path;
    for (Long i = 0; i < path->top; i++)
        if (path->cont[i] >= 0 && path->cont[i] < isOnPrimary_.top)
            isOnPrimary_[path->cont[i]] = true;
    return true;
}

bool WorkingLinks::startAt(Long node) {
    const LongList* path = &primary_->path;
    first_ = indexOf(path, node);
    last_ = type_ == LOCAL_BACKUP ? first_ + 1 : path->top - 1;
    isProtectable_ = true;
    isSimple_ = !isOdd_;
    protected_.top = 0;
    for (Long i = first_; i < last_; i++) {
        const Long tail = path->cont[i];
        const Long head = path->cont[i + 1];
        Failing failing = {
            cellKey(head, tail, trial_.level), countedIn(live_)(tail, head), {}};
        for (int oa = 0; oa < kClasses; oa++)
            failing.concerned[oa] = concernedBy(live_, oa, head);
        if (findLink(&dataBase_->linkTab, tail, head) == nullptr ||
            !append(&protected_, failing))
            isProtectable_ = false;
        if (indexOf(path, head, first_ + 1) != i + 1) isSimple_ = false;
    }
    for (int oa = 0; asked_ >> oa != 0; oa++)
        if ((asked_ >> oa & 1U) != 0 && !gatherSets(oa)) isProtectable_ = false;
    return isProtectable_;
}

// What the nodes protected from have in common, so that most links need no look at each.
bool WorkingLinks::gatherSets(int oa) {
    const Long words = live_->bySlot.top / 64 + 1;
    if (!together_[oa].fill(words, {~std::uint64_t{0}, 0})) return false;
    for (const Failing& failing : protected_) {
        const auto& [any, active] = failing.concerned[oa];
        for (Long i = 0; i < words; i++)
            together_[oa][i].all &= i < any.words ? any.bits[i] : 0;
        for (Long i = 0; i < std::min(words, active.words); i++)
            together_[oa][i].active |= active.bits[i];
    }
    return true;
}

int WorkingLinks::failUnprotectable() const {
    const LongList* path = &primary_->path;
    for (Long i = first_; i < last_; i++) {
        const Long tail = path->cont[i];
        const Long head = path->cont[i + 1];
        if (findLink(&dataBase_->linkTab, tail, head) != nullptr) continue;
        failForLink(tail, head);
        break;
    }
    PUSH_ERROR(WARNING, "Error while computing new link state");
    return -1;
}

// Whether the primary keeps flowing on the link when what a local backup protects fails:
// the backup then takes back what would be free there, besides its own bandwidth.
bool WorkingLinks::alsoFrees(Long tail, Long head) const {
    if (type_ != LOCAL_BACKUP || !isOnPrimary_[tail]) return false;
    const LongList* path = &primary_->path;
    const Long hop = hopIndex(path, tail, head);
    return hop >= 0 && !(first_ <= hop && hop < indexOf(path, head, first_));
}

// Raises the worst need of a class to what the failures protected from need with the
// backup, which adds the amounts to a cell of each. They enter different nodes.
void WorkingLinks::raiseByTrial(Long position, int oa, bool alsoFrees,
                                Need* worst) const {
    const Need& alone = alone_[alsoFrees ? 1 : 0][oa];
    const Long slot = live_->graph.out[position].slot;
    const double bw = backup_.bw[oa];
    const Cell added = {bw, alsoFrees ? -bw : 0.0};
    const Together& together = together_[oa][slot / 64];
    bool isCovered = true;
    for (int p = trial_.level; p < kLevels; p++)
        isCovered = isCovered && worst->at[p] >= alone.at[p];
    if (!isCovered && (together.all >> (slot % 64) & 1U) == 0) {
        raise(worst, alone);
        isCovered = true;
    }
    // Cells that only free bandwidth leave less to need than the backup alone.
    if (isCovered && (together.active >> (slot % 64) & 1U) == 0) return;
    for (const Failing& failing : protected_) {
        if (isCovered && !failing.concerned[oa].active.has(slot)) continue;
        const Run ofNode =
            nodeRun(live_->views.needs[oa][slot].cells, headOf(failing.key));
        raise(worst, needWith(ofNode, failing.key, added));
        const Run ofLink = runOf(ofNode, tailOf(failing.key));
        if (failing.counts && ofLink.nb < ofNode.nb)
            raise(worst, needWith(ofLink, failing.key, added));
    }
}

// Makes trial_ of an overlay's changes and those of the backup tried.
bool WorkingLinks::gatherTrial(const Overlay* overlay, bool alsoFrees) {
    Array<FailureChange>* changes = &trial_.changes;
    const Long before = overlay != nullptr ? overlay->changes.top : 0;
    if (!makeRoom(changes, before + 2 * (last_ - first_))) return false;
    if (before > 0) std::copy_n(overlay->changes.cont, before, changes->cont);
    changes->top = before;
    const LongList* path = &primary_->path;
    for (Long i = first_; i < last_; i++) {
        const Long tail = path->cont[i];
        const Long head = path->cont[i + 1];
        const Long id = findLink(&dataBase_->linkTab, tail, head)->id;
        append(changes, FailureChange{id, tail, head, 0, false, 1.0, backup_.bw});
        if (alsoFrees)
            append(changes, FailureChange{id, tail, head, 0, true, -1.0, backup_.bw});
    }
    sortChanges(changes);
    return true;
}

bool WorkingLinks::worstWithTrial(Long position, const Overlay* overlay, bool alsoFrees,
                                  int oa, Need* worst) {
    const NeedView& view = live_->views.needs[oa][live_->graph.out[position].slot];
    if (overlay == nullptr && isSimple_) {
        *worst = view.worst;
        raiseByTrial(position, oa, alsoFrees, worst);
        return true;
    }
    return gatherTrial(overlay, alsoFrees) &&
           worstAfter(live_->graph.out[position].link->ledger->classes[oa], oa, trial_,
                      countedIn(live_), &live_->scratch, worst);
}

// The cost with the worst needs that the classes asked for would have. Where the views
// have what was reserved before, only the classes asked for and those above are added up.
double WorkingLinks::costOf(Long position, const Overlay* overlay, bool isPlain,
                            const Need* worst) const {
    const auto [slot, link] = live_->graph.out[position];
    const DBLinkState& state = link->state;
    const Views& views = live_->views;
    const LinkView& view = views.links[position];
    const unsigned occupied = view.occupied | asked_;
    const int first = isPlain ? std::countr_zero(asked_) : 0;
    double before = isPlain ? views.needs[first][slot].reserved : 0.0;
    double after = isPlain ? views.needs[first][slot].below : 0.0;
    for (int oa = first; occupied >> oa != 0; oa++) {
        if ((occupied >> oa & 1U) == 0) continue;
        if (!isPlain)
            addUp(overlay != nullptr ? overlay->rbw[oa] : state.rbw[oa], &before);
        double rbw[kLevels];
        if ((asked_ >> oa & 1U) != 0) {
            const NeedView& need = views.needs[oa][slot];
            addNeeds(worst[oa].at, need.pbw, rbw);
            if (addUp(rbw, &after) > need.cap) return -1.0;
        } else if (view.isFresh) {
            addUp(state.rbw[oa], &after);
        } else {
            const LedgerClass* cls = link->ledger->classes[oa];
            addNeeds((cls != nullptr ? cls->worst : Need{}).at, state.pbw[oa], rbw);
            addUp(rbw, &after);
        }
    }
    return costOfIncrease(before, after, leastCostTo(live_->graph.heads[position]));
}

double WorkingLinks::cost(Long position, Long tail) {
    if (!isProtectable_) return failUnprotectable();
    const Views& views = live_->views;
    const LinkView& view = views.links[position];
    const Long slot = live_->graph.out[position].slot;
    const Long head = live_->graph.heads[position];
    const Overlay* overlay =
        overlayAt_[position] >= 0 ? overlays_[overlayAt_[position]] : nullptr;
    if ((view.overfull[kLevels - 1] & ~asked_) != 0) return -1.0;
    const bool isPlain = overlay == nullptr && view.isFresh && asked_ != 0;
    const bool frees = alsoFrees(tail, head);
    Need worst[kClasses];
    bool isSame = overlay == nullptr && view.isFresh && !view.isOdd;
    for (int oa = 0; asked_ >> oa != 0; oa++) {
        if ((asked_ >> oa & 1U) == 0) continue;
        if (!worstWithTrial(position, overlay, frees, oa, &worst[oa])) {
            PUSH_ERROR(WARNING, "Error while computing new link state");
            return -1.0;
        }
        const Need& before = views.needs[oa][slot].worst;
        isSame = isSame && std::equal(before.at, before.at + kLevels, worst[oa].at);
    }
    // Where the backup finds all it needs reserved, nothing is to be added up.
    if (isSame)
        return view.overfull[kLevels - 1] != 0
                   ? -1.0
                   : costOfIncrease(0.0, 0.0, leastCostTo(head));
    return costOf(position, overlay, isPlain, worst);
}

WorkingLinks::Overlay* WorkingLinks::overlayOf(Long position, const DBLink* link) {
    if (overlayAt_[position] >= 0) return overlays_[overlayAt_[position]];
    auto* overlay = static_cast<Overlay*>(mycalloc(1, sizeof(Overlay)));
    if (overlay == nullptr || !append(&overlays_, overlay)) {
        myfree(overlay);
        return FAIL_WITH(nullptr, "Cannot duplicate all the link-states");
    }
    overlayAt_[position] = overlays_.top - 1;
    std::copy_n(&link->state.rbw[0][0], kClasses * kLevels, &overlay->rbw[0][0]);
    for (int oa = 0; oa < kClasses; oa++)
        if (const LedgerClass* cls = link->ledger->classes[oa]; cls != nullptr)
            overlay->worst[oa] = cls->worst;
    return overlay;
}

int WorkingLinks::book(const LSPRequest* req, operation op) {
    Booker booker;
    if (longVecCopy(&backup_.path, const_cast<LongList*>(&req->path)) < 0 ||
        booker.init(dataBase_, &backup_, &primary_->path) < 0)
        return -1;
    for (Long i = 0; i + 1 < req->path.top; i++) {
        const Long tail = req->path.cont[i];
        const Long head = req->path.cont[i + 1];
        const DBLink* link = findLink(&dataBase_->linkTab, tail, head);
        if (link == nullptr) continue;
        const int ret = booker.gather(tail, head, op);
        if (ret == 0) continue;
        Overlay* overlay = overlayOf(positionOf(&live_->graph, tail, head), link);
        if (overlay == nullptr) return -1;
        for (FailureChange change : booker.booking.changes) {
            change.amounts = backup_.bw;
            if (!append(&overlay->changes, change))
                return FAIL_WITH(-1, "Something went wrong while copying");
        }
        sortChanges(&overlay->changes);
        if (ret < 0) continue;
        std::swap(trial_.changes, overlay->changes);
        bool isDone = true;
        for (int oa = 0; oa < kClasses; oa++) {
            if ((asked_ >> oa & 1U) != 0)
                isDone &=
                    worstAfter(link->ledger->classes[oa], oa, trial_, countedIn(live_),
                               &live_->scratch, &overlay->worst[oa]);
            addNeeds(overlay->worst[oa].at, link->state.pbw[oa], overlay->rbw[oa]);
        }
        std::swap(trial_.changes, overlay->changes);
        if (!isDone) return FAIL_WITH(-1, "Something went wrong while copying");
    }
    return 0;
}
