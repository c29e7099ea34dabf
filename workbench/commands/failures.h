// Failures to try, from the command line, and the audit that tries them.
#pragma once

#include <string>
#include <vector>

#include "audit/audit.h"
#include "audit/wanted_failures.h"
#include "cli/progress.h"

namespace workbench {

struct FailureOptions {
    WantedFailures wanted;
    std::string sets;  // file
};

// --failures, --sets, --mtbf and --mttr.
void addFailureOptions(CLI::App& cmd, FailureOptions* options);

// Adds the file's sets to those of the plan.
void readSets(const FailureOptions& options, Plan* plan);

// What failures do, with their progress; without any named those of cables and nodes.
AuditResult auditShown(const Plan& plan, const std::vector<FailureSet>& failures,
                       Progress* progress);
AuditResult auditShown(const Plan& plan, Progress* progress);

}  // namespace workbench
