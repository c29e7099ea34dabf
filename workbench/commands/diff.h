// A difference of plans in words.
#pragma once

#include "audit/diff.h"

namespace workbench {

void printDiff(const PlanDiff& diff, const std::string& unit);

}  // namespace workbench
