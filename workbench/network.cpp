#include "network.h"

#include <fmt/format.h>

#include <array>

namespace workbench {

namespace {

struct KindText {
    const char* key;
    const char* words;
};

// In the order of FindingKind.
constexpr KindText kKinds[] = {
    {"default-capacity", "links without a capacity, the default was taken"},
    {"module-capacity", "links with nothing installed, a capacity module was taken"},
    {"undirected-link", "links without a direction, taken both ways"},
    {"assumed-direction", "files that do not say whether links have a direction"},
    {"merged-link", "parallel links merged, capacities added"},
    {"duplicate-link", "links listed twice, dropped"},
    {"self-loop", "links from a node to itself, dropped"},
    {"renamed-node", "names missing, taken or not fit for the format, changed"},
    {"self-demand", "demands from a node to itself, dropped"},
    {"zero-demand", "demands without bandwidth, dropped"},
    {"unknown-node-demand", "demands between unknown nodes, dropped"},
    {"assumed-unit", "units that are not stated, taken to be equal"},
    {"separate-components", "parts of the network without a way between them"},
    {"ignored-limit", "limits that are not kept"},
    {"lost-attribute", "attributes that the written format cannot hold"},
};
static_assert(std::size(kKinds) == static_cast<std::size_t>(FindingKind::Last) + 1);

}  // namespace

const char* describe(FindingKind kind) {
    return kKinds[static_cast<int>(kind)].words;
}

const char* keyOf(FindingKind kind) {
    return kKinds[static_cast<int>(kind)].key;
}

int findLink(const Network& network, int src, int dst) {
    for (const Link& link : network.links)
        if (link.src == src && link.dst == dst) return link.id;
    return -1;
}

std::string linkName(const Network& network, int linkId) {
    const Link& link = network.links[linkId];
    return network.nodes[link.src].name + " > " + network.nodes[link.dst].name;
}

std::string pathName(const Network& network, const std::vector<int>& nodes) {
    std::string name;
    for (const int node : nodes)
        name += (name.empty() ? "" : " > ") + network.nodes[node].name;
    return name;
}

std::string formatBandwidth(double bandwidth, const std::string& unit) {
    if (unit != "Mbit/s") return fmt::format("{:.5g}", bandwidth);
    constexpr std::array<const char*, 4> kUnits = {"kbit/s", "Mbit/s", "Gbit/s",
                                                   "Tbit/s"};
    double value = bandwidth * 1e3;
    std::size_t step = 0;
    for (; value >= 1000 && step + 1 < kUnits.size(); step++) value /= 1000;
    return fmt::format("{:.4g} {}", value, kUnits[step]);
}

}  // namespace workbench
