#include "commands/failures.h"

#include <algorithm>

#include "audit/failure_sets.h"

namespace workbench {

void addFailureOptions(CLI::App& cmd, FailureOptions* options) {
    const auto add = [&cmd](const char* name, std::vector<std::string>* texts,
                            const char* type, const char* text) {
        cmd.add_option(name, *texts, text)
            ->delimiter(',')
            ->allow_extra_args(false)
            ->type_name(type);
    };
    add("--failures", &options->wanted.kinds, "KINDS",
        "Kinds of failures to try: links, cables (both directions), nodes, groups, "
        "custom, pairs (of the others named) [cables,nodes,groups,custom]");
    cmd.add_option("--sets", options->sets,
                   "File of risk groups and other failures, with probabilities")
        ->type_name("FILE");
    add("--mtbf", &options->wanted.mtbf, "KIND=HOURS",
        "Hours between failures of a kind, such as cable=8000,node=50000");
    add("--mttr", &options->wanted.mttr, "KIND=HOURS",
        "Hours to repair, such as cable=6,node=2");
}

void readSets(const FailureOptions& options, Plan* plan) {
    if (options.sets.empty()) return;
    for (FailureSet& set : readFailureSets(options.sets, *plan))
        plan->failureSets.push_back(std::move(set));
}

AuditResult auditShown(const Plan& plan, const std::vector<FailureSet>& failures,
                       Progress* progress) {
    const auto pairs = static_cast<std::size_t>(
        std::ranges::count(failures, FailureKind::PAIR, &FailureSet::kind));
    progress->start({{"failing", failures.size() - pairs}, {"failing pairs", pairs}});
    return audit(plan, failures, [progress] { progress->advance(); });
}

AuditResult auditShown(const Plan& plan, Progress* progress) {
    return auditShown(plan, usualFailures(plan), progress);
}

}  // namespace workbench
