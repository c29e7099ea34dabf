#include "database/lsp.h"

#define ERROR_SOURCE "database/database_util.c"
#include "common/vec.h"

namespace {

constexpr LongList DBLabelSwitchedPath::*const kLists[] = {
    &DBLabelSwitchedPath::forbidLinks, &DBLabelSwitchedPath::path,
    &DBLabelSwitchedPath::primPath, &DBLabelSwitchedPath::backLSPIDs};

int initLists(DBLabelSwitchedPath* lsp) {
    for (auto list : kLists) (lsp->*list).cont = nullptr;
    for (auto list : kLists)
        if (longVecInit(&(lsp->*list), -1) < 0) {
            for (auto made : kLists)
                if ((lsp->*made).cont != nullptr) longVecEnd(&(lsp->*made));
            return FAIL_WITH(-1, "Unable to create label switched path");
        }
    return 0;
}

// First position whose entry is not larger than the LSP.
Long position(const DBLSPList* list, const DBLabelSwitchedPath* lsp) {
    auto larger = [](const DBLabelSwitchedPath* a, const DBLabelSwitchedPath* b) {
        return DBlspCompare(a, b) > 0;
    };
    DBLabelSwitchedPath** end = list->cont + list->top;
    return static_cast<Long>(std::lower_bound(list->cont, end, lsp, larger) - list->cont);
}

}  // namespace

DBLabelSwitchedPath* DBlspNew() {
    void* memory = mycalloc(1, sizeof(DBLabelSwitchedPath));
    if (memory == nullptr) return FAIL_WITH(nullptr, "Critical lack of memory");
    auto* lsp = static_cast<DBLabelSwitchedPath*>(memory);
    if (DBlspInit(lsp) < 0) {
        myfree(lsp);
        return nullptr;
    }
    return lsp;
}

int DBlspInit(DBLabelSwitchedPath* lsp) {
    if (lsp == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    if (initLists(lsp) < 0) return -1;
    std::fill_n(lsp->bw, kClasses, 0.0);
    lsp->noContentionId = -1;
    return 0;
}

int DBlspDestroy(DBLabelSwitchedPath* lsp) {
    if (DBlspEnd(lsp) < 0) return -1;
    myfree(lsp);
    return 0;
}

int DBlspEnd(DBLabelSwitchedPath* lsp) {
    if (lsp == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    for (auto list : kLists) longVecEnd(&(lsp->*list));
    return 0;
}

int DBlspCopy(DBLabelSwitchedPath* dst, DBLabelSwitchedPath* src) {
    if (dst == nullptr || src == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    dst->id = src->id;
    dst->precedence = src->precedence;
    std::copy_n(src->bw, kClasses, dst->bw);
    dst->noContentionId = src->noContentionId;
    dst->type = src->type;
    dst->primID = src->primID;
    bool complete = true;
    for (auto list : kLists)
        if (longVecCopy(&(dst->*list), &(src->*list)) < 0) complete = false;
    return complete ? 0 : FAIL_WITH(-1, "Label switched path copy uncomplete");
}

int DBlspCompare(const DBLabelSwitchedPath* a, const DBLabelSwitchedPath* b) {
    if (a->precedence != b->precedence) return a->precedence > b->precedence ? 1 : -1;
    if (a->bw[0] > b->bw[0]) return 1;
    if (a->bw[0] < b->bw[0]) return -1;
    if (a->id != b->id) return a->id < b->id ? 1 : -1;
    return 0;
}

DBLSPList* DBlspListNew(Long size) {
    return vecNew<DBLSPList>(size);
}
int DBlspListInit(DBLSPList* list, Long size) {
    return vecInit(list, size);
}
int DBlspListDestroy(DBLSPList* list) {
    return vecDestroy(list);
}
int DBlspListEnd(DBLSPList* list) {
    return vecEnd(list);
}

int DBlspListInsert(DBLSPList* list, DBLabelSwitchedPath* lsp) {
    if (!isUsable(list) || lsp == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    if (vecNextSlot(list) == nullptr) return -1;
    // Behind an equal last entry, before an equal one elsewhere.
    const bool isLast =
        list->top > 0 && DBlspCompare(list->cont[list->top - 1], lsp) >= 0;
    const Long index = isLast ? list->top : position(list, lsp);
    std::move_backward(list->cont + index, list->cont + list->top,
                       list->cont + list->top + 1);
    list->cont[index] = lsp;
    list->top++;
    return index;
}

int DBlspListRemove(DBLSPList* list, DBLabelSwitchedPath* lsp) {
    if (!isUsable(list) || lsp == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    const Long index = position(list, lsp);
    if (index >= list->top || DBlspCompare(list->cont[index], lsp) != 0) {
        PUSH_ERROR(WARNING, "Removing inexistent LSP");
        return -1;
    }
    std::move(list->cont + index + 1, list->cont + list->top, list->cont + index);
    list->top--;
    return 0;
}
