// What a plan does for every class and level of traffic, and what that costs.
#pragma once

#include <vector>

#include "graph/shortest.h"
#include "plan.h"

namespace workbench {

struct ClassSummary {
    int trafficClass = 0;
    int level = 0;
    int requested = 0;
    int placed = 0;
    int isProtected = 0;
    double offered = 0.0;  // bandwidth
    double carried = 0.0;
    double carriedProtected = 0.0;
    double primary = 0.0;    // booked by primaries, summed over links
    double backup = 0.0;     // reserved for backups, summed over links
    double dedicated = 0.0;  // what the backups would take without sharing
    Stretch stretch;         // of its primaries
};

// Of every class and level that has demands, by class and then by level. `booked` is what
// the links book for the plan: its own tables, or those that its LSPs give.
std::vector<ClassSummary> classSummaries(const Plan& plan,
                                         const std::vector<LinkTables>& booked);

}  // namespace workbench
