#include "database/relations.h"

#include <algorithm>

#include "database/booking.h"
#include "database/database_util.h"

namespace {

// Lists the LSPs that the test selects.
template <class Test>
int listLSPs(const DataBase* dataBase, LongList* ids, Test test) {
    for (Long id = 0; id < dataBase->lspVec.size; id++) {
        const DBLabelSwitchedPath* lsp = dataBase->lspVec.cont[id];
        if (lsp != nullptr && test(lsp) && longVecPushBack(ids, id) < 0) return -1;
    }
    return 0;
}

bool isSame(const LongList& a, const LongList& b) {
    return std::equal(a.cont, a.cont + a.top, b.cont, b.cont + b.top);
}

bool crosses(const LongList& path, Long src, Long dst) {
    if (dst < 0) return indexOf(&path, src) >= 0;
    for (Long i = 0; i + 1 < path.top; i++)
        if (path.cont[i] == src && path.cont[i + 1] == dst) return true;
    return false;
}

}  // namespace

int DBlistBackups(const DataBase* dataBase, Long id, LongList* ids) {
    const DBLabelSwitchedPath* primary = findLSP(&dataBase->lspVec, id);
    if (primary != nullptr && isBackup(primary->type)) primary = nullptr;
    return listLSPs(dataBase, ids, [=](const DBLabelSwitchedPath* lsp) {
        return isBackup(lsp->type) && lsp->primID == id &&
               (primary == nullptr || isSame(lsp->primPath, primary->path));
    });
}

int DBlistDependants(const DataBase* dataBase, Long src, Long dst, LongList* ids) {
    return listLSPs(dataBase, ids, [=](const DBLabelSwitchedPath* lsp) {
        return crosses(lsp->path, src, dst) ||
               (isBackup(lsp->type) && crosses(lsp->primPath, src, dst));
    });
}
