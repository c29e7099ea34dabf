// How far any placement could get: traffic that may split over any number of paths.
#pragma once

#include <string>
#include <vector>

#include "plan.h"

namespace workbench {

struct FlowBound {
    bool known = false;
    double factor = 0.0;     // on all of the demands
    std::string whyNot;      // where it is not known
    std::vector<int> tight;  // links that hold it down: more capacity there would lift it
};

// The largest factor at which the demands fit into the capacities of their classes, by a
// linear program with a flow for each class and source. No placement of whole LSPs can do
// better, with or without protection. Demands that are not `counted` are left out.
FlowBound flowBound(const Plan& plan, const std::vector<PlanDemand>& demands,
                    const std::vector<char>& counted);

}  // namespace workbench
