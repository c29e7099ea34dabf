#include <fmt/format.h>

#include <algorithm>
#include <unordered_map>

#include "cli/error.h"
#include "formats/tidy.h"
#include "names.h"

namespace workbench {

namespace {

class Resolver {
  public:
    explicit Resolver(const Network& network) : names_(nodeNames(network)) {
        for (const Node& node : network.nodes) {
            nodeOf_.emplace(node.name, node.id);
            byNumber_.emplace(node.number, node.id);
        }
    }

    // -1 for a node that the network does not have.
    int operator()(const NodeRef& ref) {
        if (ref.number >= 0) {
            const auto found = byNumber_.find(ref.number);
            return found == byNumber_.end() ? -1 : found->second;
        }
        const auto [found, isNew] = nodeOf_.try_emplace(ref.id, -1);
        if (isNew) found->second = names_.find(ref.id);
        return found->second;
    }

    // What an unknown end may have been meant to be, for the first few.
    std::string suggestion(const NodeRef& ref) {
        constexpr int kMost = 20;
        return ref.number >= 0 || suggestions_++ >= kMost ? ""
                                                          : names_.suggestion(ref.id);
    }

  private:
    NameIndex names_;
    std::unordered_map<std::string, int> nodeOf_;  // and what was asked for before
    std::unordered_map<int, int> byNumber_;
    int suggestions_ = 0;
};

// A limit on the delay means nothing where links state none.
void checkDelays(const Draft& draft, const Network& network) {
    const auto limited = std::ranges::find_if(
        draft.demands, [](const DraftDemand& demand) { return demand.maxDelay > 0.0; });
    const auto silent = std::ranges::count_if(
        network.links, [](const Link& link) { return !link.delay.has_value(); });
    if (limited != draft.demands.end() && silent > 0)
        throw InputError(
            draft.file, limited->line,
            fmt::format("expected no limit of the delay, for {} links of the "
                        "network state no delay",
                        silent));
}

std::string textOf(const NodeRef& ref) {
    return ref.number >= 0 ? std::to_string(ref.number) : ref.id;
}

std::string textOf(const DraftDemand& demand) {
    return fmt::format("demand {}{}{} > {}", demand.name, demand.name.empty() ? "" : " ",
                       textOf(demand.src), textOf(demand.dst));
}

void noteUnit(const Draft& draft, const Network& network, Findings& findings) {
    if (draft.unit == network.unit) return;
    const bool known = network.unit.empty();
    findings.push_back(
        {FindingKind::AssumedUnit,
         fmt::format("{}: demands in {}, capacities in {}: taken as the same", draft.file,
                     known ? draft.unit : "an unnamed unit",
                     known ? "an unnamed unit" : network.unit)});
}

}  // namespace

Demands tidyDemands(const Draft& draft, const Network& network, Findings& findings) {
    Demands result{.name = draft.name, .unit = network.unit, .demands = {}};
    Resolver resolve(network);
    const auto drop = [&](FindingKind kind, const DraftDemand& demand,
                          const std::string& suggestion = "") {
        findings.push_back(
            {kind, placeIn(draft, demand.line) + textOf(demand) + suggestion});
    };
    checkDelays(draft, network);
    std::size_t unknown = 0;
    std::string suggestion;  // for the first
    for (const DraftDemand& demand : draft.demands) {
        if (!(demand.bandwidth <= kMostBandwidth))
            throw InputError(draft.file, demand.line,
                             fmt::format("expected a bandwidth of at most {}, got {}",
                                         formatBandwidth(kMostBandwidth, draft.unit),
                                         formatBandwidth(demand.bandwidth, draft.unit)));
        const int src = resolve(demand.src);
        const int dst = resolve(demand.dst);
        if (src < 0 || dst < 0) {
            const std::string meant =
                resolve.suggestion(src < 0 ? demand.src : demand.dst);
            if (unknown++ == 0) suggestion = meant;
            drop(FindingKind::UnknownNodeDemand, demand, meant);
        } else if (src == dst) {
            drop(FindingKind::SelfDemand, demand);
        } else if (demand.bandwidth <= 0) {
            drop(FindingKind::ZeroDemand, demand);
        } else {
            result.demands.push_back({src, dst, demand.bandwidth, demand.name,
                                      demand.trafficClass, demand.level, demand.avoid,
                                      demand.maxDelay, demand.maxHops});
        }
    }
    if (unknown > 0 && unknown == draft.demands.size())
        throw InputError(draft.file, draft.demands.front().line,
                         fmt::format("expected demands between nodes of {}, got {}",
                                     network.name.empty() ? "the network" : network.name,
                                     textOf(draft.demands.front())) +
                             suggestion);
    noteUnit(draft, network, findings);
    return result;
}

}  // namespace workbench
