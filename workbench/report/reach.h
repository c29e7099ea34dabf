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
    const Network& network_;
    std::vector<std::vector<int>> linksFrom_;  // by node
    std::vector<char> linkDown_;
    std::vector<char> nodeDown_;
    std::vector<int> seenBy_;  // by node, the search that came there last
    int search_ = 0;
};

}  // namespace workbench
