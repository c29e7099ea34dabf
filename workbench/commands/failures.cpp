#include "commands/failures.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>

#include "audit/failure_sets.h"
#include "cli/error.h"
#include "commands/options.h"

namespace workbench {

namespace {

// "cable=8000": hours of a kind of failure.
std::map<FailureKind, double> hoursOf(const std::vector<std::string>& texts,
                                      const char* option) {
    std::map<FailureKind, double> hours;
    for (const std::string& text : texts) {
        const std::size_t equals = text.find('=');
        double value = 0.0;
        if (equals == text.npos ||
            !CLI::detail::lexical_cast(text.substr(equals + 1), value) ||
            !(value > 0.0) || value > 1e9)
            throw UserError(fmt::format("{}: '{}' is not KIND=HOURS, such as cable=8000",
                                        option, text));
        hours[failureKindFrom(text.substr(0, equals))] = value;
    }
    return hours;
}

void setProbabilities(const FailureOptions& options, std::vector<FailureSet>* failures) {
    const auto mtbf = hoursOf(options.mtbf, "--mtbf");
    const auto mttr = hoursOf(options.mttr, "--mttr");
    for (const auto& [kind, hours] : mtbf)
        if (!mttr.contains(kind))
            throw UserError(fmt::format("--mtbf {}: --mttr is missing", toText(kind)));
    for (FailureSet& set : *failures) {
        // A lone direction stands for its cable.
        FailureKind kind = set.kind;
        if (kind == FailureKind::LINK && !mtbf.contains(kind)) kind = FailureKind::CABLE;
        if (!set.probability && mtbf.contains(kind))
            set.probability = downShare(mtbf.at(kind), mttr.at(kind));
    }
}

}  // namespace

void addFailureOptions(CLI::App& cmd, FailureOptions* options) {
    const auto add = [&cmd](const char* name, std::vector<std::string>* texts,
                            const char* type, const char* text) {
        cmd.add_option(name, *texts, text)
            ->delimiter(',')
            ->allow_extra_args(false)
            ->type_name(type);
    };
    add("--failures", &options->kinds, "KINDS",
        "Kinds of failures to try: links, cables (both directions), nodes, groups, "
        "custom, pairs (of the others named) [cables,nodes,groups,custom]");
    cmd.add_option("--sets", options->sets,
                   "File of risk groups and other failures, with probabilities")
        ->type_name("FILE");
    add("--mtbf", &options->mtbf, "KIND=HOURS",
        "Hours between failures of a kind, such as cable=8000,node=50000");
    add("--mttr", &options->mttr, "KIND=HOURS",
        "Hours to repair, such as cable=6,node=2");
}

void readSets(const FailureOptions& options, Plan* plan) {
    if (options.sets.empty()) return;
    for (FailureSet& set : readFailureSets(options.sets, *plan))
        plan->failureSets.push_back(std::move(set));
}

// Pairs come last, so that they know the probabilities of their halves.
std::vector<FailureSet> failuresFor(const FailureOptions& options, const Plan& plan) {
    std::vector<FailureKind> kinds = {FailureKind::CABLE, FailureKind::NODE,
                                      FailureKind::GROUP, FailureKind::CUSTOM};
    if (!options.kinds.empty()) kinds = failureKindsFrom(options.kinds);
    const bool withPairs = std::erase(kinds, FailureKind::PAIR) > 0;
    if (kinds.empty()) kinds = {FailureKind::CABLE};
    std::vector<FailureSet> failures = failuresOf(plan, kinds);
    setProbabilities(options, &failures);
    if (withPairs) {
        const auto more = pairsOf(failures);
        failures.insert(failures.end(), more.begin(), more.end());
    }
    return failures;
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
