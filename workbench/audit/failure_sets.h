// What can fail at once in a network.
#pragma once

#include <string>
#include <vector>

#include "plan.h"

namespace workbench {

FailureSet linkFailure(const Network& network, int link);
std::vector<FailureSet> linkFailures(const Network& network);

// Both directions where both exist, else the one that there is.
std::vector<FailureSet> cableFailures(const Network& network);

std::vector<FailureSet> nodeFailures(const Network& network);

// The risk groups that the links of the network name.
std::vector<FailureSet> groupFailures(const Network& network);

// Every two of the sets. UserError if that is more than anybody would read.
std::vector<FailureSet> pairsOf(const std::vector<FailureSet>& sets);

// All failures of some kinds; groups and custom ones are those of the plan, pairs are
// those of the other kinds.
std::vector<FailureSet> failuresOf(const Plan& plan,
                                   const std::vector<FailureKind>& kinds);

// Of cables and nodes, as long as nothing else is asked for.
std::vector<FailureSet> usualFailures(const Plan& plan);

// Those that the plan's backups are there for.
std::vector<FailureSet> survivedFailures(const Plan& plan);

// One failure from the names of its parts: nodes ("Berlin"), links ("Berlin > Paris"),
// cables ("Berlin - Paris") or failures of the plan. UserError for an unknown name.
FailureSet failureNamed(const Plan& plan, const std::vector<std::string>& names);
// The same as a case beside the failures of a plan, whatever it is made of.
FailureSet caseNamed(const Plan& plan, const std::vector<std::string>& names);

// Failures from a JSON file (schema/failures.schema.json).
std::vector<FailureSet> readFailureSets(const std::string& file, const Plan& plan);
// From the text of a file of that name.
std::vector<FailureSet> failureSetsFrom(const std::string& file, const std::string& text,
                                        const Plan& plan);

// Part of the time that something is down, from hours between failures and hours to
// repair.
double downShare(double mtbf, double mttr);

}  // namespace workbench
