#include "database/link_book.h"

#include <algorithm>

// A book stands for the vectors of a state; where it cannot grow, they could not.
#define ERROR_SOURCE "common/common.c"
#include "common/vec.h"
#include "database/balance.h"
#include "database/database_util.h"

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

// Adds to the balance of the node that a failing link enters, and keeps the worst need
// known if that is possible. `before` is the link's balance until now.
void addToNode(const DBTopology* topology, LinkBook* book, BookClass* cls, Long failure,
               const Balance& before, int level, double x) {
    const Long head = headOf(topology, failure);
    if (head < 0) return;
    Balance* node = findOrMake(&cls->nodes, head);
    if (node == nullptr) {
        book->nodesVersion = 0;
        cls->worst.version = 0;
        return;
    }
    if (cls->worst.version != topology->version ||
        (failure < topology->linkLimit && !follow(cls->worst.level, before, level, x)) ||
        (head < topology->nodeLimit && !follow(cls->worst.level, *node, level, x)))
        cls->worst.version = 0;
    *node = shifted(*node, level, x);
    if (std::all_of(node->upTo, node->upTo + kLevels, [](double x) { return x == 0.0; }))
        dropRecord(&cls->nodes, head);
}

// The amounts that a book is about; those of its state's pbw are given.
template <class Act>
void forEachAmount(const LinkBook* book, const double (*pbw)[kLevels], Act act) {
    for (int oa = 0; oa < kClasses; oa++) {
        for (int p = 0; p < kLevels; p++) act(pbw[oa][p]);
        const RecordMap<BookEntry>& links = book->classes[oa].links;
        for (Long i = 0; i < links.top; i++)
            for (int p = 0; p < kLevels; p++) {
                act(links.cont[i]->bbw[p]);
                act(links.cont[i]->fbw[p]);
            }
    }
}

int balanceNodes(const DBTopology* topology, BookClass* cls) {
    clearRecords(&cls->nodes);
    for (Long i = 0; i < cls->links.top; i++) {
        const Long head = headOf(topology, cls->links.ids[i]);
        if (head < 0) continue;
        Balance* node = findOrMake(&cls->nodes, head);
        if (node == nullptr) return -1;
        const Balance link = balanceUpTo(*cls->links.cont[i]);
        for (int p = 0; p < kLevels; p++) node->upTo[p] += link.upTo[p];
    }
    return 0;
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

int copyEntries(RecordMap<BookEntry>* dst, const RecordMap<BookEntry>* src) {
    for (Long i = 0; i < src->top; i++) {
        BookEntry* entry = findOrMake(dst, src->ids[i]);
        if (entry == nullptr) return -1;
        *entry = *src->cont[i];
    }
    return 0;
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
        const RecordMap<BookEntry>* links = &book->classes[oa].links;
        for (Long i = links->top - 1; i >= 0; i--) {
            const double x = freed ? links->cont[i]->fbw[p] : links->cont[i]->bbw[p];
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
        if (copyEntries(&dst->classes[oa].links, &src->classes[oa].links) < 0) return -1;
        dst->classes[oa].worst = src->classes[oa].worst;
    }
    dst->rbwVersion = src->rbwVersion;
    dst->nodesVersion = 0;
    dst->grain.lost = true;
    return 0;
}

void endBook(LinkBook* book) {
    for (BookClass& cls : book->classes) {
        endRecords(&cls.links);
        endRecords(&cls.nodes);
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

int bookAdd(const DBTopology* topology, LinkBook* book, bool freed, int oa, int level,
            Long failure, double x) {
    BookClass* cls = &book->classes[oa];
    BookEntry* entry = findOrMake(&cls->links, failure);
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
    if (isEmpty(entry)) dropRecord(&cls->links, failure);
    return 0;
}
