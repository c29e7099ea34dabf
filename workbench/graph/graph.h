// What the shape of a network says about protection. A link counts as passable both ways
// if either direction exists: that is the most any backup could hope for.
#pragma once

#include <vector>

#include "network.h"

namespace workbench {

struct Components {
    std::vector<int> of;     // number of every node's component, from 0
    std::vector<int> sizes;  // in nodes
};

Components components(const Network& network);

// Without one of these the network, or the component, falls apart.
struct WeakPoints {
    std::vector<std::pair<int, int>> bridges;  // pairs of nodes, the smaller number first
    std::vector<int> cutNodes;                 // ascending
};

WeakPoints weakPoints(const Network& network);

}  // namespace workbench
