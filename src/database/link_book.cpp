#include "database/link_book.h"

#include <algorithm>
#include <iterator>

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

Long lowerBound(const BookClass* cls, Long failure) {
    const Long* first = cls->failures;
    return static_cast<Long>(std::lower_bound(first, first + cls->top, failure) - first);
}

std::uint64_t presenceBit(Long failure) {
    return std::uint64_t{1} << (failure & 63);
}
std::uint64_t* presenceWord(BookClass* cls, Long failure) {
    return &cls->present[failure >> 6 & 3];
}

const BookEntry* findEntry(const BookClass* cls, Long failure) {
    if ((cls->present[failure >> 6 & 3] & presenceBit(failure)) == 0) return nullptr;
    const Long at = lowerBound(cls, failure);
    return at < cls->top && cls->failures[at] == failure ? &cls->cont[at] : nullptr;
}

int growClass(BookClass* cls) {
    const Long size = cls->size == 0 ? 4 : 2 * cls->size;
    const auto slots = static_cast<std::size_t>(size);
    void* failures = myrealloc(cls->failures, slots * sizeof(Long));
    if (failures != nullptr) cls->failures = static_cast<Long*>(failures);
    void* cont = myrealloc(cls->cont, slots * sizeof(BookEntry));
    if (cont != nullptr) cls->cont = static_cast<BookEntry*>(cont);
    if (failures == nullptr || cont == nullptr)
        return FAIL_WITH(-1, "Critical lack of memory");
    cls->size = size;
    return 0;
}

// The index of a failure's entry, made if need be; -1, with a message, if there is no
// memory.
Long entryFor(BookClass* cls, Long failure) {
    const Long at = lowerBound(cls, failure);
    if (at < cls->top && cls->failures[at] == failure) return at;
    if (cls->top >= cls->size && growClass(cls) < 0) return -1;
    std::move_backward(cls->failures + at, cls->failures + cls->top,
                       cls->failures + cls->top + 1);
    std::move_backward(cls->cont + at, cls->cont + cls->top, cls->cont + cls->top + 1);
    cls->failures[at] = failure;
    cls->cont[at] = {};
    *presenceWord(cls, failure) |= presenceBit(failure);
    cls->top++;
    return at;
}

void erase(BookClass* cls, Long at) {
    std::move(cls->failures + at + 1, cls->failures + cls->top, cls->failures + at);
    std::move(cls->cont + at + 1, cls->cont + cls->top, cls->cont + at);
    cls->top--;
    std::fill(std::begin(cls->present), std::end(cls->present), 0);
    for (Long i = 0; i < cls->top; i++)
        *presenceWord(cls, cls->failures[i]) |= presenceBit(cls->failures[i]);
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

// The head of a failing link; -1 if the id is free.
Long headOf(const DBTopology* topology, Long failure) {
    return failure < topology->linkSlots && topology->byId[failure].link != nullptr
               ? topology->byId[failure].head
               : -1;
}

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

// Only active entries, and changed ones, can need anything, on their own or with the
// other links of their head. The failures of link `besides` and of its head are left out.
WorstNeed computeWorst(DataBase* dataBase, const DBTopology* topology,
                       const BookClass* cls, const Needs& needs, const BookTrial* trial,
                       Long besides = -1) {
    WorstNeed worst = {};
    worst.version = topology->version;
    Stamps* met = &workspaceOf(dataBase)->stamps[MET_NODES];
    if (clearStamps(met, topology->nodeSlots) < 0) met = nullptr;
    const Long leftOut = besides >= 0 ? headOf(topology, besides) : -1;
    for (Long i = 0; i < cls->top; i++) {
        const Long failure = cls->failures[i];
        if (!cls->cont[i].active || failure == besides) continue;
        if (leftOut >= 0 && headOf(topology, failure) == leftOut)
            needs.raiseByLink(worst.level, failure);
        else
            raiseByFailure(needs, topology, failure, met, worst.level);
    }
    for (Long i = 0; trial != nullptr && i < trial->changes->top; i++)
        raiseByFailure(needs, topology, trial->changes->cont[i].failure, met,
                       worst.level);
    return worst;
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
    const bool packed = forEachVector(state, [&](bool freed, int oa, int p,
                                                 DoubleVec* vec) {
        for (Long f = 0; f < vec->size; f++)
            if (vec->cont[f] != 0.0 && bookAdd(book, freed, oa, p, f, vec->cont[f]) < 0)
                return false;
        return true;
    });
    return packed ? 0 : -1;
}

}  // namespace

LinkBook* packedBook(DBLink* link) {
    if (link->book != nullptr || link->handedOut) return link->book;
    auto* book = static_cast<LinkBook*>(mycalloc(1, sizeof(LinkBook)));
    if (book == nullptr) return nullptr;
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
        const BookClass* cls = &book->classes[oa];
        for (Long i = cls->top - 1; i >= 0; i--) {
            const double x = freed ? cls->cont[i].fbw[p] : cls->cont[i].bbw[p];
            const Long f = cls->failures[i];
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
        const BookClass* from = &src->classes[oa];
        BookClass* to = &dst->classes[oa];
        while (to->size < from->top)
            if (growClass(to) < 0) return -1;
        std::copy_n(from->failures, from->top, to->failures);
        std::copy_n(from->cont, from->top, to->cont);
        to->top = from->top;
        std::copy(std::begin(from->present), std::end(from->present), to->present);
        to->worst = from->worst;
    }
    dst->rbwVersion = src->rbwVersion;
    dst->reserved = src->reserved;
    dst->overfull = src->overfull;
    return 0;
}

void endBook(LinkBook* book) {
    for (BookClass& cls : book->classes) {
        myfree(cls.failures);
        myfree(cls.cont);
        cls = {};
    }
}

int bookAdd(LinkBook* book, bool freed, int oa, int level, Long failure, double x) {
    BookClass* cls = &book->classes[oa];
    const Long at = entryFor(cls, failure);
    if (at < 0) return -1;
    BookEntry* entry = &cls->cont[at];
    (freed ? entry->fbw : entry->bbw)[level] += x;
    entry->active = isActive(entry);
    if (isEmpty(entry)) erase(cls, at);
    cls->worst.version = 0;
    return 0;
}

const WorstNeed& worstNeed(DataBase* dataBase, const DBTopology* topology,
                           BookClass* cls) {
    if (cls->worst.version != topology->version)
        cls->worst = computeWorst(dataBase, topology, cls, Needs(topology, cls), nullptr);
    return cls->worst;
}

WorstNeed worstNeedAfter(DataBase* dataBase, const DBTopology* topology, BookClass* cls,
                         int oa, const BookTrial& trial) {
    const Needs needs(topology, cls, oa, &trial);
    if (!trial.raises) return computeWorst(dataBase, topology, cls, needs, &trial);
    WorstNeed worst = worstNeed(dataBase, topology, cls);
    for (Long i = 0; i < trial.changes->top; i++)
        raiseByFailure(needs, topology, trial.changes->cont[i].failure, nullptr,
                       worst.level);
    return worst;
}

bool isAmongWorst(DataBase* dataBase, const DBTopology* topology, const BookClass* cls,
                  Long failure, double (&others)[kLevels]) {
    const Needs needs(topology, cls);
    double own[kLevels] = {};
    raiseByFailure(needs, topology, failure, nullptr, own);
    bool among = false;
    for (int p = 0; p < kLevels; p++)
        if (own[p] > 0.0 && own[p] >= cls->worst.level[p]) among = true;
    if (among)
        std::copy_n(computeWorst(dataBase, topology, cls, needs, nullptr, failure).level,
                    kLevels, others);
    return among;
}

void raiseByFailure(const DBTopology* topology, const BookClass* cls, int oa,
                    const BookTrial& trial, Long failure, double (&worst)[kLevels]) {
    raiseByFailure(Needs(topology, cls, oa, &trial), topology, failure, nullptr, worst);
}
