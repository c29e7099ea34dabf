// What an operator does after a failure: what is lost is placed again, where there is
// room beside the traffic that runs on its backups.
#pragma once

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

}  // namespace workbench
