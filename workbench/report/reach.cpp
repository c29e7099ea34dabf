#include "report/reach.h"

#include <algorithm>

namespace workbench {

Reach::Reach(const Network& network)
    : network_(network),
      linksFrom_(network.nodes.size()),
      linkDown_(network.links.size(), 0),
      nodeDown_(network.nodes.size(), 0),
      seenBy_(network.nodes.size(), 0) {
    for (const Link& link : network.links) linksFrom_[link.src].push_back(link.id);
}

void Reach::setDown(const std::vector<int>& links, const std::vector<int>& nodes) {
    std::ranges::fill(linkDown_, 0);
    std::ranges::fill(nodeDown_, 0);
    for (int link : links) linkDown_[link] = 1;
    for (int node : nodes) nodeDown_[node] = 1;
}

bool Reach::joins(int src, int dst) {
    if (nodeDown_[src] || nodeDown_[dst]) return false;
    seenBy_[src] = ++search_;
    std::vector<int> reached = {src};
    for (std::size_t next = 0; next < reached.size(); next++)
        for (int link : linksFrom_[reached[next]]) {
            const int node = network_.links[link].dst;
            if (linkDown_[link] || nodeDown_[node] || seenBy_[node] == search_) continue;
            if (node == dst) return true;
            seenBy_[node] = search_;
            reached.push_back(node);
        }
    return false;
}

}  // namespace workbench
