#include <boost/graph/adjacency_list.hpp>
#include <boost/graph/edmonds_karp_max_flow.hpp>

#include "engine/explain.h"

namespace workbench {

namespace {

using Traits = boost::adjacency_list_traits<boost::vecS, boost::vecS, boost::directedS>;
using Graph = boost::adjacency_list<
    boost::vecS, boost::vecS, boost::directedS,
    boost::property<boost::vertex_color_t, boost::default_color_type>,
    boost::property<boost::edge_capacity_t, long,
                    boost::property<boost::edge_residual_capacity_t, long,
                                    boost::property<boost::edge_reverse_t,
                                                    Traits::edge_descriptor>>>>;

void addLink(int src, int dst, long capacity, Graph* graph) {
    const auto forth = boost::add_edge(src, dst, *graph).first;
    const auto back = boost::add_edge(dst, src, *graph).first;
    boost::put(boost::edge_capacity, *graph, forth, capacity);
    boost::put(boost::edge_capacity, *graph, back, 0L);
    boost::put(boost::edge_reverse, *graph, forth, back);
    boost::put(boost::edge_reverse, *graph, back, forth);
}

}  // namespace

std::vector<int> minimumCut(const Network& network, int src, int dst,
                            const std::vector<int>& costs) {
    Graph graph(network.nodes.size());
    for (const Link& link : network.links)
        addLink(link.src, link.dst, costs[link.id], &graph);
    std::vector<Traits::edge_descriptor> predecessors(network.nodes.size());
    boost::edmonds_karp_max_flow(
        graph, src, dst,
        boost::color_map(boost::get(boost::vertex_color, graph))
            .predecessor_map(boost::make_iterator_property_map(
                predecessors.begin(), boost::get(boost::vertex_index, graph))));
    // The last search of the algorithm has coloured what the source still reaches.
    const auto reached = [&graph](int node) {
        return boost::get(boost::vertex_color, graph, node) !=
               boost::color_traits<boost::default_color_type>::white();
    };
    std::vector<int> cut;
    for (const Link& link : network.links)
        if (costs[link.id] > 0 && reached(link.src) && !reached(link.dst))
            cut.push_back(link.id);
    return cut;
}

}  // namespace workbench
