// How the criteria of the path score count.
#pragma once

#include <array>

namespace workbench {

// Weights of the primary path score, the same for every class.
struct Weights {
    double fortz = 1;
    double loadBalance = 0;
    double load = 0;
    double squaredLoad = 0;
    double relativeLoad = 0;
    double squaredRelativeLoad = 0;
    double delay = 0;
    double rerouting = 0;
};

// Names as --weights and plan files write them, in the order of the score.
struct WeightName {
    const char* name;
    double Weights::*weight;
};
inline constexpr std::array kWeightNames = {
    WeightName{"fortz", &Weights::fortz},
    WeightName{"load-balance", &Weights::loadBalance},
    WeightName{"load", &Weights::load},
    WeightName{"squared-load", &Weights::squaredLoad},
    WeightName{"relative-load", &Weights::relativeLoad},
    WeightName{"squared-relative-load", &Weights::squaredRelativeLoad},
    WeightName{"delay", &Weights::delay},
    WeightName{"rerouting", &Weights::rerouting},
};

}  // namespace workbench
