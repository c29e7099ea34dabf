#include "database/live/views.h"

#include <cmath>
#include <cstddef>
#include <cstring>

#include "common/congestion.h"
#include "database/live/live.h"
#include "database/live/reservation.h"

namespace {

// Beyond this, products of capacities and slopes could overflow.
constexpr double kReasonable = 1e150;

constexpr std::uint8_t bitOf(int oa) {
    return static_cast<std::uint8_t>(1U << oa);
}

double loadOf(const double (&pbw)[kLevels]) {
    double load = 0.0;
    for (double level : pbw) load += level;
    return load;
}

bool hasOwnNeed(const Ledger* ledger, int oa) {
    const LedgerClass* cls = ledger->classes[oa];
    if (cls == nullptr || cls->nbActive == 0) return false;
    const Run ofHead = runOf(cls, ledger->head);
    return isAmongWorst(needOf(ofHead), cls->worst) ||
           isAmongWorst(needOf(runOf(ofHead, ledger->tail)), cls->worst);
}

void refresh(Views* views, Long position, Long slot, const DBLink* link) {
    const DBLinkState* state = &link->state;
    const Ledger* ledger = link->ledger;
    LinkView* view = &views->links[position];
    *view = {state->color,
             0,
             false,
             ledger->stale == 0,
             static_cast<std::uint8_t>(ledger->occupied),
             {}};
    Reservation reservations[kClasses];
    Reservation stays[kClasses];  // whatever a primary frees
    double total = 0.0;
    for (int oa = 0; oa < kClasses; oa++) {
        const double cap = state->cap[oa];
        const bool isRead = (views->classes >> oa & 1U) != 0;
        const LedgerClass* cls = ledger->classes[oa];
        const Need worst = cls != nullptr ? cls->worst : Need{};
        if ((views->needed >> oa & 1U) != 0) {
            NeedView* need = &views->needs[oa][slot];
            *need = {{}, worst, cap, total, 0.0, allOf(cls)};
            std::copy_n(state->pbw[oa], kLevels, need->pbw);
        }
        if ((ledger->occupied >> oa & 1U) != 0)
            for (double level : state->rbw[oa]) total += level;
        if ((ledger->occupied >> oa & 1U) == 0 && !isRead && cap >= 0.0 &&
            cap < kReasonable)
            continue;
        const Reservation& reserved = reservations[oa] =
            reservationOf(state->pbw[oa], worst);
        const double load = loadOf(state->pbw[oa]);
        for (int p = 0; p < kLevels; p++)
            if (reserved.upTo[p] > cap) view->overfull[p] |= bitOf(oa);
        if (!(std::abs(cap) < kReasonable && std::abs(load) < kReasonable))
            view->isOdd = true;
        if (hasOwnNeed(ledger, oa)) view->ownNeed |= bitOf(oa);
        if (!isRead) continue;
        stays[oa] =
            (view->ownNeed & bitOf(oa)) == 0
                ? reserved
                : reservationOf(state->pbw[oa], worstOfNodesBut(cls, ledger->head));
        const auto [slope, intercept] = segmentAt(load / cap);
        const LoadViews& loads = views->loads[oa];
        loads.load[position] = load;
        loads.cap[position] = cap;
        loads.slope[position] = slope;
        loads.shift[position] = intercept * cap;
    }
    for (int oa = 0; oa < kClasses; oa++) {
        if ((views->needed >> oa & 1U) != 0) views->needs[oa][slot].reserved = total;
        if ((views->classes >> oa & 1U) == 0) continue;
        for (int p = 0; p < kLevels; p++) {
            if ((views->levels[oa] >> p & 1U) == 0) continue;
            const Rooms& rooms = views->rooms[oa][p];
            const double cap = state->cap[oa];
            const bool wantsLook = view->isOdd || (view->overfull[p] & ~bitOf(oa)) != 0;
            rooms.sure[position] =
                wantsLook ? -1.0 : surelyLeft(cap, reservations[oa], p);
            rooms.most[position] = leftAtMost(cap, stays[oa], p);
        }
    }
}

// Calls act(array) for every array by position that is in use, until it is false.
template <class Act>
bool forEachArray(Views* views, Act act) {
    if (!act(&views->links)) return false;
    for (int oa = 0; oa < kClasses; oa++) {
        if ((views->classes >> oa & 1U) == 0) continue;
        LoadViews* loads = &views->loads[oa];
        for (Array<double>* array :
             {&loads->load, &loads->cap, &loads->slope, &loads->shift})
            if (!act(array)) return false;
        for (int p = 0; p < kLevels; p++)
            if ((views->levels[oa] >> p & 1U) != 0 &&
                (!act(&views->rooms[oa][p].sure) || !act(&views->rooms[oa][p].most)))
                return false;
    }
    return true;
}

// False if there is no memory for links of slots below this.
bool makeRoomForNeeds(Views* views, Long slots) {
    for (int oa = 0; oa < kClasses; oa++)
        if ((views->needed >> oa & 1U) != 0 && !makeRoom(&views->needs[oa], slots))
            return false;
    return true;
}

template <class T>
bool isSameBytes(const T& a, const T& b) {
    return std::memcmp(&a, &b, sizeof(T)) == 0;
}

bool isSameView(const NeedView& a, const NeedView& b) {
    return std::memcmp(&a, &b, offsetof(NeedView, cells)) == 0 &&
           a.cells.keys == b.cells.keys && a.cells.cells == b.cells.cells &&
           a.cells.nb == b.cells.nb;
}

void clearStale(Views* views) {
    for (DBLink* link : views->stale) link->ledger->isViewStale = false;
    views->stale.top = 0;
}

bool makeAll(const Graph* graph, Views* views) {
    auto size = [=](auto* array) {
        if (!makeRoom(array, graph->nbLinks())) return false;
        array->top = graph->nbLinks();
        return true;
    };
    views->isAligned = false;
    Long slots = 0;
    for (const OutLink& link : graph->out) slots = std::max(slots, link.slot + 1);
    if (!forEachArray(views, size) || !makeRoomForNeeds(views, slots)) return false;
    for (Long i = 0; i < graph->nbLinks(); i++)
        refresh(views, i, graph->out[i].slot, graph->out[i].link);
    clearStale(views);
    views->isAligned = true;
    return true;
}

}  // namespace

bool refreshViews(DataBase* dataBase, Live* live, const Wanted& wanted) {
    Graph* graph = &live->graph;
    Views* views = &live->views;
    if (!graph->isBuilt) {
        views->isAligned = false;
        if (!buildGraph(dataBase, graph)) return false;
    }
    auto want = [=](unsigned* have, unsigned bits) {
        if ((bits & ~*have) != 0) views->isAligned = false;
        *have |= bits;
    };
    want(&views->classes, wanted.loads | wanted.rooms);
    want(&views->needed, wanted.needs);
    for (int oa = 0; oa < kClasses; oa++)
        if ((wanted.rooms >> oa & 1U) != 0) want(&views->levels[oa], 1U << wanted.level);
    if (!views->isAligned) return makeAll(graph, views);
    for (const DBLink* link : views->stale) {
        const Ledger* ledger = link->ledger;
        refresh(views, positionOf(graph, ledger->tail, ledger->head), ledger->slot, link);
    }
    clearStale(views);
    return true;
}

void viewChanged(Views* views, DBLink* link) {
    if (link->ledger->isViewStale || !views->isAligned) return;
    if (append(&views->stale, link))
        link->ledger->isViewStale = true;
    else
        views->isAligned = false;
}

void addView(Views* views, Long position, DBLink* link) {
    if (!views->isAligned) return;
    auto open = [=](auto* array) { return insertAt(array, position, {}); };
    if (forEachArray(views, open) && makeRoomForNeeds(views, link->ledger->slot + 1))
        viewChanged(views, link);
    else
        views->isAligned = false;
}

void removeView(Views* views, Long position, const DBLink* link) {
    DBLink** stale = std::find(views->stale.begin(), views->stale.end(), link);
    if (stale != views->stale.end())
        eraseAt(&views->stale, static_cast<Long>(stale - views->stale.begin()));
    if (!views->isAligned) return;
    forEachArray(views, [=](auto* array) {
        eraseAt(array, position);
        return true;
    });
}

bool checkViews(const Live* live, Long (&where)[2]) {
    const Views* views = &live->views;
    if (!views->isAligned || !live->graph.isBuilt) return true;
    Views fresh = {};
    fresh.classes = views->classes;
    fresh.needed = views->needed;
    std::copy_n(views->levels, kClasses, fresh.levels);
    auto size = [=](auto* array) { return makeRoom(array, 1); };
    bool isRight = views->links.top == live->graph.nbLinks();
    if (!forEachArray(&fresh, size) || !makeRoomForNeeds(&fresh, 1)) {
        endViews(&fresh);
        return true;
    }
    for (Long i = 0; isRight && i < views->links.top; i++) {
        const DBLink* link = live->graph.out[i].link;
        if (link->ledger->isViewStale) continue;
        refresh(&fresh, 0, 0, link);
        isRight = fresh.links[0] == views->links[i];
        for (int oa = 0; oa < kClasses; oa++) {
            if ((views->needed >> oa & 1U) != 0)
                isRight &=
                    isSameView(fresh.needs[oa][0], views->needs[oa][link->ledger->slot]);
            if ((views->classes >> oa & 1U) == 0) continue;
            const LoadViews& a = fresh.loads[oa];
            const LoadViews& b = views->loads[oa];
            isRight &= isSameBytes(a.load[0], b.load[i]) &&
                       isSameBytes(a.cap[0], b.cap[i]) &&
                       isSameBytes(a.slope[0], b.slope[i]) &&
                       isSameBytes(a.shift[0], b.shift[i]);
            for (int p = 0; p < kLevels; p++)
                if (const Rooms& rooms = views->rooms[oa][p];
                    (views->levels[oa] >> p & 1U) != 0)
                    isRight &= isSameBytes(fresh.rooms[oa][p].sure[0], rooms.sure[i]) &&
                               isSameBytes(fresh.rooms[oa][p].most[0], rooms.most[i]);
        }
        if (isRight) continue;
        where[0] = link->ledger->tail;
        where[1] = link->ledger->head;
    }
    endViews(&fresh);
    return isRight;
}

void endViews(Views* views) {
    endArray(&views->links);
    endArray(&views->stale);
    for (int oa = 0; oa < kClasses; oa++) {
        endArray(&views->needs[oa]);
        LoadViews* loads = &views->loads[oa];
        for (Array<double>* array :
             {&loads->load, &loads->cap, &loads->slope, &loads->shift})
            endArray(array);
        for (Rooms& rooms : views->rooms[oa]) {
            endArray(&rooms.sure);
            endArray(&rooms.most);
        }
    }
}

bool fits(const DBLinkState* state, const double* worst, int oa, int level, double bw,
          int upTo) {
    double sum = 0.0;
    double below = 0.0;
    for (int p = 0; p <= upTo; p++) {
        const double pbw = p == level ? state->pbw[oa][p] + bw : state->pbw[oa][p];
        sum += pbw + worst[p] - below;
        below = worst[p];
    }
    return !(sum > state->cap[oa]);
}
