// The failure tables of a stored link, without the zeros.
//
// Private to the library. The vectors bbw and fbw of a link's state have an element per
// failing link and level, nearly all of them 0; on a large network they do not fit into
// memory, and finding the worst failure means to walk them all. A stored link therefore
// keeps, per class, only the elements that are not 0, its cells.
//
// What a failure needs is a sum over its cells in a fixed order. Cells are sorted by the
// head of the failing link, then its tail, then the level: the cells of a failing node
// stand together, in the order of their sum, and so do those of a failing link. The needs
// of the failures that a booking touches are summed up anew, literally, and the worst
// need is a maximum, which has no order: so every result is that of computeRBW to the
// last bit, whatever the amounts are.
#pragma once

#include "common/array.h"
#include "database/booking.h"
#include "database/database_util.h"

// Head, tail and level of a cell in one word.
using CellKey = std::uint32_t;

constexpr int kNodeBits = 14;
constexpr int kLevelBits = 3;
static_assert(kLinkTabMax <= 1 << kNodeBits && kLevels <= 1 << kLevelBits);

constexpr CellKey cellKey(Long head, Long tail, int level) {
    return static_cast<CellKey>(head) << (kNodeBits + kLevelBits) |
           static_cast<CellKey>(tail) << kLevelBits | static_cast<CellKey>(level);
}
constexpr Long headOf(CellKey key) {
    return static_cast<Long>(key >> (kNodeBits + kLevelBits));
}
constexpr Long tailOf(CellKey key) {
    return static_cast<Long>(key >> kLevelBits & ((1U << kNodeBits) - 1));
}
constexpr int levelOf(CellKey key) {
    return static_cast<int>(key & ((1U << kLevelBits) - 1));
}

struct Cell {
    double bbw;
    double fbw;
};

// Cells of a link id that no link has. They count again once a link gets the id.
struct IdleCell {
    Long failure;
    int level;
    Cell cell;
};

// What failures need at each level.
struct Need {
    double at[kLevels];
};

struct LedgerClass {
    Array<CellKey> keys;  // ascending
    Array<Cell> cells;    // of these
    Array<IdleCell> idle;
    Long
        nbActive;  // cells that can need bandwidth: activated, or less than nothing freed
    Need worst;    // largest need of all failures: what rbw adds to pbw
};

struct Ledger {
    Long slot;  // number of the link among those stored
    Long tail;
    Long head;
    bool isMirrored;     // the vectors of the state are in step: somebody may read them
    bool isViewStale;    // changed since the views were refreshed
    std::uint32_t walk;  // last walk that has marked the link (live.h)
    unsigned stale;      // classes whose rbw is not what the tables give, as bits
    unsigned occupied;   // classes in which anything was ever booked or reserved, as bits
    LedgerClass* classes[kClasses];  // null: no cells
};

// Cells of links that fail together.
struct Run {
    const CellKey* keys;
    const Cell* cells;
    Long nb;
};

// The cells of a failing node, and among these the ones of a failing link.
inline Run allOf(const LedgerClass* cls) {
    return cls != nullptr ? Run{cls->keys.cont, cls->cells.cont, cls->keys.top}
                          : Run{nullptr, nullptr, 0};
}
Run nodeRun(const Run& all, Long head);
inline Run runOf(const LedgerClass* cls, Long head) {
    return nodeRun(allOf(cls), head);
}
Run runOf(const Run& ofNode, Long tail);

// What a failure needs, from its cells: the sums run on from level to level and are cut
// off at 0 only in the result.
Need needOf(const Run& run);

// The same with amounts added to the cell of one failing link and level.
Need needWith(const Run& run, CellKey key, const Cell& added);

inline void raise(Need* worst, const Need& need) {
    for (int p = 0; p < kLevels; p++)
        if (need.at[p] > worst->at[p]) worst->at[p] = need.at[p];
}

// Whether any cell of a run can need bandwidth.
bool anyActive(const Run& run);

// Whether a need is not 0 and as large as the worst at some level.
bool isAmongWorst(const Need& need, const Need& worst);

// Whether a failure that was among the worst may need less now.
bool mayFall(const Need& before, const Need& after, const Need& worst);

// Says whether the failure of a link counts (live.h).
class Counted {
  public:
    explicit Counted(const Array<CellKey>* uncounted) : uncounted_(uncounted) {}
    bool operator()(Long tail, Long head) const {
        return uncounted_->top == 0 || !isListed(cellKey(head, tail, 0));
    }

  private:
    bool isListed(CellKey key) const;
    const Array<CellKey>* uncounted_;
};

// Where the cell of a change is, or will be.
struct CellPlace {
    CellKey key;
    Long at;
    bool isMissing;
    const FailureChange* change;
};

// Room for the cells of one failing node as a booking would change them, and for the
// places of all that it changes.
struct RunScratch {
    Array<CellKey> keys;
    Array<Cell> cells;
    Array<CellPlace> places;
};
void endScratch(RunScratch* scratch);

// Whether a booking raises no need of a class: sums that round keep that order.
bool raisesNone(const Booking& booking, int oa);

// The worst need of class oa with the changes of a booking, which are not made. False if
// there is no memory.
bool worstAfter(const LedgerClass* cls, int oa, const Booking& booking, Counted counted,
                RunScratch* scratch, Need* worst);

// The worst need summed up from all cells.
Need worstOf(const LedgerClass* cls, Counted counted);

// The worst need of all nodes but one.
Need worstOfNodesBut(const LedgerClass* cls, Long head);

// The class, made if it is missing; null if there is no memory.
LedgerClass* classOf(Ledger* ledger, int oa);

// What a booking has done to cells besides amounts.
struct CellNews {
    bool came;
    bool gone;
    bool switched;  // some have become active, or ceased to be
};

// Adds the changes of a booking to the cells; `worst` is the caller's to set. False,
// nothing changed, if there is no memory.
bool bookCells(LedgerClass* cls, int oa, const Booking& booking, RunScratch* scratch,
               CellNews* news);

// Adds to one cell.
bool addToCell(LedgerClass* cls, CellKey key, double bbw, double fbw);

// Turns the cells of a failing link into idle ones, or the idle ones of its id into
// cells. There has to be room: false if there is no memory for that.
void retire(LedgerClass* cls, Long failure, Long tail, Long head);
void revive(LedgerClass* cls, Long failure, Long tail, Long head);
bool makeRoomToRetire(LedgerClass* cls);
bool makeRoomToRevive(LedgerClass* cls);
bool hasIdle(const LedgerClass* cls, Long failure);

void clearLedger(Ledger* ledger);
void endLedger(Ledger* ledger);

inline bool isEmpty(const Cell& cell) {
    return cell.bbw == 0.0 && cell.fbw == 0.0;
}

inline bool isActive(const Cell& cell) {
    return !(cell.bbw == 0.0 && cell.fbw >= 0.0);
}
