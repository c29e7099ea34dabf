#include <fmt/format.h>

#include <unordered_map>

#include "cli/error.h"
#include "formats/tidy.h"

namespace workbench {

namespace {

class Resolver {
  public:
    explicit Resolver(const Network& network)
        : count_(static_cast<int>(network.nodes.size())) {
        for (const Node& node : network.nodes) nodeOf_.emplace(node.name, node.id);
    }

    // -1 for a node that the network does not have.
    int operator()(const NodeRef& ref) const {
        if (ref.number >= 0) return ref.number < count_ ? ref.number : -1;
        const auto found = nodeOf_.find(ref.id);
        return found == nodeOf_.end() ? -1 : found->second;
    }

  private:
    int count_;
    std::unordered_map<std::string, int> nodeOf_;
};

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
    const Resolver resolve(network);
    const auto drop = [&](FindingKind kind, const DraftDemand& demand) {
        findings.push_back({kind, placeIn(draft, demand.line) + textOf(demand)});
    };
    std::size_t unknown = 0;
    for (const DraftDemand& demand : draft.demands) {
        const int src = resolve(demand.src);
        const int dst = resolve(demand.dst);
        if (src < 0 || dst < 0) {
            unknown++;
            drop(FindingKind::UnknownNodeDemand, demand);
        } else if (src == dst) {
            drop(FindingKind::SelfDemand, demand);
        } else if (demand.bandwidth <= 0) {
            drop(FindingKind::ZeroDemand, demand);
        } else {
            result.demands.push_back({src, dst, demand.bandwidth, demand.name});
        }
    }
    if (unknown > 0 && unknown == draft.demands.size())
        throw InputError(draft.file, draft.demands.front().line,
                         fmt::format("expected demands between nodes of {}, got {}",
                                     network.name.empty() ? "the network" : network.name,
                                     textOf(draft.demands.front())));
    noteUnit(draft, network, findings);
    return result;
}

}  // namespace workbench
