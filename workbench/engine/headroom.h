// How far a matrix can grow before something is refused.
#pragma once

#include <string>
#include <vector>

#include "engine/place.h"

namespace workbench {

struct Headroom {
    Protection protection = Protection::NONE;
    double factor = 0.0;   // on every demand; everything is placed and protected
    double failsAt = 0.0;  // the smallest factor tried that does not do
    // What was refused there, and why.
    int request = -1;
    std::string reason;
    // Left out of the judgement: what fails however small the demands are.
    int neverPlaced = 0;
    int neverProtected = 0;
    int runs = 0;  // placements of the whole matrix
};

// The factor by bisection, to a relative precision. Placement is a chain of choices, not
// a monotone function: a larger factor may happen to work again.
Headroom findHeadroom(const Network& network, const std::vector<Demand>& demands,
                      const Configuration& configuration, double precision,
                      const Step& step);

}  // namespace workbench
