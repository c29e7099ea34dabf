#include "database/database_util.h"

#define ERROR_SOURCE "database/database_util.c"
#include "common/vec.h"
#include "database/live/ledger.h"

namespace {

// A record that `init` has made, every field of it, or null.
template <class Record>
Record* newRecord(int (*init)(Record*)) {
    auto* record = static_cast<Record*>(mymalloc(sizeof(Record)));
    if (record == nullptr) return FAIL_WITH(nullptr, "Critical lack of memory");
    if (init(record) < 0) {
        myfree(record);
        return nullptr;
    }
    return record;
}

template <class Record>
int destroyRecord(Record* record, int (*end)(Record*)) {
    if (end(record) < 0) return -1;
    myfree(record);
    return 0;
}

// One past the highest id in use.
template <class T>
void lowerTop(T* table) {
    if constexpr (hasTop<T>)
        while (table->top > 0 && table->cont[table->top - 1] == nullptr) table->top--;
}

// Destroys the records from id `from` on.
template <class T, class Record>
void clearFrom(T* table, Long from, int (*destroy)(Record*)) {
    for (Long id = from; id < table->size; id++) {
        if (table->cont[id] == nullptr) continue;
        destroy(table->cont[id]);
        table->cont[id] = nullptr;
    }
    lowerTop(table);
}

template <class T, class Record>
int endTable(T* table, int (*destroy)(Record*)) {
    if (!isUsable(table)) return FAIL_WITH(-1, "Bad argument (NULL)");
    clearFrom(table, 0, destroy);
    return vecEnd(table);
}

template <class T, class Record>
int resizeTable(T* table, Long newsize, int (*destroy)(Record*)) {
    if (!isUsable(table)) return FAIL_WITH(-1, "Bad argument (NULL)");
    if (newsize >= 0) clearFrom(table, newsize, destroy);
    return vecResize(table, newsize);
}

// `kind` and `article` complete the messages.
template <class T, class Record>
int storeRecord(T* table, Record* record, Long id, const char* kind,
                const char* article) {
    if (!isUsable(table) || record == nullptr || id < 0)
        return FAIL_WITH(-1, "Bad argument (NULL)");
    if (id >= table->size && vecResize(table, grownSize(table->size, id)) < 0)
        return FAIL_WITH(-1, "Unable to resize %s vector prior to insertion", kind);
    if (table->cont[id] != nullptr)
        return FAIL_WITH(-1, "Trying to add %s with a reserved ID", article);
    table->cont[id] = record;
    if constexpr (hasTop<T>) table->top = std::max(table->top, id + 1);
    return 0;
}

template <class T>
auto findRecord(const T* table, Long id) -> ElemOf<T> {
    return id >= 0 && id < table->size ? table->cont[id] : nullptr;
}

DBLink** newRow(Long columns) {
    return static_cast<DBLink**>(
        mycalloc(static_cast<std::size_t>(columns), sizeof(DBLink*)));
}

void freeRows(DBLinkTab* tab) {
    for (Long src = 0; src < tab->size; src++) myfree(tab->cont[src]);
    myfree(tab->cont);
    tab->cont = nullptr;
    tab->size = 0;
}

// Appends complete rows until the table has newsize of them.
int addRows(DBLinkTab* tab, Long newsize) {
    while (tab->size < newsize) {
        DBLink** row = newRow(newsize);
        if (row == nullptr) return FAIL_WITH(-1, "Critical lack of memory");
        tab->cont[tab->size++] = row;
    }
    return 0;
}

int widenRow(DBLink*** row, Long columns, Long newColumns) {
    void* wider = myrealloc(*row, static_cast<std::size_t>(newColumns) * sizeof(DBLink*));
    if (wider == nullptr) return FAIL_WITH(-1, "Critical lack of memory");
    *row = static_cast<DBLink**>(wider);
    std::fill(*row + columns, *row + newColumns, nullptr);
    return 0;
}

}  // namespace

DBNode* DBnodeNew() {
    return newRecord<DBNode>(DBnodeInit);
}

int DBnodeInit(DBNode* node) {
    if (node == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    *node = {};
    if (longVecInit(&node->inNeighb, -1) < 0)
        return FAIL_WITH(-1, "Unable to initialize the incoming neighbour list");
    if (longVecInit(&node->outNeighb, -1) < 0) {
        longVecEnd(&node->inNeighb);
        return FAIL_WITH(-1, "Unable to initialize the outgoing neighbour list");
    }
    return 0;
}

int DBnodeEnd(DBNode* node) {
    if (node == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    longVecEnd(&node->inNeighb);
    longVecEnd(&node->outNeighb);
    return 0;
}

int DBnodeDestroy(DBNode* node) {
    return destroyRecord(node, DBnodeEnd);
}

DBLink* DBlinkNew() {
    return newRecord<DBLink>(DBlinkInit);
}

int DBlinkInit(DBLink* link) {
    if (link == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    link->id = 0;
    link->lspList = {};
    link->ledger = nullptr;
    if (DBlinkStateInit(&link->state) < 0)
        return FAIL_WITH(-1, "Error while initializing LinkState");
    if (DBlspListInit(&link->lspList, -1) < 0) {
        DBlinkStateEnd(&link->state);
        return FAIL_WITH(-1, "Error while initializing LinkState");
    }
    return 0;
}

int DBlinkEnd(DBLink* link) {
    if (link == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    DBlinkStateEnd(&link->state);
    DBlspListEnd(&link->lspList);
    endLedger(link->ledger);
    link->ledger = nullptr;
    return 0;
}

int DBlinkDestroy(DBLink* link) {
    return destroyRecord(link, DBlinkEnd);
}

DBNodeVec* DBnodeVecNew(Long size) {
    return vecNew<DBNodeVec>(size);
}
int DBnodeVecInit(DBNodeVec* vec, Long size) {
    return vecInit(vec, size);
}
int DBnodeVecEnd(DBNodeVec* vec) {
    return endTable(vec, DBnodeDestroy);
}
int DBnodeVecDestroy(DBNodeVec* vec) {
    return destroyRecord(vec, DBnodeVecEnd);
}

int DBnodeVecSet(DBNodeVec* vec, DBNode* node, Long id) {
    return storeRecord(vec, node, id, "node", "a node");
}

int DBnodeVecRemove(DBNodeVec* vec, Long id) {
    if (!isUsable(vec) || findNode(vec, id) == nullptr)
        return FAIL_WITH(-1, "Bad argument (NULL)");
    DBnodeDestroy(vec->cont[id]);
    vec->cont[id] = nullptr;
    lowerTop(vec);
    return 0;
}

int DBnodeVecResize(DBNodeVec* vec, Long newsize) {
    return resizeTable(vec, newsize, DBnodeDestroy);
}

DBLSPVec* DBlspVecNew(Long size) {
    return vecNew<DBLSPVec>(size);
}
int DBlspVecInit(DBLSPVec* vec, Long size) {
    return vecInit(vec, size);
}
int DBlspVecEnd(DBLSPVec* vec) {
    return endTable(vec, DBlspDestroy);
}
int DBlspVecDestroy(DBLSPVec* vec) {
    return destroyRecord(vec, DBlspVecEnd);
}

int DBlspVecSet(DBLSPVec* vec, DBLabelSwitchedPath* lsp, Long id) {
    return storeRecord(vec, lsp, id, "LSP", "an LSP");
}

int DBlspVecRemove(DBLSPVec* vec, Long id) {
    if (!isUsable(vec) || findLSP(vec, id) == nullptr)
        return FAIL_WITH(-1, "Bad argument (NULL)");
    vec->cont[id] = nullptr;
    return 0;
}

int DBlspVecResize(DBLSPVec* vec, Long newsize) {
    return resizeTable(vec, newsize, DBlspDestroy);
}

DBLinkTab* DBlinkTabNew(Long size) {
    auto* tab = static_cast<DBLinkTab*>(mycalloc(1, sizeof(DBLinkTab)));
    if (tab == nullptr) return FAIL_WITH(nullptr, "Critical lack of memory");
    if (DBlinkTabInit(tab, size) < 0) {
        myfree(tab);
        return nullptr;
    }
    return tab;
}

int DBlinkTabInit(DBLinkTab* tab, Long size) {
    if (tab == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    if (size == -1) size = 1;
    void* rows = size < 0 || size > kLinkTabMax
                     ? nullptr
                     : mycalloc(static_cast<std::size_t>(size), sizeof(DBLink**));
    if (rows == nullptr) return FAIL_WITH(-1, "Critical lack of memory");
    tab->cont = static_cast<DBLink***>(rows);
    tab->size = 0;
    if (addRows(tab, size) < 0) {
        freeRows(tab);
        return -1;
    }
    return 0;
}

int DBlinkTabEnd(DBLinkTab* tab) {
    if (!isUsable(tab)) return FAIL_WITH(-1, "Bad argument (NULL)");
    for (Long src = 0; src < tab->size; src++)
        for (Long dst = 0; dst < tab->size; dst++)
            if (tab->cont[src][dst] != nullptr) DBlinkDestroy(tab->cont[src][dst]);
    freeRows(tab);
    return 0;
}

int DBlinkTabDestroy(DBLinkTab* tab) {
    return destroyRecord(tab, DBlinkTabEnd);
}

int DBlinkTabSet(DBLinkTab* tab, DBLink* link, Long src, Long dst) {
    if (!isUsable(tab) || src < 0 || dst < 0) return FAIL_WITH(-1, "Bad argument (NULL)");
    const Long last = std::max(src, dst);
    if (last >= tab->size) {
        Long newsize = grownSize(tab->size, last);
        if (last < kLinkTabMax) newsize = std::min(newsize, kLinkTabMax);
        if (DBlinkTabResize(tab, newsize) < 0)
            return FAIL_WITH(-1, "Unable to resize link table prior to insertion");
    }
    tab->cont[src][dst] = link;
    return 0;
}

int DBlinkTabRemove(DBLinkTab* tab, Long src, Long dst) {
    if (!isUsable(tab) || findLink(tab, src, dst) == nullptr)
        return FAIL_WITH(-1, "Bad argument (NULL)");
    DBlinkDestroy(tab->cont[src][dst]);
    tab->cont[src][dst] = nullptr;
    return 0;
}

int DBlinkTabResize(DBLinkTab* tab, Long newsize) {
    if (!isUsable(tab)) return FAIL_WITH(-1, "Bad argument (NULL)");
    if (newsize < tab->size) return FAIL_WITH(-1, "Bad argument (wrong size)");
    void* rows =
        newsize > kLinkTabMax
            ? nullptr
            : myrealloc(tab->cont, static_cast<std::size_t>(newsize) * sizeof(DBLink**));
    if (rows == nullptr) return FAIL_WITH(-1, "Critical lack of memory");
    tab->cont = static_cast<DBLink***>(rows);
    for (Long src = 0; src < tab->size; src++)
        if (widenRow(&tab->cont[src], tab->size, newsize) < 0) return -1;
    return addRows(tab, newsize);
}

DBNode* findNode(const DBNodeVec* vec, Long id) {
    return findRecord(vec, id);
}
DBLabelSwitchedPath* findLSP(const DBLSPVec* vec, Long id) {
    return findRecord(vec, id);
}

DBLink* findLink(const DBLinkTab* tab, Long src, Long dst) {
    const bool inside = src >= 0 && src < tab->size && dst >= 0 && dst < tab->size;
    return inside ? tab->cont[src][dst] : nullptr;
}
