#include "graph/shortest.h"

#include <algorithm>
#include <queue>
#include <tuple>

namespace workbench {

ShortestPaths::ShortestPaths(const Network& network)
    : network_(network), out_(network.nodes.size()), lengths_(metricsOf(network)) {
    for (const Link& link : network.links) out_[link.src].push_back(link.id);
}

const ShortestPaths::Tree& ShortestPaths::treeFrom(int src) {
    const auto [found, isNew] = trees_.try_emplace(src);
    Tree& tree = found->second;
    if (!isNew) return tree;
    tree = {std::vector<double>(out_.size(), kNoWay), std::vector<int>(out_.size(), -1)};
    using Entry = std::tuple<double, int, int>;  // length, links, node
    std::vector<int> hops(out_.size(), 0);
    std::priority_queue<Entry, std::vector<Entry>, std::greater<>> queue;
    tree.lengths[src] = 0.0;
    queue.emplace(0.0, 0, src);
    while (!queue.empty()) {
        const auto [length, links, node] = queue.top();
        queue.pop();
        if (length > tree.lengths[node] || links > hops[node]) continue;
        for (const int id : out_[node]) {
            const int next = network_.links[id].dst;
            const std::pair further(length + lengths_[id], links + 1);
            if (further.first == kNoWay || next == src ||
                further >= std::pair(tree.lengths[next],
                                     tree.last[next] < 0 ? links + 2 : hops[next]))
                continue;
            std::tie(tree.lengths[next], hops[next]) = further;
            tree.last[next] = id;
            queue.emplace(further.first, further.second, next);
        }
    }
    return tree;
}

std::vector<int> ShortestPaths::links(int src, int dst) {
    const Tree& tree = treeFrom(src);
    std::vector<int> links;
    for (int at = dst; tree.last[at] >= 0; at = network_.links[links.back()].src)
        links.push_back(tree.last[at]);
    std::ranges::reverse(links);
    return links;
}

double ShortestPaths::lengthOf(const std::vector<int>& path) const {
    double length = 0.0;
    for (std::size_t i = 0; i + 1 < path.size(); i++) {
        const auto link = std::ranges::find_if(
            out_[path[i]], [&](int id) { return network_.links[id].dst == path[i + 1]; });
        length += link == out_[path[i]].end() ? kNoWay : lengths_[*link];
    }
    return length;
}

double ShortestPaths::against(int src, int dst, double length) {
    const double shortest = treeFrom(src).lengths[dst];
    return shortest > 0.0 ? length / shortest : 1.0;
}

double ShortestPaths::stretch(const std::vector<int>& path) {
    if (path.empty()) return 1.0;
    return against(path.front(), path.back(), lengthOf(path));
}

double ShortestPaths::stretchOver(const std::vector<int>& links) {
    double length = 0.0;
    for (const int link : links) length += lengths_[link];
    return against(network_.links[links.front()].src, network_.links[links.back()].dst,
                   length);
}

std::vector<double> metricsOf(const Network& network) {
    std::vector<double> lengths;
    for (const Link& link : network.links) lengths.push_back(link.metric.value_or(1.0));
    return lengths;
}

// Round after round one link more: the best of at most so many links.
std::vector<int> shortestPath(const Network& network, const std::vector<double>& lengths,
                              int src, int dst, int maxHops) {
    const int nodes = static_cast<int>(network.nodes.size());
    const int rounds = maxHops > 0 ? std::min(maxHops, nodes - 1) : nodes - 1;
    std::vector<double> best(network.nodes.size(), kNoWay);
    best[src] = 0.0;
    std::vector<std::vector<int>> last;  // by round and node: link, -1 if no better
    for (bool better = true; better && std::ssize(last) < rounds;) {
        better = false;
        std::vector<double> next = best;
        last.emplace_back(network.nodes.size(), -1);
        for (const Link& link : network.links)
            if (const double length = best[link.src] + lengths[link.id];
                length < next[link.dst]) {
                next[link.dst] = length;
                last.back()[link.dst] = link.id;
                better = true;
            }
        best = std::move(next);
    }
    if (best[dst] == kNoWay) return {};
    std::vector<int> path = {dst};
    for (int round = static_cast<int>(last.size()) - 1; round >= 0; round--)
        if (const int id = last[round][path.back()]; id >= 0)
            path.push_back(network.links[id].src);
    std::ranges::reverse(path);
    return path;
}

void Stretch::add(int lsp, double stretch) {
    total += stretch;
    lsps++;
    if (longest >= 0 && stretch <= maximum) return;
    maximum = stretch;
    longest = lsp;
}

void Stretch::add(const Stretch& more) {
    total += more.total;
    lsps += more.lsps;
    if (more.longest < 0 || (longest >= 0 && more.maximum <= maximum)) return;
    maximum = more.maximum;
    longest = more.longest;
}

std::vector<double> stretches(const Plan& plan) {
    ShortestPaths shortest(plan.network);
    std::vector<double> result;
    for (const PlanLsp& lsp : plan.lsps) result.push_back(shortest.stretch(lsp.path));
    return result;
}

Baseline baselineOf(const Plan& plan) {
    const Network& network = plan.network;
    ShortestPaths shortest(network);
    std::vector<double> loads(network.links.size(), 0.0);
    Baseline baseline;
    for (const PlanDemand& demand : plan.demands) {
        const std::vector<int> links = shortest.links(demand.src, demand.dst);
        for (const int link : links) loads[link] += demand.bandwidth;
        if (!links.empty()) baseline.carried += demand.bandwidth;
    }
    std::vector<double> shares;
    double most = 0.0;
    for (const Link& link : network.links) {
        if (loads[link.id] > link.capacity * (1.0 + 1e-9)) baseline.overloaded++;
        if (link.capacity <= 0.0) continue;
        shares.push_back(loads[link.id] / link.capacity);
        if (shares.back() <= most) continue;
        most = shares.back();
        baseline.fullest = link.id;
    }
    baseline.shares = sharesOf(std::move(shares));
    return baseline;
}

}  // namespace workbench
