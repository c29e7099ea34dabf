// The library's lists and C++ vectors.
#pragma once

#include <vector>

#include "common/common.h"

namespace workbench {

inline std::vector<int> valuesOf(const LongList& list) {
    return {list.cont, list.cont + list.top};
}

inline void appendTo(LongList* list, const std::vector<int>& values) {
    for (int value : values) longVecPushBack(list, value);
}

}  // namespace workbench
