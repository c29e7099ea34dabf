// Which nodes still reach each other while something is down: whoever is cut off no
// backup could have helped.
#pragma once

#include <vector>

#include "network.h"

namespace workbench {

class Reach {
  public:
    explicit Reach(const Network& network);

    // Links and nodes that are down from now on, instead of those before.
    void setDown(const std::vector<int>& links, const std::vector<int>& nodes);

    // Whether a path leads from src to dst around all that is down.
    bool joins(int src, int dst);

  private:
    std::vector<char> reached(int node, bool backwards) const;

    const Network& network_;
    std::vector<std::vector<int>> linksFrom_;  // by node
    std::vector<std::vector<int>> linksInto_;
    std::vector<int> byDegree_;  // nodes, the one with the most links first
    std::vector<char> linkDown_;
    std::vector<char> nodeDown_;
    // By node: reached from the hub, and reaching it, which tells of nearly all pairs.
    // The hub has the most links of those that are up. Empty until somebody asks.
    std::vector<char> fromHub_;
    std::vector<char> toHub_;
};

}  // namespace workbench
