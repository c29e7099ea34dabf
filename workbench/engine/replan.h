// What an operator does after a failure: what is lost is placed again, where there is
// room beside the traffic that runs on its backups.
#pragma once

#include <nlohmann/json.hpp>

#include "audit/toll.h"
#include "engine/place.h"

namespace workbench {

// The plan as it runs then: what is down is drained, LSPs that were restored are
// primaries on the ways that their traffic takes, those that were lost are requested
// again, the most important first, and nothing gives way to them. There are no backups.
// Without `tables` its tables and summary are left empty, which is much faster.
Plan planAfter(const Effects& effects, FailedSets failed, bool tables);

// LSPs of that plan which had been lost.
std::vector<PlanLsp> placedAgain(const Plan& after, const std::vector<Effect>& effects);

// What became of the LSPs that a failure hit, and of those in the way of the lost ones.
struct Recovery {
    FailureSet failed;
    Tally hit;
    Count again;      // of the lost: placed again
    Count displaced;  // of the others: not up any more
};

// The same plan, but one to work on: what is lost displaces the less important if the
// configuration allows it, what is displaced is requested again after it, what the
// failure has overloaded moves, and no LSP comes by a node twice.
Recovery replan(Plan* plan, const FailureSet& failed, const Step& step);

// LSPs and bandwidth of each.
nlohmann::json toJson(const Recovery& recovery);

}  // namespace workbench
