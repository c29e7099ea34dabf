// The library's records and the workbench's.
#pragma once

#include <vector>

#include "common/common.h"
#include "common/setup.h"
#include "weights.h"

namespace workbench {

inline std::vector<int> valuesOf(const LongList& list) {
    return {list.cont, list.cont + list.top};
}

inline void appendTo(LongList* list, const std::vector<int>& values) {
    for (int value : values) longVecPushBack(list, value);
}

// The same weight for every class in use. The others have no capacity, by which some
// criteria divide.
PrimaryComputationConfig libraryWeights(const Weights& weights, int nbClasses);

}  // namespace workbench
