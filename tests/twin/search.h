// Primary paths: topology, score and search.
#pragma once

#include "twin/setup.h"

namespace twin {

struct Connect {
    Long neighb;
    const LinkState* state;
    Row gain;
};

struct TopoNode {
    Long id = 0;
    std::vector<Connect> in, out;
    Long elected = -1, candidate = 0;  // indices in `in`
    double cost = 0.0, newCost = 0.0;
    Row sum = {}, newSum = {};
};

struct Topology {
    std::vector<TopoNode> nodes;  // in the order in which they were built
    Ids index;                    // by node id; 0 for those never built
    Long nbLinks = 0;

    Long top() const { return static_cast<Long>(index.size()); }
    TopoNode& at(Long id) {
        return nodes[id < top()
                         ? static_cast<std::size_t>(index[static_cast<std::size_t>(id)])
                         : 0];
    }
};

bool fillTopo(Database& db, Request& req, Topology& topo);
double makeScore(Topology& topo, const Request& req, Long src, const Connect& connect);
bool bellmanKalaba(Topology& topo, const Request& req);
bool updateRequest(Topology& topo, Request& req);
bool computePrimaryPath(Database& db, Request& req);

}  // namespace twin
