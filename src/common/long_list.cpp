#include "common/long_list.h"

#define ERROR_SOURCE "common/common.c"
#include "common/scoped.h"
#include "common/vec.h"

int longListInsert(LongList* list, Long index, Long val) {
    if (!isUsable(list)) return FAIL_WITH(-1, "Bad argument (NULL)");
    if (index < 0) return FAIL_WITH(-1, "Bad argument (index < 0)");
    if ((list->top >= list->size || index >= list->size) &&
        vecResize(list, grownSize(list->size, index)) < 0)
        return FAIL_WITH(-1, "Unable to resize long vector");
    if (index < list->top)
        std::memmove(&list->cont[index + 1], &list->cont[index],
                     static_cast<std::size_t>(list->top - index) * sizeof(Long));
    list->cont[index] = val;
    list->top++;
    return 0;
}

int longListRemove(LongList* list, Long index) {
    if (!isUsable(list)) return FAIL_WITH(-1, "Bad argument (NULL)");
    if (index < 0) return FAIL_WITH(-1, "Bad argument (index < 0)");
    if (index >= list->top) {
        PUSH_ERROR(WARNING, "Removing inexistent list element");
        return -1;
    }
    list->top--;
    std::memmove(&list->cont[index], &list->cont[index + 1],
                 static_cast<std::size_t>(list->top - index) * sizeof(Long));
    return 0;
}

int longCompare(const void* a, const void* b) {
    const Long left = *static_cast<const Long*>(a);
    const Long right = *static_cast<const Long*>(b);
    return left < right ? -1 : left > right ? 1 : 0;
}

int longListSort(LongList* list) {
    if (!isUsable(list)) return FAIL_WITH(-1, "Bad argument (NULL)");
    std::sort(list->cont, list->cont + list->top);
    return 0;
}

int longListMerge(LongList* la, LongList* lb, LongList* dest) {
    if (!isUsable(la) || !isUsable(lb) || !isUsable(dest))
        return FAIL_WITH(-1, "Bad argument (NULL)");
    longListSort(la);
    longListSort(lb);
    ScopedLongList merged;
    if (longVecInit(&merged, la->top + lb->top) < 0)
        return FAIL_WITH(-1, "Unable to initialize temporary list of longs");
    Long i = 0;
    Long j = 0;
    while (i < la->top) {
        if (j >= lb->top || la->cont[i] < lb->cont[j]) {
            longVecPushBack(&merged, la->cont[i++]);
        } else if (la->cont[i] == lb->cont[j]) {
            longVecPushBack(&merged, la->cont[i++]);
            j++;
        } else {
            longVecPushBack(&merged, lb->cont[j++]);
        }
    }
    while (j < lb->top) longVecPushBack(&merged, lb->cont[j++]);
    if (longVecCopy(dest, &merged) < 0)
        return FAIL_WITH(-1, "Unable to create resulting merged list of longs");
    return 0;
}
