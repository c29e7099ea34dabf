#include "report/layout.h"

#include <graphviz/gvc.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>
#include <string>

#include "cli/error.h"

namespace workbench {

namespace {

// Rounds of moving nodes amid their neighbours; a chain of them settles slowly.
constexpr int kRounds = 100;

struct Extent {
    Point low, high;
    double width() const { return high.x - low.x; }
    double height() const { return high.y - low.y; }
};

Extent extentOf(const std::vector<Point>& points) {
    Extent extent{points.front(), points.front()};
    for (const Point& point : points) {
        extent.low = {std::min(extent.low.x, point.x), std::min(extent.low.y, point.y)};
        extent.high = {std::max(extent.high.x, point.x),
                       std::max(extent.high.y, point.y)};
    }
    return extent;
}

// In files of degrees 0, 0 stands for a place that is not known.
bool isPlaced(const Network& network, const Node& node) {
    if (!node.position) return false;
    return !network.geographic || node.position->x != 0.0 || node.position->y != 0.0;
}

// Those that the file gives, y upwards.
std::vector<Point> knownPoints(const Network& network) {
    std::vector<Point> points;
    for (const Node& node : network.nodes)
        if (isPlaced(network, node))
            points.push_back({node.position->x, node.position->y});
    return points;
}

bool areUsable(const Network& network, const std::vector<Point>& known) {
    if (known.empty() || 2 * known.size() < network.nodes.size()) return false;
    const Extent extent = extentOf(known);
    return extent.width() > 0.0 || extent.height() > 0.0;
}

// What a unit of x is worth in units of y: degrees of longitude shrink towards the poles.
double aspectOf(const Network& network, const Extent& extent) {
    if (!network.geographic) return 1.0;
    const double middle = (extent.low.y + extent.high.y) / 2.0;
    return std::max(0.2, std::cos(middle * std::numbers::pi / 180.0));
}

std::vector<std::vector<int>> neighboursOf(const Network& network) {
    std::vector<std::vector<int>> neighbours(network.nodes.size());
    for (const Link& link : network.links) {
        neighbours[link.src].push_back(link.dst);
        neighbours[link.dst].push_back(link.src);
    }
    return neighbours;
}

// Nodes at one spot would hide each other: each stands a little off the middle, in a
// direction of its own.
Point amid(const std::vector<int>& neighbours, const std::vector<Point>& points, int node,
           double step, Point start) {
    Point sum;
    for (int other : neighbours) {
        sum.x += points[other].x;
        sum.y += points[other].y;
    }
    if (!neighbours.empty())
        start = {sum.x / neighbours.size(), sum.y / neighbours.size()};
    return {start.x + step * std::cos(2.4 * node), start.y + step * std::sin(2.4 * node)};
}

std::vector<Point> flattened(const Network& network, const std::vector<Point>& known) {
    const Extent extent = extentOf(known);
    const double aspect = aspectOf(network, extent);
    const double step = 0.03 * std::max(extent.width() * aspect, extent.height());
    const Point middle = {aspect * (extent.low.x + extent.high.x) / 2.0,
                          -(extent.low.y + extent.high.y) / 2.0};
    std::vector<Point> points(network.nodes.size(), middle);
    std::vector<int> missing;
    for (std::size_t i = 0; i < points.size(); i++) {
        const Node& node = network.nodes[i];
        if (isPlaced(network, node))
            points[i] = {aspect * node.position->x, -node.position->y};
        else
            missing.push_back(static_cast<int>(i));
    }
    if (missing.empty()) return points;
    const auto neighbours = neighboursOf(network);
    for (int round = 0; round < kRounds; round++)
        for (int node : missing)
            points[node] = amid(neighbours[node], points, node, step, middle);
    return points;
}

struct CloseGraph {
    void operator()(Agraph_t* graph) const { agclose(graph); }
};
struct FreeContext {
    void operator()(GVC_t* context) const { gvFreeContext(context); }
};

// Graphviz takes plain char pointers for what it only reads.
char* text(const char* constant) {
    return const_cast<char*>(constant);
}

void setAttribute(Agraph_t* graph, int kind, const char* name, const char* value) {
    agattr(graph, kind, text(name), text(value));
}

std::vector<Point> byGraphviz(const Network& network) {
    const std::unique_ptr<GVC_t, FreeContext> context(gvContext());
    const std::unique_ptr<Agraph_t, CloseGraph> graph(
        agopen(text("network"), Agstrictundirected, nullptr));
    setAttribute(graph.get(), AGRAPH, "overlap", "prism");
    setAttribute(graph.get(), AGRAPH, "start", "1");
    setAttribute(graph.get(), AGNODE, "shape", "point");
    // Measuring a text after a context has been freed reads freed memory in
    // Graphviz 2.42.
    setAttribute(graph.get(), AGNODE, "label", "");
    std::vector<Agnode_t*> nodes;
    for (std::size_t i = 0; i < network.nodes.size(); i++)
        nodes.push_back(agnode(graph.get(), std::to_string(i).data(), 1));
    for (const Link& link : network.links)
        agedge(graph.get(), nodes[link.src], nodes[link.dst], nullptr, 1);
    const char* engine = nodes.size() > 500 ? "sfdp" : "neato";
    std::vector<Point> points;
    if (gvLayout(context.get(), graph.get(), engine) != 0)
        throw UserError("Graphviz cannot lay out the network");
    for (Agnode_t* node : nodes) points.push_back({ND_coord(node).x, -ND_coord(node).y});
    gvFreeLayout(context.get(), graph.get());
    return points;
}

// A computed layout has no north: its longer side goes across the screen.
void layDown(std::vector<Point>* points) {
    const Extent extent = extentOf(*points);
    if (extent.height() <= extent.width()) return;
    for (Point& point : *points) std::swap(point.x, point.y);
}

}  // namespace

std::vector<Point> placesFromFile(const Network& network) {
    const std::vector<Point> known = knownPoints(network);
    if (!areUsable(network, known)) return {};
    return flattened(network, known);
}

std::vector<Point> computedPlaces(const Network& network) {
    if (network.nodes.empty()) return {};
    std::vector<Point> points = byGraphviz(network);
    layDown(&points);
    return points;
}

}  // namespace workbench
