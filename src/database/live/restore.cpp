#include "database/live/restore.h"

#include <algorithm>

#include "database/live/live.h"

namespace {

// A cell is two doubles in a row, and its key a number without a sign.
static_assert(sizeof(Cell) == 2 * sizeof(double) && sizeof(CellKey) == sizeof(Long));
constexpr std::size_t kCellBits = 8 * (sizeof(CellKey) + sizeof(Cell));
constexpr std::size_t kIdleBits = kCellBits + 8;

bool hasCells(const LedgerClass* cls) {
    return cls != nullptr && cls->keys.top + cls->idle.top > 0;
}

void writeCell(ByteWriter* out, const Cell& cell) {
    out->amount(cell.bbw);
    out->amount(cell.fbw);
}

Cell readCell(ByteReader* in) {
    const double bbw = in->amount();
    return {bbw, in->amount()};
}

void readKeyed(ByteReader* in, DataBase* dataBase, const Ledger* ledger, int oa) {
    LedgerClass* cls = ledger->classes[oa];
    const Long nb = in->count(kCellBits);
    if (!makeRoom(&cls->keys, nb) || !makeRoom(&cls->cells, nb))
        return in->refuse(kNoMemory);
    in->numbers(reinterpret_cast<Long*>(cls->keys.cont), nb);
    in->doubles(reinterpret_cast<double*>(cls->cells.cont), 2 * nb);
    if (!in->isFine()) return;
    cls->keys.top = cls->cells.top = nb;
    for (Long i = 0; i < nb; i++) {
        const CellKey key = cls->keys[i];
        in->require(i == 0 || cls->keys[i - 1] < key, "the order of failures");
        in->require(!isEmpty(cls->cells[i]), "a failure that needs nothing");
        in->require(findLink(&dataBase->linkTab, tailOf(key), headOf(key)) != nullptr,
                    "the failure of a link that does not exist");
        if (!in->isFine()) return;
        if (i == 0 || headOf(cls->keys[i - 1]) != headOf(key)) {
            in->require(reachCells(dataBase->live, ledger, oa, headOf(key)), kNoMemory);
            noteCells(dataBase->live, ledger, oa, headOf(key));
        }
        cls->nbActive += isActive(cls->cells[i]) ? 1 : 0;
    }
}

// The id of an idle cell was that of a link, or an element of a state that a caller gave.
bool isKnownFailure(const DataBase* dataBase, const DBLinkState* state, int oa, int level,
                    Long failure) {
    return failure >= 0 && endOf(&dataBase->linkSrcVec, failure) < 0 &&
           failure < std::max({dataBase->linkSrcVec.size, state->bbw[oa][level].size,
                               state->fbw[oa][level].size});
}

void readIdle(ByteReader* in, DataBase* dataBase, DBLink* link, int oa) {
    LedgerClass* cls = link->ledger->classes[oa];
    const Long nb = in->count(kIdleBits);
    if (!makeRoom(&cls->idle, nb)) return in->refuse(kNoMemory);
    for (Long i = 0; i < nb && in->isFine(); i++) {
        const Long failure = in->number();
        const int level = in->byte();
        const Cell cell = readCell(in);
        in->require(level < kLevels, "the level of a failure");
        if (!in->isFine()) return;
        in->require(isKnownFailure(dataBase, &link->state, oa, level, failure),
                    "the failure of a link that never was");
        append(&cls->idle, IdleCell{failure, level, cell});
    }
    Live* live = dataBase->live;
    if (nb > 0) in->require(reach(&live->idle, link->ledger->slot), kNoMemory);
    noteIdle(live, link->ledger);
}

}  // namespace

void writeCells(ByteWriter* out, const Ledger* ledger) {
    unsigned present = 0;
    for (int oa = 0; oa < kClasses; oa++)
        if (hasCells(ledger->classes[oa])) present |= 1U << oa;
    out->byte(static_cast<std::uint8_t>(present));
    for (const LedgerClass* cls : ledger->classes) {
        if (!hasCells(cls)) continue;
        out->number(cls->keys.top);
        out->numbers(reinterpret_cast<const Long*>(cls->keys.cont), cls->keys.top);
        out->doubles(reinterpret_cast<const double*>(cls->cells.cont), 2 * cls->keys.top);
        out->number(cls->idle.top);
        for (const IdleCell& idle : cls->idle) {
            out->number(idle.failure);
            out->byte(static_cast<std::uint8_t>(idle.level));
            writeCell(out, idle.cell);
        }
    }
}

bool enrolLink(DataBase* dataBase, DBLink* link, Long src, Long dst) {
    Live* live = dataBase->live;
    const Long slot = live->bySlot.top;
    // Room in the list of free slots, too, so that no removal wants any.
    if (!makeRoom(&live->freeSlots, slot + 1) || !append(&live->bySlot, link))
        return false;
    live->nbUsed++;
    link->ledger = static_cast<Ledger*>(mycalloc(1, sizeof(Ledger)));
    if (link->ledger == nullptr) return false;
    link->ledger->slot = slot;
    link->ledger->tail = src;
    link->ledger->head = dst;
    return true;
}

bool linksEnrolled(DataBase* dataBase) {
    if (!prepareCounts(dataBase)) return false;
    countsChanged(dataBase);
    return true;
}

void readCells(ByteReader* in, DataBase* dataBase, DBLink* link) {
    const unsigned present = in->byte();
    for (int oa = 0; oa < kClasses && in->isFine(); oa++) {
        if ((present >> oa & 1U) == 0) continue;
        if (classOf(link->ledger, oa) == nullptr) return in->refuse(kNoMemory);
        readKeyed(in, dataBase, link->ledger, oa);
        readIdle(in, dataBase, link, oa);
    }
    if (in->isFine()) settleLink(dataBase->live, link);
}
