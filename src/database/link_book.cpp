#include "database/link_book.h"

#include <algorithm>

// A book stands for the vectors of a state; where it cannot grow, they could not.
#define ERROR_SOURCE "common/common.c"
#include "common/vec.h"
#include "database/database_util.h"
#include "database/workspace.h"

namespace {

bool isActive(const BookEntry* entry) {
    auto nonZero = [](double x) { return x != 0.0; };
    auto negative = [](double x) { return x < 0.0; };
    return std::any_of(entry->bbw, entry->bbw + kLevels, nonZero) ||
           std::any_of(entry->fbw, entry->fbw + kLevels, negative);
}

bool isEmpty(const BookEntry* entry) {
    auto zero = [](double x) { return x == 0.0; };
    return !entry->active && std::all_of(entry->fbw, entry->fbw + kLevels, zero);
}

const BookEntry* findEntry(const BookClass* cls, Long failure) {
    return find(&cls->links, failure);
}

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
            const BookEntry* entry = findEntry(cls_, *ids);
            if (entry == nullptr && !isChanged(*ids)) continue;
            failures[nb] = *ids;
            entries[nb++] = entry;
        }
        if (nb == 0 && ids == end) return;
        Sums sums;
        for (int p = firstLevel(entries, nb, ids == end); p < kLevels; p++) {
            for (Long i = 0; i < nb; i++) add(&sums, failures[i], entries[i], p);
            for (const Long* id = ids; id != end; id++)
                add(&sums, *id, findEntry(cls_, *id), p);
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
        if (cls->links.cont[i].active)
            raiseByFailure(needs, topology, cls->links.ids[i], met, worst.level);
    for (Long i = 0; trial != nullptr && i < trial->changes->top; i++)
        if (!isRepeated(trial->changes, i))
            raiseByFailure(needs, topology, trial->changes->cont[i].failure, met,
                           worst.level);
    return worst;
}

Balance balanceUpTo(const BookEntry& entry) {
    Balance balance;
    double sum = 0.0;
    for (int p = 0; p < kLevels; p++)
        balance.upTo[p] = sum += entry.bbw[p] - entry.fbw[p];
    return balance;
}

void raiseTo(double* worst, const Balance& balance) {
    for (int p = 0; p < kLevels; p++) worst[p] = std::max(worst[p], balance.upTo[p]);
}

// Adds x from a level on.
Balance shifted(const Balance& balance, int level, double x) {
    Balance after = balance;
    for (int p = level; p < kLevels; p++) after.upTo[p] += x;
    return after;
}

// What a trial adds to the balance of a failure that is up to a level.
double shiftOf(const BookChange& change, int oa) {
    return (change.freed ? -change.mult : change.mult) * change.amounts[oa];
}

// The worst need from exact balances, in any order, with the changes of a trial if there
// is one.
WorstNeed computeWorst(const DBTopology* topology, const BookClass* cls, int oa = 0,
                       const BookTrial* trial = nullptr) {
    WorstNeed worst = {};
    worst.version = topology->version;
    auto raise = [&](Balance balance, auto isMeant) {
        for (Long i = 0; trial != nullptr && i < trial->changes->top; i++) {
            const BookChange& change = trial->changes->cont[i];
            if (isMeant(change.failure))
                balance = shifted(balance, trial->level, shiftOf(change, oa));
        }
        raiseTo(worst.level, balance);
    };
    auto raiseLink = [&](Long failure, const Balance& balance) {
        if (failure < topology->linkLimit && headOf(topology, failure) >= 0)
            raise(balance, [=](Long changed) { return changed == failure; });
    };
    auto raiseNode = [&](Long node, const Balance& balance) {
        if (node >= 0 && node < topology->nodeLimit)
            raise(balance,
                  [=](Long changed) { return headOf(topology, changed) == node; });
    };
    for (Long i = 0; i < cls->links.top; i++)
        if (trial != nullptr || cls->links.cont[i].active)
            raiseLink(cls->links.ids[i], balanceUpTo(cls->links.cont[i]));
    for (Long i = 0; i < cls->nodes.top; i++)
        raiseNode(cls->nodes.ids[i], cls->nodes.cont[i]);
    for (Long i = 0; trial != nullptr && i < trial->changes->top; i++) {
        const Long failure = trial->changes->cont[i].failure;
        if (findEntry(cls, failure) == nullptr) raiseLink(failure, {});
        const Long head = headOf(topology, failure);
        if (find(&cls->nodes, head) == nullptr) raiseNode(head, {});
    }
    return worst;
}

// Keeps `worst` in step with a failure whose balance changes. False if it may have been
// the worst failure and needs less now: the others are to be asked.
bool follow(double* worst, const Balance& before, const Balance& after) {
    for (int p = 0; p < kLevels; p++) {
        const bool falls = after.upTo[p] < before.upTo[p];
        if (falls && before.upTo[p] > 0.0 && before.upTo[p] >= worst[p]) return false;
    }
    raiseTo(worst, after);
    return true;
}

// The same for a link and the node it enters, as far as their failures count. `link` and
// `node` are their balances before.
bool followBoth(const DBTopology* topology, double* worst, Long failure,
                const Balance& link, Long head, const Balance& node, int level,
                double x) {
    return (failure >= topology->linkLimit ||
            follow(worst, link, shifted(link, level, x))) &&
           (head >= topology->nodeLimit || follow(worst, node, shifted(node, level, x)));
}

// Adds to the balance of the node that a failing link enters, and keeps the worst need
// known if that is possible. `before` is the link's balance until now.
void addToNode(const DBTopology* topology, LinkBook* book, BookClass* cls, Long failure,
               const Balance& before, int level, double x) {
    const Long head = headOf(topology, failure);
    if (head < 0) return;
    Balance* node = findOrAdd(&cls->nodes, head);
    if (node == nullptr) {
        book->nodesVersion = 0;
        cls->worst.version = 0;
        return;
    }
    if (cls->worst.version != topology->version ||
        !followBoth(topology, cls->worst.level, failure, before, head, *node, level, x))
        cls->worst.version = 0;
    *node = shifted(*node, level, x);
    constexpr Balance kNone = {};
    if (std::equal(node->upTo, node->upTo + kLevels, kNone.upTo))
        eraseValue(&cls->nodes, node);
}

// The amounts that a book is about; those of its state's pbw are given.
template <class Act>
void forEachAmount(const LinkBook* book, const double (*pbw)[kLevels], Act act) {
    for (int oa = 0; oa < kClasses; oa++) {
        for (int p = 0; p < kLevels; p++) act(pbw[oa][p]);
        const IdMap<BookEntry>& links = book->classes[oa].links;
        for (Long i = 0; i < links.top; i++)
            for (int p = 0; p < kLevels; p++) {
                act(links.cont[i].bbw[p]);
                act(links.cont[i].fbw[p]);
            }
    }
}

int balanceNodes(const DBTopology* topology, BookClass* cls) {
    cls->nodes.top = 0;
    for (Long i = 0; i < cls->links.top; i++) {
        const Long head = headOf(topology, cls->links.ids[i]);
        if (head < 0) continue;
        Balance* node = findOrAdd(&cls->nodes, head);
        if (node == nullptr) return -1;
        const Balance link = balanceUpTo(cls->links.cont[i]);
        for (int p = 0; p < kLevels; p++) node->upTo[p] += link.upTo[p];
    }
    return 0;
}

// Whether balances stay exact with the changes of a trial.
bool isExactWith(const DBTopology* topology, const LinkBook& book, int oa,
                 const BookTrial& trial) {
    if (!book.grain.isExact() || book.nodesVersion != topology->version) return false;
    const auto nb = static_cast<double>(trial.changes->top);
    for (Long i = 0; i < trial.changes->top; i++)
        if (!book.grain.covers(nb * shiftOf(trial.changes->cont[i], oa))) return false;
    return true;
}

// The worst need with a trial's changes; false if it cannot be told from the worst need
// without them.
bool followTrial(DataBase* dataBase, const DBTopology* topology, LinkBook* book, int oa,
                 const BookTrial& trial, WorstNeed* worst) {
    BookClass* cls = &book->classes[oa];
    *worst = worstNeed(dataBase, topology, book, oa);
    Stamps* met = &workspaceOf(dataBase)->stamps[MET_NODES];
    if (clearStamps(met, topology->nodeSlots) < 0) return false;
    for (Long i = 0; i < trial.changes->top; i++) {
        const BookChange& change = trial.changes->cont[i];
        const Long head = headOf(topology, change.failure);
        if (head < 0) continue;
        if (isMarked(met, head)) return false;  // changed twice
        mark(met, head);
        const BookEntry* entry = findEntry(cls, change.failure);
        const Balance* node = find(&cls->nodes, head);
        constexpr Balance kNone = {};
        if (!followBoth(topology, worst->level, change.failure,
                        entry != nullptr ? balanceUpTo(*entry) : kNone, head,
                        node != nullptr ? *node : kNone, trial.level,
                        shiftOf(change, oa)))
            return false;
    }
    return true;
}

// Calls act(table index, oa, level, vector) for the vectors that a book stands for.
template <class Act>
bool forEachVector(DBLinkState* state, Act act) {
    for (int oa = 0; oa < kClasses; oa++)
        for (int p = 0; p < kLevels; p++)
            if (!act(false, oa, p, &state->bbw[oa][p]) ||
                !act(true, oa, p, &state->fbw[oa][p]))
                return false;
    return true;
}

int packVectors(LinkBook* book, DBLinkState* state) {
    auto pack = [&](bool freed, int oa, int p, DoubleVec* vec) {
        for (Long f = 0; f < vec->size; f++)
            if (vec->cont[f] != 0.0 &&
                bookAdd(nullptr, book, freed, oa, p, f, vec->cont[f]) < 0)
                return false;
        return true;
    };
    return forEachVector(state, pack) ? 0 : -1;
}

}  // namespace

LinkBook* packedBook(DBLink* link) {
    if (link->book != nullptr || link->handedOut) return link->book;
    auto* book = static_cast<LinkBook*>(mycalloc(1, sizeof(LinkBook)));
    if (book == nullptr) return nullptr;
    book->grain = {};
    if (packVectors(book, &link->state) < 0) {
        endBook(book);
        myfree(book);
        return nullptr;
    }
    forEachVector(&link->state, [](bool, int, int, DoubleVec* vec) {
        std::fill_n(vec->cont, vec->size, 0.0);
        return true;
    });
    link->book = book;
    return book;
}

int unpackLink(DBLink* link) {
    LinkBook* book = link->book;
    if (book == nullptr) return 0;
    auto fill = [&](bool freed, int oa, int p, DoubleVec* vec) {
        const IdMap<BookEntry>* links = &book->classes[oa].links;
        for (Long i = links->top - 1; i >= 0; i--) {
            const double x = freed ? links->cont[i].fbw[p] : links->cont[i].bbw[p];
            const Long f = links->ids[i];
            if (x == 0.0) continue;
            if (vec->size <= f && dblVecResize(vec, f + 1) < 0) return false;
            vec->cont[f] = x;
        }
        return true;
    };
    if (!forEachVector(&link->state, fill)) return -1;
    endBook(book);
    myfree(book);
    link->book = nullptr;
    return 0;
}

int copyBook(LinkBook* dst, const LinkBook* src) {
    for (int oa = 0; oa < kClasses; oa++) {
        if (copyMap(&dst->classes[oa].links, &src->classes[oa].links) < 0) return -1;
        dst->classes[oa].worst = src->classes[oa].worst;
    }
    dst->rbwVersion = src->rbwVersion;
    dst->nodesVersion = 0;
    dst->reserved = src->reserved;
    dst->overfull = src->overfull;
    dst->grain.lost = true;
    return 0;
}

void endBook(LinkBook* book) {
    for (BookClass& cls : book->classes) {
        endMap(&cls.links);
        endMap(&cls.nodes);
        cls = {};
    }
}

bool isBalanced(const DBTopology* topology, LinkBook* book,
                const double (*pbw)[kLevels]) {
    if (!topology->consistent) return false;
    if (book->nodesVersion == topology->version) return book->grain.isExact();
    Grain grain;
    forEachAmount(book, pbw, [&](double x) { grain.add(0.0, x); });
    book->grain = grain;
    book->nodesVersion = 0;
    for (BookClass& cls : book->classes) {
        if (grain.isExact() && balanceNodes(topology, &cls) < 0) return false;
        cls.worst.version = 0;
    }
    book->nodesVersion = topology->version;
    return grain.isExact();
}

double balanceOfLink(const BookClass* cls, Long failure) {
    const BookEntry* entry = findEntry(cls, failure);
    return entry != nullptr ? balanceOf(*entry) : 0.0;
}

double balanceOfNode(const BookClass* cls, Long node) {
    const Balance* balance = find(&cls->nodes, node);
    return balance != nullptr ? balance->upTo[kLevels - 1] : 0.0;
}

int bookAdd(const DBTopology* topology, LinkBook* book, bool freed, int oa, int level,
            Long failure, double x) {
    BookClass* cls = &book->classes[oa];
    BookEntry* entry = findOrAdd(&cls->links, failure);
    if (entry == nullptr) return FAIL_WITH(-1, "Critical lack of memory");
    double* amount = &(freed ? entry->fbw : entry->bbw)[level];
    book->grain.add(*amount, x);
    const bool balanced = topology != nullptr && book->grain.isExact() &&
                          book->nodesVersion == topology->version;
    if (balanced)
        addToNode(topology, book, cls, failure, balanceUpTo(*entry), level,
                  freed ? -x : x);
    else
        cls->worst.version = 0;
    *amount += x;
    entry->active = isActive(entry);
    if (isEmpty(entry)) eraseValue(&cls->links, entry);
    return 0;
}

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
    WorstNeed worst;
    const BookClass* cls = &book->classes[oa];
    if (isExactWith(topology, *book, oa, trial))
        return followTrial(dataBase, topology, book, oa, trial, &worst)
                   ? worst
                   : computeWorst(topology, cls, oa, &trial);
    const Needs needs(topology, cls, oa, &trial);
    if (!trial.raises) return computeWorst(dataBase, topology, cls, needs, &trial);
    worst = worstNeed(dataBase, topology, book, oa);
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
    const BookEntry* entry = findEntry(cls, failure);
    if (entry != nullptr && reaches(balanceUpTo(*entry))) return true;
    const Balance* node = find(&cls->nodes, headOf(topology, failure));
    return node != nullptr && reaches(*node);
}
