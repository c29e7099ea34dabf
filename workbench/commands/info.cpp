// kavril info: size, capacities and degrees of a network, and what no backup can protect.
#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <set>

#include "commands/commands.h"
#include "graph/graph.h"

namespace workbench {

namespace {

struct Degrees {
    int least, most;
    double mean;
    std::string mostNode;
};

// Neighbours of the nodes, whichever way the links go.
Degrees degreesOf(const Network& network) {
    std::vector<std::set<int>> neighbours(network.nodes.size());
    for (const Link& link : network.links) {
        neighbours[link.src].insert(link.dst);
        neighbours[link.dst].insert(link.src);
    }
    const auto fewer = [](const auto& a, const auto& b) { return a.size() < b.size(); };
    const auto [least, most] =
        std::minmax_element(neighbours.begin(), neighbours.end(), fewer);
    double sum = 0;
    for (const auto& set : neighbours) sum += static_cast<double>(set.size());
    return {.least = static_cast<int>(least->size()),
            .most = static_cast<int>(most->size()),
            .mean = sum / static_cast<double>(neighbours.size()),
            .mostNode = network.nodes[most - neighbours.begin()].name};
}

// Number of links per capacity.
std::map<double, int> capacitiesOf(const Network& network) {
    std::map<double, int> counts;
    for (const Link& link : network.links) counts[link.capacity]++;
    return counts;
}

int oneWayLinks(const Network& network) {
    std::set<std::pair<int, int>> pairs;
    for (const Link& link : network.links) pairs.emplace(link.src, link.dst);
    return static_cast<int>(
        std::count_if(pairs.begin(), pairs.end(), [&](const auto& pair) {
            return !pairs.contains({pair.second, pair.first});
        }));
}

std::string pairName(const Network& network, const std::pair<int, int>& pair) {
    return network.nodes[pair.first].name + " - " + network.nodes[pair.second].name;
}

nlohmann::json infoJson(const Network& network, const Findings& findings,
                        const Shared& shared) {
    const Degrees degrees = degreesOf(network);
    const WeakPoints weak = weakPoints(network);
    nlohmann::json result = {
        {"name", network.name},
        {"unit", network.unit},
        {"nodes", network.nodes.size()},
        {"links", network.links.size()},
        {"oneWayLinks", oneWayLinks(network)},
        {"components", components(network).sizes},
        {"degree",
         {{"min", degrees.least}, {"mean", degrees.mean}, {"max", degrees.most}}},
        {"capacities", nlohmann::json::array()},
        {"bridges", nlohmann::json::array()},
        {"cutNodes", nlohmann::json::array()},
        {"findings", findingsJson(findings, shared)}};
    for (const auto& [capacity, count] : capacitiesOf(network))
        result["capacities"].push_back({{"capacity", capacity}, {"links", count}});
    for (const auto& [low, high] : weak.bridges)
        result["bridges"].push_back({network.nodes[low].name, network.nodes[high].name});
    for (const int node : weak.cutNodes)
        result["cutNodes"].push_back(network.nodes[node].name);
    return result;
}

void printCapacities(const Network& network) {
    double sum = 0;
    for (const Link& link : network.links) sum += link.capacity;
    fmt::print("capacity      {} over all links\n", formatBandwidth(sum, network.unit));
    const auto counts = capacitiesOf(network);
    for (auto entry = counts.rbegin(); entry != counts.rend(); ++entry)
        fmt::print("              {:>14} on {} links\n",
                   formatBandwidth(entry->first, network.unit), entry->second);
}

void printWeakPoints(const Network& network) {
    const WeakPoints weak = weakPoints(network);
    fmt::print("bridges       {}\n",
               weak.bridges.empty() ? "none: every link can be protected"
                                    : fmt::format("{} pairs of neighbours that no backup "
                                                  "can go around",
                                                  weak.bridges.size()));
    for (const auto& pair : weak.bridges)
        fmt::print("              {}\n", pairName(network, pair));
    fmt::print("cut nodes     {}\n", weak.cutNodes.empty()
                                         ? "none: every node can be protected"
                                         : fmt::format("{} that no backup can go around",
                                                       weak.cutNodes.size()));
    for (const int node : weak.cutNodes)
        fmt::print("              {}\n", network.nodes[node].name);
}

void printInfo(const Network& network) {
    const Degrees degrees = degreesOf(network);
    const int oneWay = oneWayLinks(network);
    fmt::print("network       {}\n", network.name);
    fmt::print("nodes         {}\n", network.nodes.size());
    fmt::print("links         {}{}\n", network.links.size(),
               oneWay == 0 ? ", each with its reverse"
                           : fmt::format(", {} without their reverse", oneWay));
    fmt::print("degree        {} to {} ({}), {:.2f} on average\n", degrees.least,
               degrees.most, degrees.mostNode, degrees.mean);
    const Components parts = components(network);
    if (parts.sizes.size() > 1)
        fmt::print("components    {}, of {} nodes\n", parts.sizes.size(),
                   fmt::join(parts.sizes, ", "));
    printCapacities(network);
    printWeakPoints(network);
}

int info(const std::string& file, const Shared& shared) {
    Findings findings;
    const Network network = readNetwork(file, shared.reading, findings);
    if (shared.json) {
        fmt::print("{}\n", infoJson(network, findings, shared).dump(2));
        return 0;
    }
    printInfo(network);
    std::fflush(stdout);
    printFindings(findings, shared);
    return 0;
}

}  // namespace

void addInfo(CLI::App& app, Shared& shared) {
    CLI::App* cmd = app.add_subcommand(
        "info",
        "Size, capacities and degree of a network, and what no backup can protect");
    const auto file = std::make_shared<std::string>();
    cmd->add_option("NETWORK", *file, "Network file, - for standard input")
        ->type_name("FILE")
        ->required();
    addReadingOptions(*cmd, shared);
    addOutputOptions(*cmd, shared);
    cmd->footer(
        "Examples:\n"
        "  kavril info germany50.xml\n"
        "  kavril info Geant2012.graphml --default-capacity 2.5G --findings\n"
        "  kavril info Abilene.graph --json");
    onRun(*cmd, shared, [&shared, file] { return info(*file, shared); });
}

}  // namespace workbench
