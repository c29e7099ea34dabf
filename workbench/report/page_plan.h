// The plan of a report, for the engine in its page: what the page's data lacks.
#pragma once

#include <nlohmann/json.hpp>

#include "audit/wanted_failures.h"
#include "plan.h"

namespace workbench {

// A plan as a page has it, and the failures that the page shows.
struct PagePlan {
    Plan plan;
    WantedFailures wanted;
    std::vector<FailureSet> sets;  // that are tried too, but are not part of the plan
};

// What it takes to make the plan from the page's data again: demands, positions and
// attributes of the network, ids of backups. Null for a plan that cannot be made so,
// because some of its LSPs are none that the library would put up.
nlohmann::json restOf(const PagePlan& plan, const nlohmann::json& data);

// From the page's data (page_data.h) and the rest. UserError, or an exception of the JSON
// library, for texts of something else.
PagePlan pagePlanFrom(const nlohmann::json& data, const nlohmann::json& rest);

// The failures that the page shows of a plan that has come from its own by a change.
std::vector<FailureSet> failuresAfter(const PagePlan& page, const Plan& changed);

}  // namespace workbench
