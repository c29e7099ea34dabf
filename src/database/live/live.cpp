#include "database/live/live.h"

#include <bit>
#include <utility>

#include "common/vector.h"
#include "database/database_util.h"
#include "database/reserved_bandwidth.h"
#include "error/error.h"

#define ERROR_SOURCE "database/database.c"

namespace {

bool reach(SlotSet* set, Long slot) {
    const Long words = slot / 64 + 1;
    if (words <= set->words) return true;
    const Long size = std::max(words, 2 * set->words);
    void* bits =
        myrealloc(set->bits, static_cast<std::size_t>(size) * sizeof(*set->bits));
    if (bits == nullptr) return false;
    set->bits = static_cast<std::uint64_t*>(bits);
    std::fill_n(set->bits + set->words, size - set->words, 0);
    set->words = size;
    return true;
}

void put(SlotSet* set, Long slot, bool isIn) {
    if (slot / 64 >= set->words) return;
    const std::uint64_t bit = std::uint64_t{1} << (slot % 64);
    if (isIn)
        set->bits[slot / 64] |= bit;
    else
        set->bits[slot / 64] &= ~bit;
}

// Calls act(link) for the links of a set, which may lose them on the way.
template <class Act>
void forEachLink(const Live* live, const SlotSet* set, Act act) {
    for (Long word = 0; word < set->words; word++)
        for (std::uint64_t bits = set->bits[word]; bits != 0; bits &= bits - 1)
            act(live->bySlot[64 * word + std::countr_zero(bits)]);
}

SlotSet* concernedBy(Live* live, Long node) {
    while (live->concerned.top <= node)
        if (!append(&live->concerned, SlotSet{})) return nullptr;
    return &live->concerned[node];
}

bool anyClass(const Ledger* ledger, auto holds) {
    for (const LedgerClass* cls : ledger->classes)
        if (cls != nullptr && holds(cls)) return true;
    return false;
}

// Keeps the sets in step with the ledger's cells of a failing node.
void noteCells(Live* live, const Ledger* ledger, Long node) {
    put(&live->concerned[node], ledger->slot,
        anyClass(ledger, [=](const auto* cls) { return runOf(cls, node).nb > 0; }));
}
void noteIdle(Live* live, const Ledger* ledger) {
    put(&live->idle, ledger->slot,
        anyClass(ledger, [](const auto* cls) { return cls->idle.top > 0; }));
}

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

void recompute(Live* live, DBLink* link) {
    for (int oa = 0; oa < kClasses; oa++)
        if (const LedgerClass* cls = link->ledger->classes[oa]; cls != nullptr)
            setWorst(live, link, oa, worstOf(cls, countedIn(live)));
}

bool isZeroRow(const double (&row)[kLevels]) {
    return std::all_of(row, row + kLevels, [](double x) { return x == 0.0; });
}

// Adds an element of the vectors to the ledger.
bool addElement(DataBase* dataBase, DBLink* link, bool freed, int oa, int level,
                Long failure, double x) {
    Live* live = dataBase->live;
    Ledger* ledger = link->ledger;
    LedgerClass* cls = classOf(ledger, oa);
    if (cls == nullptr) return false;
    const double bbw = freed ? 0.0 : x;
    const double fbw = freed ? x : 0.0;
    const bool isOwn = failure == link->id;
    const Long tail = isOwn ? ledger->tail : endOf(&dataBase->linkSrcVec, failure);
    const Long head = isOwn ? ledger->head : endOf(&dataBase->linkDstVec, failure);
    if (tail >= 0) {
        SlotSet* set = concernedBy(live, head);
        if (set == nullptr || !reach(set, ledger->slot)) return false;
        put(set, ledger->slot, true);
        return addToCell(cls, cellKey(head, tail, level), bbw, fbw);
    }
    for (IdleCell& idle : cls->idle)
        if (idle.failure == failure && idle.level == level) {
            idle.cell.bbw += bbw;
            idle.cell.fbw += fbw;
            return true;
        }
    if (!reach(&live->idle, ledger->slot)) return false;
    put(&live->idle, ledger->slot, true);
    return append(&cls->idle, IdleCell{failure, level, {bbw, fbw}});
}

// Reads the vectors of the link's state into its ledger, which has no cells.
bool readVectors(DataBase* dataBase, DBLink* link) {
    Ledger* ledger = link->ledger;
    DBLinkState* state = &link->state;
    ledger->occupied = 0;
    for (int oa = 0; oa < kClasses; oa++) {
        for (int p = 0; p < kLevels; p++)
            for (const bool freed : {false, true}) {
                const DoubleVec* vec = &(freed ? state->fbw : state->bbw)[oa][p];
                for (Long f = 0; f < vec->size; f++) {
                    if (vec->cont[f] == 0.0) continue;
                    ledger->isMirrored = true;
                    if (!addElement(dataBase, link, freed, oa, p, f, vec->cont[f]))
                        return false;
                }
            }
        if (ledger->classes[oa] != nullptr || !isZeroRow(state->pbw[oa]) ||
            !isZeroRow(state->rbw[oa]))
            ledger->occupied |= 1U << oa;
        if (LedgerClass* cls = ledger->classes[oa]; cls != nullptr)
            cls->worst = worstOf(cls, countedIn(dataBase->live));
    }
    ledger->stale = (1U << kClasses) - 1;  // rbw is the caller's until the first booking
    return true;
}

// Takes the link's cells out of the sets.
void forgetCells(Live* live, const Ledger* ledger) {
    for (SlotSet& set : live->concerned) put(&set, ledger->slot, false);
    put(&live->idle, ledger->slot, false);
}

void endLinkLedger(Live* live, DBLink* link) {
    forgetCells(live, link->ledger);
    endLedger(link->ledger);
    link->ledger = nullptr;
}

// rbw of one class from pbw and a worst need.
void reserve(const DBLink* link, int oa, const Need& worst, double (&rbw)[kLevels]) {
    addNeeds(worst.at, link->state.pbw[oa], rbw);
}

Need worstNow(const DBLink* link, int oa) {
    const LedgerClass* cls = link->ledger->classes[oa];
    return cls != nullptr ? cls->worst : Need{};
}

int addToVector(DoubleVec* vec, Long f, double x) {
    if (vec->size <= f && dblVecResize(vec, f + 1) < 0) return -1;
    vec->cont[f] += x;
    return 0;
}

int mirrorChanges(DBLinkState* state, int oa, const Booking& booking) {
    for (const FailureChange& change : booking.changes) {
        if (change.amounts[oa] == 0.0) continue;
        DoubleVec* vec = &(change.freed ? state->fbw : state->bbw)[oa][booking.level];
        if (addToVector(vec, change.failure, change.mult * change.amounts[oa]) < 0)
            return -1;
    }
    return 0;
}

void clearVectors(DBLinkState* state) {
    for (auto* table : {&state->bbw, &state->fbw})
        for (auto& row : *table)
            for (DoubleVec& vec : row) std::fill_n(vec.cont, vec.size, 0.0);
}

bool changes(const Booking& booking, int oa) {
    return std::any_of(booking.changes.begin(), booking.changes.end(),
                       [=](const auto& change) { return change.amounts[oa] != 0.0; });
}

int bookClass(Live* live, DBLink* link, int oa, const Booking& booking) {
    Ledger* ledger = link->ledger;
    LedgerClass* cls = classOf(ledger, oa);
    Need worst;
    bool hasRoom = cls != nullptr;
    for (const FailureChange& change : booking.changes) {
        SlotSet* set = hasRoom ? concernedBy(live, change.head) : nullptr;
        hasRoom = set != nullptr && reach(set, ledger->slot);
    }
    if (!hasRoom ||
        !worstAfter(cls, oa, booking, countedIn(live), &live->scratch, &worst) ||
        !bookCells(cls, oa, booking))
        return FAIL_WITH(-1, "Critical lack of memory");
    for (const FailureChange& change : booking.changes)
        noteCells(live, ledger, change.head);
    cls->worst = worst;
    return ledger->isMirrored ? mirrorChanges(&link->state, oa, booking) : 0;
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
    for (SlotSet& set : live->concerned) myfree(set.bits);
    endArray(&live->concerned);
    myfree(live->idle.bits);
    endArray(&live->uncounted);
    endArray(&live->spare);
    endScratch(&live->scratch);
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
    SlotSet* ofHead = concernedBy(live, dst);
    bool hasRoom = ofHead != nullptr && makeRoom(&live->bySlot, slot + 1) &&
                   makeRoom(&live->freeSlots, slot + 1) && prepareCounts(dataBase);
    forEachLink(live, &live->idle, [&](const DBLink* other) {
        hasRoom = hasRoom && reach(ofHead, other->ledger->slot);
        for (LedgerClass* cls : other->ledger->classes)
            hasRoom = hasRoom && (cls == nullptr || makeRoomToRevive(cls));
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
    forEachLink(live, &live->idle, [=](DBLink* other) {
        for (int oa = 0; oa < kClasses; oa++) {
            LedgerClass* cls = other->ledger->classes[oa];
            if (cls == nullptr || !hasIdle(cls, link->id)) continue;
            changeRun(live, other, oa, tail, head,
                      [=](auto* at) { revive(at, link->id, tail, head); });
        }
        noteIdle(live, other->ledger);
        noteCells(live, other->ledger, head);
    });
    addToGraph(dataBase, &live->graph, tail, {head, ledger->slot, link});
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
    forEachLink(live, &live->concerned[ledger->head], [&](const DBLink* other) {
        hasRoom = hasRoom && reach(&live->idle, other->ledger->slot);
        for (LedgerClass* cls : other->ledger->classes)
            hasRoom = hasRoom && (cls == nullptr ||
                                  makeRoomToRetire(cls, ledger->tail, ledger->head));
    });
    return hasRoom;
}

void linkLeaves(DataBase* dataBase, DBLink* link) {
    Live* live = dataBase->live;
    const Ledger* ledger = link->ledger;
    const Long tail = ledger->tail;
    const Long head = ledger->head;
    forEachLink(live, &live->concerned[head], [=](DBLink* other) {
        if (other == link) return;
        for (int oa = 0; oa < kClasses; oa++) {
            const LedgerClass* cls = other->ledger->classes[oa];
            if (runOf(runOf(cls, head), tail).nb > 0)
                changeRun(live, other, oa, tail, head,
                          [=](auto* at) { retire(at, link->id, tail, head); });
        }
        noteIdle(live, other->ledger);
        noteCells(live, other->ledger, head);
    });
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
    removeNodeFromGraph(&dataBase->live->graph);
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
        if (headOf(key) < live->concerned.top)
            forEachLink(live, &live->concerned[headOf(key)],
                        [=](DBLink* link) { recompute(live, link); });
    };
    for (CellKey key : before)
        if (!isIn(live->uncounted, key)) update(key);
    for (CellKey key : live->uncounted)
        if (!isIn(before, key)) update(key);
}

int bookLink(DataBase* dataBase, DBLink* link, const Booking& booking, bool isComplete) {
    Live* live = dataBase->live;
    Ledger* ledger = link->ledger;
    viewChanged(&live->views, link);
    int ret = 0;
    for (int oa = 0; oa < kClasses; oa++) {
        const bool addsPrimary = booking.primary != nullptr && booking.primary[oa] != 0.0;
        const bool addsCells = changes(booking, oa);
        if (!addsPrimary && !addsCells) continue;
        ledger->occupied |= 1U << oa;
        ledger->stale |= 1U << oa;
        if (addsPrimary)
            link->state.pbw[oa][booking.level] += booking.mult * booking.primary[oa];
        if (addsCells && bookClass(live, link, oa, booking) < 0) ret = -1;
    }
    if (!isComplete || ret < 0) return -1;
    for (int oa = 0; oa < kClasses; oa++)
        if ((ledger->stale >> oa & 1U) != 0)
            reserve(link, oa, worstNow(link, oa), link->state.rbw[oa]);
    ledger->stale = 0;
    return 0;
}

bool tryLink(DataBase* dataBase, const DBLink* link, const Booking& booking,
             double (&rbw)[kClasses][kLevels]) {
    Live* live = dataBase->live;
    for (int oa = 0; oa < kClasses; oa++) {
        Need worst = worstNow(link, oa);
        if (changes(booking, oa) && !worstAfter(link->ledger->classes[oa], oa, booking,
                                                countedIn(live), &live->scratch, &worst))
            return false;
        double pbw[kLevels];
        std::copy_n(link->state.pbw[oa], kLevels, pbw);
        if (booking.primary != nullptr && booking.primary[oa] != 0.0)
            pbw[booking.level] += booking.mult * booking.primary[oa];
        addNeeds(worst.at, pbw, rbw[oa]);
    }
    return true;
}

void reservedNow(const DBLink* link, double (&rbw)[kClasses][kLevels]) {
    for (int oa = 0; oa < kClasses; oa++) reserve(link, oa, worstNow(link, oa), rbw[oa]);
}

int mirrorLink(const DataBase* dataBase, DBLink* link) {
    Ledger* ledger = link->ledger;
    if (ledger->isMirrored) return 0;
    clearVectors(&link->state);
    for (int oa = 0; oa < kClasses; oa++) {
        const LedgerClass* cls = ledger->classes[oa];
        if (cls == nullptr) continue;
        auto write = [&](Long failure, int level, const Cell& cell) {
            DoubleVec* bbw = &link->state.bbw[oa][level];
            DoubleVec* fbw = &link->state.fbw[oa][level];
            return (cell.bbw == 0.0 || addToVector(bbw, failure, cell.bbw) == 0) &&
                   (cell.fbw == 0.0 || addToVector(fbw, failure, cell.fbw) == 0);
        };
        for (Long i = cls->keys.top - 1; i >= 0; i--) {
            const CellKey key = cls->keys[i];
            const DBLink* failing =
                findLink(&dataBase->linkTab, tailOf(key), headOf(key));
            if (!write(failing->id, levelOf(key), cls->cells[i])) return -1;
        }
        for (const IdleCell& idle : cls->idle)
            if (!write(idle.failure, idle.level, idle.cell)) return -1;
    }
    ledger->isMirrored = true;
    return 0;
}

int stateReplaced(DataBase* dataBase, DBLink* link) {
    Live* live = dataBase->live;
    forgetCells(live, link->ledger);
    clearLedger(link->ledger);
    viewChanged(&live->views, link);
    link->ledger->isMirrored = true;
    if (readVectors(dataBase, link)) return 0;
    forgetCells(live, link->ledger);
    clearLedger(link->ledger);
    return FAIL_WITH(-1, "Critical lack of memory");
}
