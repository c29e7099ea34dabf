#include "engine/convert.h"

namespace workbench {

PrimaryComputationConfig libraryWeights(const Weights& weights, int nbClasses) {
    PrimaryComputationConfig config = {};
    config.Fortz = weights.fortz;
    for (int oa = 0; oa < nbClasses; oa++) {
        config.loadBal[oa] = weights.loadBalance;
        config.load[oa] = weights.load;
        config.sqLoad[oa] = weights.squaredLoad;
        config.relLoad[oa] = weights.relativeLoad;
        config.sqRelLoad[oa] = weights.squaredRelativeLoad;
        config.delay[oa] = weights.delay;
        config.rerouting[oa] = weights.rerouting;
    }
    return config;
}

}  // namespace workbench
