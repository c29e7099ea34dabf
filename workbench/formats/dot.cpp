// A network with what its links carry as a graph for Graphviz.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "formats/units.h"
#include "formats/writers.h"

namespace workbench {

namespace {

std::string quoted(const std::string& text) {
    std::string result = "\"";
    for (const char letter : text) {
        if (letter == '"' || letter == '\\') result += '\\';
        result += letter;
    }
    return result + '"';
}

// From blue over yellow to red, as maps of load have it.
std::string colourOf(double share) {
    return fmt::format("\"{:.3f} 0.9 0.8\"", 0.6 * (1.0 - std::clamp(share, 0.0, 1.0)));
}

// Inches of one unit of the positions: the whole is ten wide or high.
double scaleOf(const Network& network) {
    std::vector<double> xs;
    std::vector<double> ys;
    for (const Node& node : network.nodes) {
        if (!node.position) continue;
        xs.push_back(node.position->x);
        ys.push_back(node.position->y);
    }
    if (xs.empty()) return 1.0;
    const auto [left, right] = std::ranges::minmax(xs);
    const auto [low, high] = std::ranges::minmax(ys);
    const double extent = std::max(right - left, high - low);
    return extent > 0.0 ? 10.0 / extent : 1.0;
}

}  // namespace

std::string dotText(const Network& network, const std::vector<double>& shares) {
    std::string text = fmt::format("digraph {} {{\n  node [shape=box, style=rounded];\n",
                                   quoted(network.name));
    const double scale = scaleOf(network);
    for (const Node& node : network.nodes) {
        text += fmt::format("  n{} [label={}", node.id, quoted(node.name));
        if (node.position)
            text += fmt::format(", pos=\"{:.4f},{:.4f}!\"", scale * node.position->x,
                                scale * node.position->y);
        text += "];\n";
    }
    for (const Link& link : network.links)
        text += fmt::format(
            "  n{} -> n{} [label=\"{:.1f} %\", tooltip={}, color={}, penwidth={:.2f}];\n",
            link.src, link.dst, 100.0 * shares[link.id],
            quoted(formatBandwidth(link.capacity, network.unit)),
            colourOf(shares[link.id]), 1.0 + 3.0 * std::min(shares[link.id], 1.0));
    return text + "}\n";
}

}  // namespace workbench
