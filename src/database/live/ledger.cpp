#include "database/live/ledger.h"

#include <algorithm>

namespace {

// First cell at or behind a key.
Long lowerBound(const Run& run, CellKey key) {
    return static_cast<Long>(std::lower_bound(run.keys, run.keys + run.nb, key) -
                             run.keys);
}

Run part(const Run& run, Long from, Long to) {
    return {run.keys + from, run.cells + from, to - from};
}

// The cells at the front of a run that have a key in common but for some bits.
Run front(const Run& run, CellKey otherBits) {
    Long nb = 1;
    while (nb < run.nb && (run.keys[nb] | otherBits) == (run.keys[0] | otherBits)) nb++;
    return part(run, 0, nb);
}
constexpr CellKey kBelowHead = (1U << (kNodeBits + kLevelBits)) - 1;
constexpr CellKey kBelowTail = (1U << kLevelBits) - 1;

// The sums of which a need is the difference, cell by cell.
class NeedSum {
  public:
    void add(const Cell& cell) {
        bbw_ += cell.bbw;
        fbw_ += cell.fbw;
    }
    void addLevel(const Run& run, int level) {
        for (Long i = 0; i < run.nb; i++)
            if (levelOf(run.keys[i]) == level) add(run.cells[i]);
    }
    double soFar() const { return bbw_ - fbw_ < 0.0 ? 0.0 : bbw_ - fbw_; }

  private:
    double bbw_ = 0.0;
    double fbw_ = 0.0;
};

// The levels of the cells of a run, as bits.
unsigned levelsOf(const Run& run) {
    unsigned levels = 0;
    for (Long i = 0; i < run.nb; i++) levels |= 1U << levelOf(run.keys[i]);
    return levels;
}

// Calls act(need) for the failing node of a run and for its failing links that count.
template <class Act>
void forEachNeed(Run ofNode, Counted counted, Act act) {
    act(needOf(ofNode));
    while (ofNode.nb > 0) {
        const Run ofLink = front(ofNode, kBelowTail);
        if (counted(tailOf(ofLink.keys[0]), headOf(ofLink.keys[0]))) act(needOf(ofLink));
        ofNode = part(ofNode, ofLink.nb, ofNode.nb);
    }
}

void raiseByRun(Need* worst, const Run& ofNode, Counted counted) {
    if (!anyActive(ofNode)) return;
    forEachNeed(ofNode, counted, [=](const Need& need) { raise(worst, need); });
}

bool addCell(Array<CellKey>* keys, Array<Cell>* cells, Long at, CellKey key) {
    if (!makeRoom(cells, cells->top + 1) || !insertAt(keys, at, key)) return false;
    return insertAt(cells, at, Cell{0.0, 0.0});
}

void addChange(Cell* cell, const FailureChange& change, int oa) {
    (change.freed ? cell->fbw : cell->bbw) += change.mult * change.amounts[oa];
}

// Whether no change of a class raises a need (sign 1), or none lowers one (-1): what is
// freed counts the other way round. Sums that round keep that order.
bool noneGoes(double sign, const FailureChange* first, const FailureChange* end, int oa) {
    return std::all_of(first, end, [=](const FailureChange& change) {
        const double more = sign * change.mult * change.amounts[oa];
        return change.freed ? more >= 0.0 : more <= 0.0;
    });
}

// The end of the changes that concern the same head as the first.
const FailureChange* endOfHead(const FailureChange* first, const FailureChange* end) {
    return std::find_if(first, end, [=](const FailureChange& change) {
        return change.head != first->head;
    });
}

// Whether the failing node of a run, or a failing link of the changes, is among the
// worst.
bool areAmongWorst(const Run& ofNode, const FailureChange* first,
                   const FailureChange* end, Counted counted, const Need& worst) {
    return isAmongWorst(needOf(ofNode), worst) ||
           std::any_of(first, end, [=](const FailureChange& change) {
               const Run ofLink = runOf(ofNode, change.tail);
               return ofLink.nb < ofNode.nb && counted(change.tail, change.head) &&
                      isAmongWorst(needOf(ofLink), worst);
           });
}

// The run with the changes first..end-1, all of its head, made in the scratch.
bool changedRun(const Run& run, const FailureChange* first, const FailureChange* end,
                int oa, int level, RunScratch* scratch, Run* changed) {
    if (!makeRoom(&scratch->keys, run.nb) || !makeRoom(&scratch->cells, run.nb))
        return false;
    std::copy_n(run.keys, run.nb, scratch->keys.cont);
    std::copy_n(run.cells, run.nb, scratch->cells.cont);
    scratch->keys.top = scratch->cells.top = run.nb;
    auto current = [=] {
        return Run{scratch->keys.cont, scratch->cells.cont, scratch->keys.top};
    };
    for (; first != end; first++) {
        if (first->amounts[oa] == 0.0) continue;
        const CellKey key = cellKey(first->head, first->tail, level);
        const Long at = lowerBound(current(), key);
        const bool exists = at < scratch->keys.top && scratch->keys[at] == key;
        if (!exists && !addCell(&scratch->keys, &scratch->cells, at, key)) return false;
        addChange(&scratch->cells[at], *first, oa);
    }
    *changed = current();
    return true;
}

// The worst need with the changes of a booking, from all cells.
bool sumUpWith(const LedgerClass* cls, int oa, const Booking& booking, Counted counted,
               RunScratch* scratch, Need* worst) {
    *worst = {};
    Run rest = allOf(cls);
    const FailureChange* change = booking.changes.begin();
    const FailureChange* const end = booking.changes.end();
    while (rest.nb > 0 || change != end) {
        const bool isChanged =
            change != end && (rest.nb == 0 || change->head <= headOf(rest.keys[0]));
        Run run = {nullptr, nullptr, 0};
        if (rest.nb > 0 && (!isChanged || change->head == headOf(rest.keys[0]))) {
            run = front(rest, kBelowHead);
            rest = part(rest, run.nb, rest.nb);
        }
        if (isChanged) {
            const FailureChange* next = endOfHead(change, end);
            if (!changedRun(run, change, next, oa, booking.level, scratch, &run))
                return false;
            change = next;
        }
        raiseByRun(worst, run, counted);
    }
    return true;
}

void dropEmptyCells(LedgerClass* cls) {
    Long top = 0;
    for (Long i = 0; i < cls->keys.top; i++) {
        if (isEmpty(cls->cells[i])) continue;
        cls->keys[top] = cls->keys[i];
        cls->cells[top++] = cls->cells[i];
    }
    cls->keys.top = cls->cells.top = top;
}

// Finds the places of the cells that a booking changes, where there is one for each, and
// makes those that are missing. False, nothing changed, if there is no memory.
bool reachPlaces(LedgerClass* cls, int oa, const Booking& booking,
                 Array<CellPlace>* places) {
    places->top = 0;
    if (!makeRoom(places, booking.changes.top)) return false;
    Long missing = 0;
    Run rest = allOf(cls);
    for (const FailureChange& change : booking.changes) {
        if (change.amounts[oa] == 0.0) continue;
        const CellKey key = cellKey(change.head, change.tail, booking.level);
        if (places->top > 0 && places->end()[-1].key == key) {
            append(places, {key, places->end()[-1].at, false, &change});
            continue;
        }
        rest = part(rest, lowerBound(rest, key), rest.nb);
        const bool isMissing = rest.nb == 0 || rest.keys[0] != key;
        append(places, {key, cls->keys.top - rest.nb + missing, isMissing, &change});
        missing += isMissing ? 1 : 0;
    }
    Long from = cls->keys.top;
    if (!makeRoom(&cls->keys, from + missing) || !makeRoom(&cls->cells, from + missing))
        return false;
    cls->keys.top = cls->cells.top = from + missing;
    // From the end: what lies behind a missing cell goes to its final place at once.
    for (Long k = places->top - 1; missing > 0; k--) {
        const CellPlace& place = (*places)[k];
        if (!place.isMissing) continue;
        const Long behind = place.at - --missing;
        CellKey* const keys = cls->keys.cont;
        Cell* const cells = cls->cells.cont;
        std::move_backward(keys + behind, keys + from, keys + from + missing + 1);
        std::move_backward(cells + behind, cells + from, cells + from + missing + 1);
        keys[place.at] = place.key;
        cells[place.at] = {0.0, 0.0};
        from = behind;
    }
    return true;
}

}  // namespace

Run nodeRun(const Run& all, Long head) {
    const Long from = lowerBound(all, cellKey(head, 0, 0));
    if (from == all.nb || headOf(all.keys[from]) != head) return {nullptr, nullptr, 0};
    return front(part(all, from, all.nb), kBelowHead);
}

Run runOf(const Run& ofNode, Long tail) {
    Long from = 0;
    while (from < ofNode.nb && tailOf(ofNode.keys[from]) < tail) from++;
    if (from == ofNode.nb || tailOf(ofNode.keys[from]) != tail)
        return {nullptr, nullptr, 0};
    return front(part(ofNode, from, ofNode.nb), kBelowTail);
}

Need needOf(const Run& run) {
    Need need;
    NeedSum sum;
    const unsigned levels = levelsOf(run);
    for (int p = 0; p < kLevels; p++) {
        if ((levels >> p & 1U) != 0) sum.addLevel(run, p);
        need.at[p] = sum.soFar();
    }
    return need;
}

Need needWith(const Run& run, CellKey key, const Cell& added) {
    Long at = 0;
    while (at < run.nb && run.keys[at] < key) at++;
    const bool exists = at < run.nb && run.keys[at] == key;
    const Run behind = part(run, exists ? at + 1 : at, run.nb);
    const Cell before = exists ? run.cells[at] : Cell{0.0, 0.0};
    const unsigned levels = levelsOf(run);
    Need need;
    NeedSum sum;
    for (int p = 0; p < kLevels; p++) {
        const bool any = (levels >> p & 1U) != 0;
        if (any) sum.addLevel(part(run, 0, at), p);
        if (p == levelOf(key)) sum.add({before.bbw + added.bbw, before.fbw + added.fbw});
        if (any) sum.addLevel(behind, p);
        need.at[p] = sum.soFar();
    }
    return need;
}

bool anyActive(const Run& run) {
    return std::any_of(run.cells, run.cells + run.nb, isActive);
}

bool isAmongWorst(const Need& need, const Need& worst) {
    for (int p = 0; p < kLevels; p++)
        if (need.at[p] > 0.0 && need.at[p] >= worst.at[p]) return true;
    return false;
}

bool mayFall(const Need& before, const Need& after, const Need& worst) {
    for (int p = 0; p < kLevels; p++)
        if (before.at[p] > 0.0 && before.at[p] >= worst.at[p] &&
            !(after.at[p] >= before.at[p]))
            return true;
    return false;
}

bool Counted::isListed(CellKey key) const {
    return std::find(uncounted_->begin(), uncounted_->end(), key) != uncounted_->end();
}

void endScratch(RunScratch* scratch) {
    endArray(&scratch->places);
    endArray(&scratch->keys);
    endArray(&scratch->cells);
}

bool raisesNone(const Booking& booking, int oa) {
    return noneGoes(1.0, booking.changes.begin(), booking.changes.end(), oa);
}

bool worstAfter(const LedgerClass* cls, int oa, const Booking& booking, Counted counted,
                RunScratch* scratch, Need* worst) {
    const bool anyNeed = cls != nullptr && cls->nbActive > 0;
    *worst = cls != nullptr ? cls->worst : Need{};
    const FailureChange* const end = booking.changes.end();
    const bool onlyFalls = raisesNone(booking, oa);
    if (!anyNeed && onlyFalls) return true;
    for (const FailureChange *change = booking.changes.begin(), *next; change != end;
         change = next) {
        next = endOfHead(change, end);
        const Run before = runOf(cls, change->head);
        const bool wasActive = anyActive(before);
        // To need less changes nothing where nothing is needed, or others need more.
        if (onlyFalls &&
            !(wasActive && areAmongWorst(before, change, next, counted, cls->worst)))
            continue;
        Run after;
        if (!changedRun(before, change, next, oa, booking.level, scratch, &after))
            return false;
        const bool mayLower = wasActive && !noneGoes(-1.0, change, next, oa);
        const Need ofNode = needOf(after);
        raise(worst, ofNode);
        bool lower = mayLower && mayFall(needOf(before), ofNode, cls->worst);
        for (; change != next; change++) {
            if (!counted(change->tail, change->head)) continue;
            const Run ofLink = runOf(after, change->tail);
            const Need now = ofLink.nb < after.nb ? needOf(ofLink) : ofNode;
            raise(worst, now);
            lower = lower || (mayLower && mayFall(needOf(runOf(before, change->tail)),
                                                  now, cls->worst));
        }
        if (lower) return sumUpWith(cls, oa, booking, counted, scratch, worst);
    }
    return true;
}

Need worstOf(const LedgerClass* cls, Counted counted) {
    Need worst = {};
    if (cls == nullptr || cls->nbActive == 0) return worst;
    for (Run rest = allOf(cls); rest.nb > 0;) {
        const Run run = front(rest, kBelowHead);
        raiseByRun(&worst, run, counted);
        rest = part(rest, run.nb, rest.nb);
    }
    return worst;
}

Need worstOfNodesBut(const LedgerClass* cls, Long head) {
    Need worst = {};
    for (Run rest = allOf(cls); rest.nb > 0;) {
        const Run run = front(rest, kBelowHead);
        if (headOf(run.keys[0]) != head && anyActive(run)) raise(&worst, needOf(run));
        rest = part(rest, run.nb, rest.nb);
    }
    return worst;
}

LedgerClass* classOf(Ledger* ledger, int oa) {
    LedgerClass** cls = &ledger->classes[oa];
    if (*cls == nullptr)
        *cls = static_cast<LedgerClass*>(mycalloc(1, sizeof(LedgerClass)));
    return *cls;
}

bool bookCells(LedgerClass* cls, int oa, const Booking& booking, RunScratch* scratch,
               CellNews* news) {
    const Long before = cls->keys.top;
    if (!reachPlaces(cls, oa, booking, &scratch->places)) return false;
    bool anyEmpty = false;
    bool anySwitch = false;
    for (const CellPlace& place : scratch->places) {
        Cell* cell = &cls->cells[place.at];
        const bool wasActive = isActive(*cell);
        addChange(cell, *place.change, oa);
        anySwitch |= isActive(*cell) != wasActive;
        cls->nbActive += int{isActive(*cell)} - int{wasActive};
        anyEmpty |= isEmpty(*cell);
    }
    *news = {cls->keys.top > before, anyEmpty, anySwitch};
    if (anyEmpty) dropEmptyCells(cls);
    return true;
}

bool addToCell(LedgerClass* cls, CellKey key, double bbw, double fbw) {
    const Long at = lowerBound(allOf(cls), key);
    const bool exists = at < cls->keys.top && cls->keys[at] == key;
    if (!exists && !addCell(&cls->keys, &cls->cells, at, key)) return false;
    Cell* cell = &cls->cells[at];
    cls->nbActive -= isActive(*cell) ? 1 : 0;
    cell->bbw += bbw;
    cell->fbw += fbw;
    cls->nbActive += isActive(*cell) ? 1 : 0;
    return true;
}

bool makeRoomToRetire(LedgerClass* cls) {
    return makeRoom(&cls->idle, cls->idle.top + kLevels);
}

void retire(LedgerClass* cls, Long failure, Long tail, Long head) {
    const Run run = runOf(runOf(cls, head), tail);
    for (Long i = 0; i < run.nb; i++) {
        append(&cls->idle, IdleCell{failure, levelOf(run.keys[i]), run.cells[i]});
        cls->nbActive -= isActive(run.cells[i]) ? 1 : 0;
    }
    const auto from = static_cast<Long>(run.keys - cls->keys.cont);
    std::move(cls->keys.cont + from + run.nb, cls->keys.end(), cls->keys.cont + from);
    std::move(cls->cells.cont + from + run.nb, cls->cells.end(), cls->cells.cont + from);
    cls->keys.top -= run.nb;
    cls->cells.top -= run.nb;
}

bool makeRoomToRevive(LedgerClass* cls) {
    return makeRoom(&cls->keys, cls->keys.top + cls->idle.top) &&
           makeRoom(&cls->cells, cls->cells.top + cls->idle.top);
}

bool hasIdle(const LedgerClass* cls, Long failure) {
    return std::any_of(cls->idle.begin(), cls->idle.end(),
                       [=](const IdleCell& idle) { return idle.failure == failure; });
}

void revive(LedgerClass* cls, Long failure, Long tail, Long head) {
    for (Long i = cls->idle.top - 1; i >= 0; i--) {
        const IdleCell idle = cls->idle[i];
        if (idle.failure != failure) continue;
        addToCell(cls, cellKey(head, tail, idle.level), idle.cell.bbw, idle.cell.fbw);
        eraseAt(&cls->idle, i);
    }
}

void clearLedger(Ledger* ledger) {
    for (LedgerClass*& cls : ledger->classes) {
        if (cls == nullptr) continue;
        endArray(&cls->keys);
        endArray(&cls->cells);
        endArray(&cls->idle);
        myfree(cls);
        cls = nullptr;
    }
}

void endLedger(Ledger* ledger) {
    if (ledger == nullptr) return;
    clearLedger(ledger);
    myfree(ledger);
}
