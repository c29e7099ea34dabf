#include "report/reach.h"

#include <algorithm>
#include <numeric>

namespace workbench {

Reach::Reach(const Network& network)
    : network_(network),
      linksFrom_(network.nodes.size()),
      linksInto_(network.nodes.size()),
      byDegree_(network.nodes.size()),
      linkDown_(network.links.size(), 0),
      nodeDown_(network.nodes.size(), 0) {
    for (const Link& link : network.links) {
        linksFrom_[link.src].push_back(link.id);
        linksInto_[link.dst].push_back(link.id);
    }
    std::iota(byDegree_.begin(), byDegree_.end(), 0);
    std::ranges::stable_sort(byDegree_, std::ranges::greater(),
                             [this](int node) { return linksFrom_[node].size(); });
}

void Reach::setDown(const std::vector<int>& links, const std::vector<int>& nodes) {
    std::ranges::fill(linkDown_, 0);
    std::ranges::fill(nodeDown_, 0);
    for (int link : links) linkDown_[link] = 1;
    for (int node : nodes) nodeDown_[node] = 1;
    fromHub_.clear();
    toHub_.clear();
}

std::vector<char> Reach::reached(int node, bool backwards) const {
    const auto& linksAt = backwards ? linksInto_ : linksFrom_;
    std::vector<char> isReached(network_.nodes.size(), 0);
    isReached[node] = 1;
    std::vector<int> found = {node};
    for (std::size_t next = 0; next < found.size(); next++)
        for (int link : linksAt[found[next]]) {
            const int end =
                backwards ? network_.links[link].src : network_.links[link].dst;
            if (linkDown_[link] || nodeDown_[end] || isReached[end]) continue;
            isReached[end] = 1;
            found.push_back(end);
        }
    return isReached;
}

bool Reach::joins(int src, int dst) {
    if (nodeDown_[src] || nodeDown_[dst]) return false;
    if (fromHub_.empty()) {
        const auto hub = std::ranges::find_if(
            byDegree_, [this](int node) { return !nodeDown_[node]; });
        fromHub_ = reached(*hub, false);
        toHub_ = reached(*hub, true);
    }
    return (toHub_[src] && fromHub_[dst]) || reached(src, false)[dst] != 0;
}

}  // namespace workbench
