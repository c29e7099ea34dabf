#include "database/need_rows.h"

#include "database/link_book.h"
#include "database/workspace.h"

namespace {

bool makeTables(NeedRows* rows, const DBTopology* topology) {
    rows->linkSlots = topology->linkSlots;
    rows->nodeSlots = topology->nodeSlots;
    auto make = [](IdMap<double>** table, Long slots) {
        *table = static_cast<IdMap<double>*>(
            mycalloc(static_cast<std::size_t>(slots) + 1, sizeof(IdMap<double>)));
        return *table != nullptr;
    };
    for (int oa = 0; oa < kClasses; oa++)
        if (!make(&rows->ofLinks[oa], rows->linkSlots) ||
            !make(&rows->ofNodes[oa], rows->nodeSlots))
            return false;
    return true;
}

bool addTo(IdMap<double>* row, Long position, double x) {
    double* value = findOrAdd(row, position);
    if (value == nullptr) return false;
    *value += x;
    if (*value == 0.0) eraseValue(row, value);
    return true;
}

// More changes are not worth keeping: the rows are made anew then.
constexpr Long kMostChanges = 1 << 16;

bool keepChange(NeedRows* rows, const RowChange& change) {
    if (rows->top == rows->size) {
        const Long size = rows->size == 0 ? 64 : 2 * rows->size;
        void* changes = size > kMostChanges
                            ? nullptr
                            : myrealloc(rows->changes, static_cast<std::size_t>(size) *
                                                           sizeof(RowChange));
        if (changes == nullptr) return false;
        rows->changes = static_cast<RowChange*>(changes);
        rows->size = size;
    }
    rows->changes[rows->top++] = change;
    return true;
}

bool enterChanges(NeedRows* rows, const DBTopology* topology) {
    for (Long i = 0; i < rows->top; i++) {
        const RowChange& c = rows->changes[i];
        if (!addTo(&rows->ofLinks[c.oa][c.failure], c.position, c.x) ||
            !addTo(&rows->ofNodes[c.oa][headOf(topology, c.failure)], c.position, c.x))
            return false;
    }
    rows->top = 0;
    return true;
}

bool addBook(NeedRows* rows, const LinkBook* book, Long position) {
    for (int oa = 0; oa < kClasses; oa++) {
        const BookClass& cls = book->classes[oa];
        for (Long i = 0; i < cls.links.top; i++)
            if (cls.links.ids[i] < rows->linkSlots &&
                !addTo(&rows->ofLinks[oa][cls.links.ids[i]], position,
                       balanceOf(*cls.links.cont[i])))
                return false;
        for (Long i = 0; i < cls.nodes.top; i++)
            if (!addTo(&rows->ofNodes[oa][cls.nodes.ids[i]], position,
                       cls.nodes.cont[i]->upTo[kLevels - 1]))
                return false;
    }
    return true;
}

}  // namespace

const NeedRows* currentRows(DataBase* dataBase, const DBTopology* topology) {
    NeedRows* rows = &workspaceOf(dataBase)->rows;
    if (rows->version == topology->version && enterChanges(rows, topology)) return rows;
    endRows(rows);
    if (!makeTables(rows, topology)) return nullptr;
    const Long links = topology->firstOut[topology->nodeSlots];
    for (Long position = 0; position < links; position++) {
        const LinkBook* book = topology->out[position].link->book;
        if (book != nullptr && !addBook(rows, book, position)) return nullptr;
    }
    rows->version = topology->version;
    return rows;
}

void addToRows(DataBase* dataBase, const DBTopology* topology, Long position, int oa,
               Long failure, double x) {
    NeedRows* rows = &workspaceOf(dataBase)->rows;
    if (rows->version != topology->version || headOf(topology, failure) < 0) return;
    if (!keepChange(rows, {position, failure, oa, x})) loseRows(dataBase);
}

void loseRows(DataBase* dataBase) {
    if (dataBase->work != nullptr) dataBase->work->rows.version = 0;
}

void endRows(NeedRows* rows) {
    auto end = [](IdMap<double>* table, Long slots) {
        for (Long i = 0; table != nullptr && i < slots; i++) endMap(&table[i]);
        myfree(table);
    };
    for (int oa = 0; oa < kClasses; oa++) {
        end(rows->ofLinks[oa], rows->linkSlots);
        end(rows->ofNodes[oa], rows->nodeSlots);
    }
    myfree(rows->changes);
    *rows = {};
}
