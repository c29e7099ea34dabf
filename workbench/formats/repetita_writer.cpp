#include <fmt/format.h>

#include "formats/units.h"
#include "formats/writers.h"

namespace workbench {

template <class Record>
static std::vector<std::string> namesOf(const std::vector<Record>& records) {
    std::vector<std::string> names;
    for (const Record& record : records) names.push_back(record.name);
    return names;
}

std::string repetitaNetwork(const Network& network, Findings& findings) {
    noteLostAttributes(network, {.metric = true, .delay = true}, "Repetita", findings);
    noteMissingUnit(network.unit, "kbit/s", findings);
    const auto nodes = wordsFor(namesOf(network.nodes), "node", findings);
    std::string text = fmt::format("NODES {}\nlabel x y\n", nodes.size());
    for (const Node& node : network.nodes) {
        const Position position = node.position.value_or(Position{0, 0});
        text += fmt::format("{} {} {}\n", nodes[node.id], numberText(position.x),
                            numberText(position.y));
    }
    const auto links = wordsFor(namesOf(network.links), "edge", findings);
    text += fmt::format("\nEDGES {}\nlabel src dest weight bw delay\n", links.size());
    for (const Link& link : network.links)
        text += fmt::format("{} {} {} {} {} {}\n", links[link.id], link.src, link.dst,
                            numberText(link.metric.value_or(1)),
                            numberText(inUnit(link.capacity, kKbit)),
                            numberText(link.delay.value_or(0)));
    return text;
}

std::string repetitaDemands(const Demands& demands, Findings& findings) {
    noteMissingUnit(demands.unit, "kbit/s", findings);
    const auto names = wordsFor(namesOf(demands.demands), "demand", findings);
    std::string text = fmt::format("DEMANDS {}\nlabel src dest bw\n", names.size());
    for (std::size_t i = 0; i < names.size(); i++) {
        const Demand& demand = demands.demands[i];
        text += fmt::format("{} {} {} {}\n", names[i], demand.src, demand.dst,
                            numberText(inUnit(demand.bandwidth, kKbit)));
    }
    return text;
}

}  // namespace workbench
