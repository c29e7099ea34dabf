// For builds without MPI.
#include "sweep/ranks.h"

namespace workbench {

const bool kHasRanks = false;

std::unique_ptr<Ranks> Ranks::join() {
    return nullptr;
}

}  // namespace workbench
