// Failures to try, as they are named on a command line.
#pragma once

#include <string>
#include <vector>

#include "audit/failure_sets.h"

namespace workbench {

// "cables" or "cable"; UserError for an unknown kind.
FailureKind failureKindFrom(const std::string& text);
std::vector<FailureKind> failureKindsFrom(const std::vector<std::string>& texts);

// Kinds, by default all but links and pairs, and hours between failures of a kind and to
// repair it: "cable=8000".
struct WantedFailures {
    std::vector<std::string> kinds;
    std::vector<std::string> mtbf;
    std::vector<std::string> mttr;
};

// The failures of these kinds, with what is known of their probabilities. UserError for a
// choice that cannot be.
std::vector<FailureSet> failuresFor(const WantedFailures& wanted, const Plan& plan);

}  // namespace workbench
