#include "database/live/vectors.h"

#include "common/vector.h"
#include "database/database_util.h"
#include "database/live/live.h"
#include "error/error.h"

#define ERROR_SOURCE "database/database.c"

namespace {

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
        if (!reachCells(live, ledger, oa, head) ||
            !addToCell(cls, cellKey(head, tail, level), bbw, fbw))
            return false;
        noteCells(live, ledger, oa, head);
        return true;
    }
    for (IdleCell& idle : cls->idle)
        if (idle.failure == failure && idle.level == level) {
            idle.cell.bbw += bbw;
            idle.cell.fbw += fbw;
            return true;
        }
    if (!reach(&live->idle, ledger->slot)) return false;
    put(live->idle, ledger->slot, true);
    return append(&cls->idle, IdleCell{failure, level, {bbw, fbw}});
}

int addToVector(DoubleVec* vec, Long f, double x) {
    if (vec->size <= f && dblVecResize(vec, f + 1) < 0) return -1;
    vec->cont[f] += x;
    return 0;
}

void clearVectors(DBLinkState* state) {
    for (auto* table : {&state->bbw, &state->fbw})
        for (auto& row : *table)
            for (DoubleVec& vec : row) std::fill_n(vec.cont, vec.size, 0.0);
}

}  // namespace

bool readVectors(DataBase* dataBase, DBLink* link) {
    Ledger* ledger = link->ledger;
    DBLinkState* state = &link->state;
    ledger->occupied = ledger->stale = (1U << kClasses) - 1;
    for (int oa = 0; oa < kClasses; oa++)
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
    settleLink(dataBase->live, link);
    return true;
}

int bookVectors(DBLinkState* state, int oa, const Booking& booking) {
    for (const FailureChange& change : booking.changes) {
        if (change.amounts[oa] == 0.0) continue;
        DoubleVec* vec = &(change.freed ? state->fbw : state->bbw)[oa][booking.level];
        if (addToVector(vec, change.failure, change.mult * change.amounts[oa]) < 0)
            return -1;
    }
    return 0;
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
