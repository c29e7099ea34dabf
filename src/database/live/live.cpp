#include "database/live/live.h"

#include <utility>

#include "database/database_util.h"
#include "database/live/vectors.h"
#include "error/error.h"

#define ERROR_SOURCE "database/database.c"

namespace {

bool isSame(const Need& a, const Need& b) {
    return std::equal(a.at, a.at + kLevels, b.at);
}

void setWorst(Live* live, DBLink* link, int oa, const Need& worst) {
    LedgerClass* cls = link->ledger->classes[oa];
    if (!isSame(cls->worst, worst)) link->ledger->stale |= 1U << oa;
    cls->worst = worst;
    viewChanged(&live->views, link);
}

// Changes the cells of one failing link by `act`, and the worst need with them.
template <class Act>
void changeRun(Live* live, DBLink* link, int oa, Long tail, Long head, Act act) {
    LedgerClass* cls = link->ledger->classes[oa];
    const Run before = runOf(cls, head);
    const Need nodeBefore = needOf(before);
    const Need linkBefore = needOf(runOf(before, tail));
    act(cls);
    const Run after = runOf(cls, head);
    const Need nodeAfter = needOf(after);
    const bool counts = countedIn(live)(tail, head);
    const Need linkAfter = counts ? needOf(runOf(after, tail)) : Need{};
    Need worst = cls->worst;
    if (mayFall(nodeBefore, nodeAfter, worst) || mayFall(linkBefore, linkAfter, worst)) {
        worst = worstOf(cls, countedIn(live));
    } else {
        raise(&worst, nodeAfter);
        raise(&worst, linkAfter);
    }
    setWorst(live, link, oa, worst);
}

void endLinkLedger(Live* live, DBLink* link) {
    forgetCells(live, link->ledger);
    endLedger(link->ledger);
    link->ledger = nullptr;
}

Long nbUncounted(const DataBase* dataBase) {
    return std::max(dataBase->live->nbUsed - std::max(dataBase->nbLinks, 0), 0);
}

// The links that have the highest ids, as many as the counter leaves out.
void findUncounted(const DataBase* dataBase, Array<CellKey>* uncounted) {
    const LongVec* ids = &dataBase->linkSrcVec;
    const Long nb = nbUncounted(dataBase);
    uncounted->top = 0;
    for (Long id = ids->top - 1; id >= 0 && uncounted->top < nb; id--)
        if (ids->cont[id] != 0)
            append(uncounted,
                   cellKey(endOf(&dataBase->linkDstVec, id), endOf(ids, id), 0));
}

}  // namespace

Live* newLive() {
    return static_cast<Live*>(mycalloc(1, sizeof(Live)));
}

void endLive(Live* live) {
    endGraph(&live->graph);
    endViews(&live->views);
    endArray(&live->bySlot);
    endArray(&live->freeSlots);
    for (Array<CellSets>& sets : live->concerned) {
        for (const CellSets& set : sets) {
            myfree(set.any.bits);
            myfree(set.active.bits);
        }
        endArray(&sets);
    }
    myfree(live->idle.bits);
    endArray(&live->uncounted);
    endArray(&live->spare);
    endScratch(&live->scratch);
    endArray(&live->losers);
    myfree(live);
}

WalkMarks::WalkMarks(Live* live) {
    if (++live->walk == 0) {  // all numbers have been used: marks start anew
        for (DBLink* link : live->bySlot)
            if (link != nullptr) link->ledger->walk = 0;
        live->walk = 1;
    }
    walk_ = live->walk;
}

bool prepareLink(DataBase* dataBase, DBLink* link, Long src, Long dst) {
    Live* live = dataBase->live;
    const Long slot = live->freeSlots.top > 0 ? live->freeSlots[live->freeSlots.top - 1]
                                              : live->bySlot.top;
    bool hasRoom = makeRoom(&live->bySlot, slot + 1) &&
                   makeRoom(&live->freeSlots, slot + 1) && prepareCounts(dataBase);
    forEachLink(live->bySlot, live->idle, [&](DBLink* other) {
        for (int oa = 0; oa < kClasses; oa++)
            if (LedgerClass* cls = other->ledger->classes[oa]; cls != nullptr)
                hasRoom = hasRoom && makeRoomToRevive(cls) &&
                          reachCells(live, other->ledger, oa, dst);
        viewChanged(&live->views, other);  // its cells may have moved
    });
    if (!hasRoom) return false;
    link->ledger = static_cast<Ledger*>(mycalloc(1, sizeof(Ledger)));
    if (link->ledger == nullptr) return false;
    link->ledger->slot = slot;
    link->ledger->tail = src;
    link->ledger->head = dst;
    if (readVectors(dataBase, link)) return true;
    endLinkLedger(live, link);
    return false;
}

void abandonLink(DataBase* dataBase, DBLink* link) {
    endLinkLedger(dataBase->live, link);
}

void linkJoins(DataBase* dataBase, DBLink* link) {
    Live* live = dataBase->live;
    const Ledger* ledger = link->ledger;
    const Long tail = ledger->tail;
    const Long head = ledger->head;
    if (ledger->slot < live->bySlot.top) {
        live->bySlot[ledger->slot] = link;
        live->freeSlots.top--;
    } else {
        live->bySlot[live->bySlot.top++] = link;
    }
    live->nbUsed++;
    forEachLink(live->bySlot, live->idle, [=](DBLink* other) {
        for (int oa = 0; oa < kClasses; oa++) {
            LedgerClass* cls = other->ledger->classes[oa];
            if (cls == nullptr || !hasIdle(cls, link->id)) continue;
            changeRun(live, other, oa, tail, head,
                      [=](auto* at) { revive(at, link->id, tail, head); });
            noteCells(live, other->ledger, oa, head);
        }
        noteIdle(live, other->ledger);
    });
    addToGraph(&live->graph, tail, head, {ledger->slot, link});
    if (live->graph.isBuilt)
        addView(&live->views, positionOf(&live->graph, tail, head), link);
    else
        live->views.isAligned = false;
    countsChanged(dataBase);
}

bool prepareLeave(DataBase* dataBase, const DBLink* link) {
    Live* live = dataBase->live;
    const Ledger* ledger = link->ledger;
    bool hasRoom = prepareCounts(dataBase);
    live->losers.top = 0;
    for (int oa = 0; oa < kClasses; oa++)
        forEachLink(live->bySlot, concernedBy(live, oa, ledger->head).any,
                    [&](DBLink* other) {
                        LedgerClass* cls = other->ledger->classes[oa];
                        if (other == link ||
                            runOf(runOf(cls, ledger->head), ledger->tail).nb == 0)
                            return;
                        hasRoom = hasRoom && makeRoomToRetire(cls) &&
                                  reach(&live->idle, other->ledger->slot) &&
                                  append(&live->losers, LinkClass{other, oa});
                    });
    return hasRoom;
}

void linkLeaves(DataBase* dataBase, DBLink* link) {
    Live* live = dataBase->live;
    const Ledger* ledger = link->ledger;
    const Long tail = ledger->tail;
    const Long head = ledger->head;
    for (const auto& [loser, oa] : live->losers) {
        changeRun(live, loser, oa, tail, head,
                  [=](auto* at) { retire(at, link->id, tail, head); });
        noteIdle(live, loser->ledger);
        noteCells(live, loser->ledger, oa, head);
    }
    if (live->graph.isBuilt)
        removeView(&live->views, positionOf(&live->graph, tail, head), link);
    else
        live->views.isAligned = false;
    removeFromGraph(&live->graph, tail, head);
    live->bySlot[ledger->slot] = nullptr;
    live->freeSlots[live->freeSlots.top++] = ledger->slot;
    live->nbUsed--;
    forgetCells(live, ledger);
}

void nodeJoins(DataBase* dataBase, Long node) {
    addNodeToGraph(&dataBase->live->graph, node);
}

void nodeLeaves(DataBase* dataBase) {
    countsChanged(dataBase);
}

bool prepareCounts(const DataBase* dataBase) {
    // One link more, and the counter one lower.
    return makeRoom(&dataBase->live->spare, nbUncounted(dataBase) + 2);
}

void countsChanged(DataBase* dataBase) {
    Live* live = dataBase->live;
    if (live->uncounted.top == 0 && live->nbUsed <= dataBase->nbLinks) return;
    std::swap(live->uncounted, live->spare);
    findUncounted(dataBase, &live->uncounted);
    const Array<CellKey>& before = live->spare;
    auto isIn = [](const Array<CellKey>& keys, CellKey key) {
        return std::find(keys.begin(), keys.end(), key) != keys.end();
    };
    auto update = [=](CellKey key) {
        for (int oa = 0; oa < kClasses; oa++)
            forEachLink(live->bySlot, concernedBy(live, oa, headOf(key)).any,
                        [=](DBLink* link) {
                            setWorst(live, link, oa,
                                     worstOf(link->ledger->classes[oa], countedIn(live)));
                        });
    };
    for (CellKey key : before)
        if (!isIn(live->uncounted, key)) update(key);
    for (CellKey key : live->uncounted)
        if (!isIn(before, key)) update(key);
}
