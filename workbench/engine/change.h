// Changes to a plan that is running: what does not have to move stays.
#pragma once

#include <optional>
#include <utility>
#include <vector>

#include "engine/place.h"

namespace workbench {

struct NewLink {
    int src = 0;
    int dst = 0;
    double capacity = 0.0;
};

// Links are named as they are before the change, demands by their place in the plan.
struct Change {
    Drained drained;  // from now on
    std::vector<std::pair<int, double>> capacities;
    std::vector<NewLink> links;
    std::vector<int> without;
    std::vector<int> remove;
    std::vector<PlanDemand> add;
    std::vector<std::pair<int, double>> bandwidths;
    std::vector<std::pair<int, int>> levels;
    std::optional<Protection> protection;
    std::vector<std::pair<int, std::vector<int>>> routes;  // to keep; empty: any
    std::vector<std::pair<int, std::vector<int>>> paths;   // to take now
    std::vector<std::pair<int, int>> again;  // demands to request again, under these ids
};

// LSPs move that cross what is gone, drained or too small now, the least important ones
// where there is a choice, and keep their ids. They are requested again, the most
// important first, then new demands and those of another level that are not up, then
// those that were refused before; what lost its protection, or had none, is protected
// where there is room. An LSP of another bandwidth or level is protected anew, with
// another kind of protection all are. An LSP that ends at a drained node, or that fits
// nowhere, is taken down, and its demand says why.
void applyChange(Plan* plan, const Change& change, const Step& step);

}  // namespace workbench
