#include "database/worst_need.h"

#include <algorithm>

#include "database/balance.h"
#include "database/workspace.h"

namespace {

// What the walks over failures add up; cut off at 0 only in the result, since the sums
// run on from level to level.
struct Sums {
    double bbw = 0.0;
    double fbw = 0.0;
    double need() const { return bbw - fbw < 0.0 ? 0.0 : bbw - fbw; }
};

// One class of a book, as it is or with a trial's changes.
class Needs {
  public:
    Needs(const DBTopology* topology, const BookClass* cls)
        : topology_(topology), cls_(cls) {}
    Needs(const DBTopology* topology, const BookClass* cls, int oa,
          const BookTrial* trial)
        : topology_(topology), cls_(cls), oa_(oa), trial_(trial) {}

    // Raises `worst` by the needs of a link's failure and of the failure of its head.
    void raiseByLink(double* worst, Long failure) const {
        if (failure < topology_->linkLimit) raise(worst, &failure, &failure + 1);
    }
    void raiseByNode(double* worst, Long node) const {
        if (node >= topology_->nodeLimit) return;
        const Long* ids = topology_->inIds;
        raise(worst, ids + topology_->firstIn[node], ids + topology_->firstIn[node + 1]);
    }

  private:
    // Links whose entries are looked up once for all levels.
    static constexpr Long kMany = 64;

    // The need of links that fail together, in the order of their sum.
    void raise(double* worst, const Long* ids, const Long* end) const {
        Long failures[kMany];
        const BookEntry* entries[kMany];
        Long nb = 0;
        for (; ids != end && nb < kMany; ids++) {
            const BookEntry* entry = findRecord(&cls_->links, *ids);
            if (entry == nullptr && !isChanged(*ids)) continue;
            failures[nb] = *ids;
            entries[nb++] = entry;
        }
        if (nb == 0 && ids == end) return;
        Sums sums;
        for (int p = firstLevel(entries, nb, ids == end); p < kLevels; p++) {
            for (Long i = 0; i < nb; i++) add(&sums, failures[i], entries[i], p);
            for (const Long* id = ids; id != end; id++)
                add(&sums, *id, findRecord(&cls_->links, *id), p);
            if (sums.need() > worst[p]) worst[p] = sums.need();
        }
    }

    // Below the level of a trial there is nothing to add up where no entry was found.
    int firstLevel(const BookEntry* const* entries, Long nb, bool isAll) const {
        const bool any = std::any_of(entries, entries + nb, [](const BookEntry* entry) {
            return entry != nullptr;
        });
        return any || !isAll || trial_ == nullptr ? 0 : trial_->level;
    }

    void add(Sums* sums, Long failure, const BookEntry* entry, int p) const {
        double bbw = entry != nullptr ? entry->bbw[p] : 0.0;
        double fbw = entry != nullptr ? entry->fbw[p] : 0.0;
        if (trial_ != nullptr && p == trial_->level)
            for (Long i = 0; i < trial_->changes->top; i++) {
                const BookChange& change = trial_->changes->cont[i];
                if (change.failure != failure) continue;
                (change.freed ? fbw : bbw) += change.mult * change.amounts[oa_];
            }
        sums->bbw += bbw;
        sums->fbw += fbw;
    }

    bool isChanged(Long failure) const {
        if (trial_ == nullptr) return false;
        const BookChange* first = trial_->changes->cont;
        return std::any_of(
            first, first + trial_->changes->top,
            [=](const BookChange& change) { return change.failure == failure; });
    }

    const DBTopology* topology_;
    const BookClass* cls_;
    int oa_ = 0;
    const BookTrial* trial_ = nullptr;
};

// Raises `worst` by what a link's failure needs, and its head's unless that has been met.
void raiseByFailure(const Needs& needs, const DBTopology* topology, Long failure,
                    Stamps* met, double* worst) {
    const Long head = headOf(topology, failure);
    if (head < 0) return;
    needs.raiseByLink(worst, failure);
    if (met != nullptr && isMarked(met, head)) return;
    if (met != nullptr) mark(met, head);
    needs.raiseByNode(worst, head);
}

// Whether an earlier change is of the same failure, as where a path crosses a link again
// and again. The few changes of a usual path are not worth the search.
bool isRepeated(const BookChangeVec* changes, Long i) {
    if (changes->top <= 64) return false;
    const BookChange* change = &changes->cont[i];
    return std::any_of(
        static_cast<const BookChange*>(changes->cont), change,
        [=](const BookChange& other) { return other.failure == change->failure; });
}

// Only active entries, and changed ones, can need anything, on their own or with the
// other links of their head.
WorstNeed computeWorst(DataBase* dataBase, const DBTopology* topology,
                       const BookClass* cls, const Needs& needs, const BookTrial* trial) {
    WorstNeed worst = {};
    worst.version = topology->version;
    Stamps* met = &workspaceOf(dataBase)->stamps[MET_NODES];
    if (clearStamps(met, topology->nodeSlots) < 0) met = nullptr;
    for (Long i = 0; i < cls->links.top; i++)
        if (cls->links.cont[i]->active)
            raiseByFailure(needs, topology, cls->links.ids[i], met, worst.level);
    for (Long i = 0; trial != nullptr && i < trial->changes->top; i++)
        if (!isRepeated(trial->changes, i))
            raiseByFailure(needs, topology, trial->changes->cont[i].failure, met,
                           worst.level);
    return worst;
}

// The worst need from exact balances, in any order.
WorstNeed computeWorst(const DBTopology* topology, const BookClass* cls) {
    WorstNeed worst = {};
    worst.version = topology->version;
    for (Long i = 0; i < cls->links.top && cls->links.ids[i] < topology->linkLimit; i++)
        if (cls->links.cont[i]->active && headOf(topology, cls->links.ids[i]) >= 0)
            raiseTo(worst.level, balanceUpTo(*cls->links.cont[i]));
    for (Long i = 0; i < cls->nodes.top && cls->nodes.ids[i] < topology->nodeLimit; i++)
        raiseTo(worst.level, *cls->nodes.cont[i]);
    return worst;
}

// The same of the failures that a trial does not shift.
WorstNeed computeWorstOfOthers(const DBTopology* topology, const BookClass* cls,
                               const BalanceShifts& shifts) {
    WorstNeed worst = {};
    worst.version = topology->version;
    for (Long i = 0; i < cls->links.top && cls->links.ids[i] < topology->linkLimit; i++) {
        const Long failure = cls->links.ids[i];
        if (cls->links.cont[i]->active && headOf(topology, failure) >= 0 &&
            find(&shifts.links, failure) == nullptr)
            raiseTo(worst.level, balanceUpTo(*cls->links.cont[i]));
    }
    for (Long i = 0; i < cls->nodes.top && cls->nodes.ids[i] < topology->nodeLimit; i++)
        if (find(&shifts.nodes, cls->nodes.ids[i]) == nullptr)
            raiseTo(worst.level, *cls->nodes.cont[i]);
    return worst;
}

// Adds up a trial's changes of class oa, failure by failure. False if sums with them may
// round, or there is no memory.
bool gatherShifts(const DBTopology* topology, const LinkBook& book, int oa,
                  const BookTrial& trial, BalanceShifts* shifts) {
    if (!book.grain.isExact() || book.nodesVersion != topology->version) return false;
    shifts->links.top = shifts->nodes.top = 0;
    const auto nb = static_cast<double>(trial.changes->top);
    for (Long i = 0; i < trial.changes->top; i++) {
        const BookChange& change = trial.changes->cont[i];
        const double x = (change.freed ? -change.mult : change.mult) * change.amounts[oa];
        if (!book.grain.covers(nb * x)) return false;
        const Long head = headOf(topology, change.failure);
        if (head < 0) continue;
        double* ofLink = findOrAdd(&shifts->links, change.failure);
        double* ofNode = findOrAdd(&shifts->nodes, head);
        if (ofLink == nullptr || ofNode == nullptr) return false;
        *ofLink += x;
        *ofNode += x;
    }
    return true;
}

Balance balanceOr0(const RecordMap<BookEntry>& links, Long failure) {
    const BookEntry* entry = findRecord(&links, failure);
    return entry != nullptr ? balanceUpTo(*entry) : Balance{};
}
Balance balanceOr0(const RecordMap<Balance>& nodes, Long node) {
    const Balance* balance = findRecord(&nodes, node);
    return balance != nullptr ? *balance : Balance{};
}

// Calls act(balance, shift) for the failures below a limit that a trial shifts, until it
// is false.
template <class T, class Act>
bool forEachShift(const IdMap<double>& shifts, const RecordMap<T>& balances, Long limit,
                  Act act) {
    for (Long i = 0; i < shifts.top && shifts.ids[i] < limit; i++)
        if (!act(balanceOr0(balances, shifts.ids[i]), shifts.cont[i])) return false;
    return true;
}

template <class Act>
bool forEachShift(const DBTopology* topology, const BookClass* cls,
                  const BalanceShifts& shifts, Act act) {
    return forEachShift(shifts.links, cls->links, topology->linkLimit, act) &&
           forEachShift(shifts.nodes, cls->nodes, topology->nodeLimit, act);
}

WorstNeed shiftedWorst(const DBTopology* topology, const BookClass* cls,
                       const WorstNeed& before, int level, const BalanceShifts& shifts) {
    WorstNeed worst = before;
    const bool told =
        forEachShift(topology, cls, shifts, [&](const Balance& balance, double x) {
            return follow(worst.level, balance, level, x);
        });
    if (told) return worst;
    worst = computeWorstOfOthers(topology, cls, shifts);
    forEachShift(topology, cls, shifts, [&](const Balance& balance, double x) {
        raiseTo(worst.level, shifted(balance, level, x));
        return true;
    });
    return worst;
}

}  // namespace

const WorstNeed& worstNeed(DataBase* dataBase, const DBTopology* topology, LinkBook* book,
                           int oa) {
    BookClass* cls = &book->classes[oa];
    if (cls->worst.version != topology->version)
        cls->worst =
            book->grain.isExact() && book->nodesVersion == topology->version
                ? computeWorst(topology, cls)
                : computeWorst(dataBase, topology, cls, Needs(topology, cls), nullptr);
    return cls->worst;
}

WorstNeed worstNeedAfter(DataBase* dataBase, const DBTopology* topology, LinkBook* book,
                         int oa, const BookTrial& trial) {
    const BookClass* cls = &book->classes[oa];
    BalanceShifts* shifts = &workspaceOf(dataBase)->shifts;
    if (gatherShifts(topology, *book, oa, trial, shifts))
        return shiftedWorst(topology, cls, worstNeed(dataBase, topology, book, oa),
                            trial.level, *shifts);
    const Needs needs(topology, cls, oa, &trial);
    if (!trial.raises) return computeWorst(dataBase, topology, cls, needs, &trial);
    WorstNeed worst = worstNeed(dataBase, topology, book, oa);
    for (Long i = 0; i < trial.changes->top; i++)
        if (!isRepeated(trial.changes, i))
            raiseByFailure(needs, topology, trial.changes->cont[i].failure, nullptr,
                           worst.level);
    return worst;
}

bool isAmongWorst(const DBTopology* topology, const BookClass* cls, Long failure) {
    auto reaches = [&](const Balance& balance) {
        for (int p = 0; p < kLevels; p++)
            if (balance.upTo[p] > 0.0 && balance.upTo[p] >= cls->worst.level[p])
                return true;
        return false;
    };
    const BookEntry* entry = findRecord(&cls->links, failure);
    if (entry != nullptr && reaches(balanceUpTo(*entry))) return true;
    const Balance* node = findRecord(&cls->nodes, headOf(topology, failure));
    return node != nullptr && reaches(*node);
}
