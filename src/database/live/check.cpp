// Recomputes all that is derived, to be compared with what is kept.

#include <algorithm>
#include <cstring>

#include "database/database.h"
#include "database/live/live.h"

namespace {

using Table = double[kClasses][kLevels];

bool isSame(const double* a, const double* b, Long nb) {
    return std::memcmp(a, b, static_cast<std::size_t>(nb) * sizeof(double)) == 0 ||
           std::equal(a, a + nb, b,
                      [](double x, double y) { return x == y || (x != x && y != y); });
}

// The elements of a ledger, written into the vectors of a state that has none.
bool unpack(const DataBase* dataBase, const Ledger* ledger, DBLinkState* state) {
    auto set = [](DoubleVec* vec, Long f, double x) {
        return x == 0.0 || dblVecSet(vec, f, x) == 0;
    };
    for (int oa = 0; oa < kClasses; oa++) {
        const LedgerClass* cls = ledger->classes[oa];
        if (cls == nullptr) continue;
        auto write = [&](Long failure, int level, const Cell& cell) {
            return set(&state->bbw[oa][level], failure, cell.bbw) &&
                   set(&state->fbw[oa][level], failure, cell.fbw);
        };
        for (Long i = 0; i < cls->keys.top; i++) {
            const CellKey key = cls->keys[i];
            const DBLink* failing =
                findLink(&dataBase->linkTab, tailOf(key), headOf(key));
            if (failing == nullptr || !write(failing->id, levelOf(key), cls->cells[i]))
                return false;
        }
        for (const IdleCell& idle : cls->idle)
            if (!write(idle.failure, idle.level, idle.cell)) return false;
    }
    return true;
}

bool hasElements(const DoubleVec& vec, const DoubleVec& other) {
    for (Long f = 0; f < std::max(vec.size, other.size); f++) {
        const double x = f < vec.size ? vec.cont[f] : 0.0;
        const double y = f < other.size ? other.cont[f] : 0.0;
        if (!isSame(&x, &y, 1)) return false;
    }
    return true;
}

bool hasVectors(const DBLinkState& a, const DBLinkState& b) {
    for (int oa = 0; oa < kClasses; oa++)
        for (int p = 0; p < kLevels; p++)
            if (!hasElements(a.bbw[oa][p], b.bbw[oa][p]) ||
                !hasElements(a.fbw[oa][p], b.fbw[oa][p]))
                return false;
    return true;
}

const char* checkClass(const LedgerClass* cls) {
    if (cls->keys.top != cls->cells.top) return "cells without keys";
    Long nbActive = 0;
    for (Long i = 0; i < cls->keys.top; i++) {
        if (i > 0 && cls->keys[i - 1] >= cls->keys[i]) return "cells out of order";
        if (isEmpty(cls->cells[i])) return "an empty cell";
        nbActive += isActive(cls->cells[i]) ? 1 : 0;
    }
    return nbActive == cls->nbActive ? nullptr : "the number of active cells";
}

// Whether the sets know where a link has cells, and only there.
bool isInSets(const DataBase* dataBase, const Ledger* ledger) {
    const Live* live = dataBase->live;
    bool anyIdle = false;
    for (const LedgerClass* cls : ledger->classes)
        anyIdle |= cls != nullptr && cls->idle.top > 0;
    if (live->idle.has(ledger->slot) != anyIdle) return false;
    for (int oa = 0; oa < kClasses; oa++)
        for (Long node = 0; node < dataBase->nodeVec.top; node++) {
            const CellSets sets = concernedBy(live, oa, node);
            const Run run = runOf(ledger->classes[oa], node);
            if (sets.any.has(ledger->slot) != (run.nb > 0) ||
                sets.active.has(ledger->slot) != anyActive(run))
                return false;
        }
    return true;
}

const char* checkLedger(DataBase* dataBase, DBLink* link) {
    const Ledger* ledger = link->ledger;
    if (dataBase->live->bySlot[ledger->slot] != link) return "the slot of a link";
    for (const LedgerClass* cls : ledger->classes)
        if (cls != nullptr)
            if (const char* difference = checkClass(cls)) return difference;
    if (!isInSets(dataBase, ledger)) return "where a link has cells";
    ScopedLinkState plain;
    if (DBlinkStateInit(&plain) < 0) return nullptr;
    if (!unpack(dataBase, ledger, &plain)) return "a cell without a link";
    if (ledger->isMirrored && !hasVectors(plain, link->state))
        return "the vectors of a state";
    Table kept;
    reservedNow(link, kept);
    computeRBW(dataBase, plain.rbw, link->state.pbw, plain.bbw, plain.fbw);
    if (!isSame(&kept[0][0], &plain.rbw[0][0], kClasses * kLevels))
        return "the worst needs of a link";
    for (int oa = 0; oa < kClasses; oa++)
        if ((ledger->stale >> oa & 1U) == 0 &&
            !isSame(link->state.rbw[oa], plain.rbw[oa], kLevels))
            return "rbw that is said to be fresh";
    return nullptr;
}

// Calls act(tail, head, link) for all links, in order, until it is false.
template <class Act>
bool forEachLink(const DataBase* dataBase, Act act) {
    for (Long n = 0; n < dataBase->nodeVec.top; n++) {
        const DBNode* node = dataBase->nodeVec.cont[n];
        for (Long i = 0; node != nullptr && i < node->outNeighb.top; i++) {
            const Long head = node->outNeighb.cont[i];
            if (!act(n, head, findLink(&dataBase->linkTab, n, head))) return false;
        }
    }
    return true;
}

bool isGraphRight(const DataBase* dataBase) {
    const Graph* graph = &dataBase->live->graph;
    if (!graph->isBuilt) return true;
    Graph fresh = {};
    if (!buildGraph(dataBase, &fresh)) return true;
    auto same = [](const OutLink& a, const OutLink& b) {
        return a.slot == b.slot && a.link == b.link;
    };
    bool isRight = std::equal(fresh.out.begin(), fresh.out.end(), graph->out.begin(),
                              graph->out.end(), same);
    for (Long n = 0; isRight && n < graph->first.top; n++) {
        const Long slot = std::min(n, fresh.first.top - 1);
        isRight = graph->first[n] == fresh.first[slot] &&
                  graph->firstIn[n] == fresh.firstIn[slot];
    }
    auto equal = [](const Array<Long>& a, const Array<Long>& b) {
        return std::equal(a.begin(), a.end(), b.begin(), b.end());
    };
    isRight = isRight && equal(fresh.heads, graph->heads) &&
              equal(fresh.positions, graph->positions) &&
              equal(fresh.tails, graph->tails);
    if (graph->knowsTwoWay) isRight = isRight && graph->isTwoWay == isTwoWay(&fresh);
    endGraph(&fresh);
    return isRight;
}

}  // namespace

const char* checkLive(DataBase* dataBase, Long (&where)[2]) {
    where[0] = where[1] = -1;
    Live* live = dataBase->live;
    const char* difference = nullptr;
    Long nbLinks = 0;
    forEachLink(dataBase, [&](Long tail, Long head, DBLink* link) {
        nbLinks++;
        where[0] = tail;
        where[1] = head;
        if (link == nullptr || link->ledger == nullptr || link->ledger->tail != tail ||
            link->ledger->head != head)
            difference = "the ends of a link";
        else
            difference = checkLedger(dataBase, link);
        return difference == nullptr;
    });
    if (difference != nullptr) return difference;
    where[0] = where[1] = -1;
    if (nbLinks != live->nbUsed) return "the number of links";
    if (!isGraphRight(dataBase)) return "the graph";
    return checkViews(live, where) ? nullptr : "the view of a link";
}
