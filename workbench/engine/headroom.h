// How far a matrix can grow before something is refused.
#pragma once

#include <string>
#include <vector>

#include "engine/place.h"

namespace workbench {

struct Headroom {
    Protection protection = Protection::NONE;
    double factor = 0.0;   // on every demand: it and all smaller ones tried do
    double failsAt = 0.0;  // the smallest factor tried that does not do
    double largest = 0.0;  // that did, though a smaller one may not
    int checked = 0;       // smaller factors that were tried
    // What was refused there, and why.
    int request = -1;
    std::string reason;
    // Left out of the judgement: what fails however small the demands are.
    int neverPlaced = 0;
    int neverProtected = 0;
    int runs = 0;  // placements of the whole matrix that the result depends on
};

// Called before a placement with its factor, and for each of its steps, as in runPlan;
// not for placements that go on meanwhile.
struct HeadroomWatch {
    std::function<void(double factor)> start;
    Step step;
};

// The largest factor by bisection, to a relative precision. Placement is a chain of
// choices, not a monotone function: a smaller factor may be refused. So factors all the
// way up are tried as well, and the one that is given is the last before a refusal. What
// lies between those tried is not promised.
//
// With several jobs, factors that may follow are tried along with the next one; those
// that do not follow are forgotten, so that the result is the same for any number.
Headroom findHeadroom(const Network& network, const std::vector<Demand>& demands,
                      const Configuration& configuration, double precision, int jobs,
                      const HeadroomWatch& watch);

}  // namespace workbench
