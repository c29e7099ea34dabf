// A difference of plans in words.
#pragma once

#include "audit/diff.h"
#include "cli/shared.h"

namespace workbench {

// Fails cables and nodes of both, with progress.
PlanDiff diffShown(const Plan& before, const Plan& after, const Shared& shared);

void printDiff(const PlanDiff& diff, const std::string& unit);

// Only the figures of the plans, in all and by class and level.
void printFigures(const PlanDiff& diff, const std::string& unit);

}  // namespace workbench
