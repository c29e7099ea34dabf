#include "audit/wanted_failures.h"

#include <fmt/format.h>

#include <map>

#include "cli/error.h"
#include "formats/units.h"

namespace workbench {

namespace {

// "cable=8000": hours of a kind of failure.
std::map<FailureKind, double> hoursOf(const std::vector<std::string>& texts,
                                      const char* option) {
    std::map<FailureKind, double> hours;
    for (const std::string& text : texts) {
        const std::size_t equals = text.find('=');
        const auto value =
            equals == text.npos ? std::nullopt : parseNumber(text.substr(equals + 1));
        if (!value || !(*value > 0.0) || *value > 1e9)
            throw UserError(fmt::format("{}: '{}' is not KIND=HOURS, such as cable=8000",
                                        option, text));
        hours[failureKindFrom(text.substr(0, equals))] = *value;
    }
    return hours;
}

void setProbabilities(const WantedFailures& wanted, std::vector<FailureSet>* failures) {
    const auto mtbf = hoursOf(wanted.mtbf, "--mtbf");
    const auto mttr = hoursOf(wanted.mttr, "--mttr");
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

FailureKind failureKindFrom(const std::string& text) {
    for (const FailureKind kind :
         {FailureKind::LINK, FailureKind::CABLE, FailureKind::NODE, FailureKind::GROUP,
          FailureKind::PAIR, FailureKind::CUSTOM})
        if (text == toText(kind) || text == toText(kind) + std::string("s")) return kind;
    throw UserError(
        "'" + text +
        "' is no kind of failure: links, cables, nodes, groups, pairs, custom");
}

std::vector<FailureKind> failureKindsFrom(const std::vector<std::string>& texts) {
    std::vector<FailureKind> kinds;
    for (const std::string& text : texts) kinds.push_back(failureKindFrom(text));
    return kinds;
}

std::vector<FailureSet> failuresFor(const WantedFailures& wanted, const Plan& plan) {
    std::vector<FailureKind> kinds = {FailureKind::CABLE, FailureKind::NODE,
                                      FailureKind::GROUP, FailureKind::CUSTOM};
    if (!wanted.kinds.empty()) kinds = failureKindsFrom(wanted.kinds);
    const bool withPairs = std::erase(kinds, FailureKind::PAIR) > 0;
    if (kinds.empty()) kinds = {FailureKind::CABLE};
    std::vector<FailureSet> failures = failuresOf(plan, kinds);
    setProbabilities(wanted, &failures);
    // Last, so that pairs know the probabilities of their halves.
    if (withPairs) {
        const auto more = pairsOf(failures);
        failures.insert(failures.end(), more.begin(), more.end());
    }
    return failures;
}

}  // namespace workbench
