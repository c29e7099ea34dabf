// Small networks for the tests of the engine.
#pragma once

#include <string>
#include <vector>

#include "engine/place.h"

namespace workbench {

struct Edge {
    int src, dst;
    double capacity;
    int colour = 0;
    double delay = 1.0;
};

// Nodes are as many as the edges name; each edge is one link, or with `back` two.
inline Network networkOf(const std::vector<Edge>& edges, bool back = false) {
    Network network;
    const auto add = [&network](int src, int dst, const Edge& edge) {
        Link link = {};
        link.id = static_cast<int>(network.links.size());
        link.src = src;
        link.dst = dst;
        link.capacity = edge.capacity;
        link.colour = edge.colour;
        link.delay = edge.delay;
        network.links.push_back(link);
    };
    for (const Edge& edge : edges) {
        for (int id = static_cast<int>(network.nodes.size());
             id <= std::max(edge.src, edge.dst); id++)
            network.nodes.push_back({.id = id,
                                     .name = std::string(1, static_cast<char>('a' + id)),
                                     .position = {}});
        add(edge.src, edge.dst, edge);
        if (back) add(edge.dst, edge.src, edge);
    }
    return network;
}

}  // namespace workbench
