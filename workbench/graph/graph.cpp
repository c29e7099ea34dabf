#include "graph/graph.h"

#include <algorithm>
#include <boost/graph/adjacency_list.hpp>
#include <boost/graph/biconnected_components.hpp>
#include <boost/graph/connected_components.hpp>
#include <iterator>
#include <set>

namespace workbench {

namespace {

using EdgeIndex = boost::property<boost::edge_index_t, int>;
using Graph = boost::adjacency_list<boost::vecS, boost::vecS, boost::undirectedS,
                                    boost::no_property, EdgeIndex>;

// One edge per pair of neighbours.
Graph graphOf(const Network& network) {
    std::set<std::pair<int, int>> pairs;
    for (const Link& link : network.links) pairs.insert(std::minmax(link.src, link.dst));
    Graph graph(network.nodes.size());
    int index = 0;
    for (const auto& [low, high] : pairs) add_edge(low, high, EdgeIndex(index++), graph);
    return graph;
}

}  // namespace

Components components(const Network& network) {
    Components result;
    if (network.nodes.empty()) return result;
    result.of.resize(network.nodes.size());
    const int count = boost::connected_components(graphOf(network), result.of.data());
    result.sizes.resize(count);
    for (const int part : result.of) result.sizes[part]++;
    return result;
}

WeakPoints weakPoints(const Network& network) {
    WeakPoints result;
    const Graph graph = graphOf(network);
    std::vector<int> block(num_edges(graph));
    const auto blocks =
        boost::make_iterator_property_map(block.begin(), get(boost::edge_index, graph));
    const auto [count, end] =
        boost::biconnected_components(graph, blocks, std::back_inserter(result.cutNodes));
    std::sort(result.cutNodes.begin(), result.cutNodes.end());

    // A bridge is a block of one edge.
    std::vector<int> sizes(count);
    for (const int number : block) sizes[number]++;
    for (const auto edge : boost::make_iterator_range(edges(graph)))
        if (sizes[blocks[edge]] == 1)
            result.bridges.push_back(
                std::minmax<int>(static_cast<int>(source(edge, graph)),
                                 static_cast<int>(target(edge, graph))));
    std::sort(result.bridges.begin(), result.bridges.end());
    return result;
}

}  // namespace workbench
