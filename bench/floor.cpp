#include "floor.h"

#include <boost/graph/compressed_sparse_row_graph.hpp>
#include <boost/graph/dijkstra_shortest_paths_no_color_map.hpp>
#include <boost/graph/filtered_graph.hpp>
#include <boost/property_map/property_map.hpp>
#include <limits>
#include <utility>

#include "computation/primary/score_formulas.h"

namespace {

using Csr = boost::compressed_sparse_row_graph<boost::directedS>;

struct HasRoom {
    const Csr* graph = nullptr;
    const double* room = nullptr;
    double bw = 0.0;

    bool operator()(const Csr::edge_descriptor& edge) const {
        return room[get(boost::edge_index, *graph, edge)] >= bw;
    }
};

template <class T>
auto byNode(std::vector<T>* values) {
    return boost::make_iterator_property_map(
        values->begin(), boost::typed_identity_property_map<std::size_t>());
}

}  // namespace

struct Floor::Graph {
    Csr csr;  // edges in the order of the network's links
};

Floor::Floor(const State& state) {
    const Network& network = state.network;
    std::vector<std::pair<Long, Long>> ends;
    for (const Link& link : network.links) {
        ends.emplace_back(link.src, link.dst);
        capacities_.push_back(link.capacity / kUsedClasses);
    }
    copyLoads(state);
    graph_ = std::make_unique<Graph>(
        Graph{Csr(boost::edges_are_sorted, ends.begin(), ends.end(), network.nodes)});
    weights_.resize(ends.size());
    distances_.resize(network.nodes);
    predecessors_.resize(network.nodes);
}

Floor::~Floor() = default;

void Floor::copyLoads(const State& state) {
    for (int oa = 0; oa < kUsedClasses; oa++) {
        loads_[oa].clear();
        room_[oa].clear();
        for (const Link& link : state.network.links) {
            const DBLink* stored = findLink(&state.dataBase->linkTab, link.src, link.dst);
            loads_[oa].push_back(loadOf(&stored->state, oa));
            room_[oa].push_back(freeBandwidth(state.dataBase, link, oa));
        }
    }
}

void Floor::prepare(const Ask& ask) {
    oa_ = ask.oa;
    bw_ = ask.bw;
    for (std::size_t i = 0; i < weights_.size(); i++)
        weights_[i] = congestionIncrease({loads_[oa_][i], capacities_[i], bw_});
}

void Floor::search(Long src) {
    const Csr& csr = graph_->csr;
    const boost::filtered_graph<Csr, HasRoom> open(csr, {&csr, room_[oa_].data(), bw_});
    boost::dijkstra_shortest_paths_no_color_map(
        open, src,
        boost::weight_map(boost::make_iterator_property_map(weights_.begin(),
                                                            get(boost::edge_index, csr)))
            .distance_map(byNode(&distances_))
            .distance_inf(std::numeric_limits<double>::infinity())
            .predecessor_map(byNode(&predecessors_)));
}
