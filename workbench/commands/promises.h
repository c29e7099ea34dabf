// What every command does with a plan that it has made, before anything is said of it.
#pragma once

#include <string>

#include "cli/shared.h"
#include "engine/promises.h"

namespace workbench {

// Checks that the plan keeps what it claims, with progress; what had to be taken back is
// told on standard error.
void checkPromises(Plan* plan, const Shared& shared);

// Says what was taken back, if anything.
void noteTakenBack(const TakenBack& takenBack, const Shared& shared);

// A plan to work on. UserError for a baseline, which is there to be compared with.
Plan readWorkingPlan(const std::string& file);

}  // namespace workbench
