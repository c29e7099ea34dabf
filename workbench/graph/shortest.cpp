#include "graph/shortest.h"

#include <algorithm>
#include <map>
#include <queue>

namespace workbench {

namespace {

using Links = std::vector<std::vector<int>>;  // out of every node

Links linksOut(const Network& network) {
    Links out(network.nodes.size());
    for (const Link& link : network.links) out[link.src].push_back(link.id);
    return out;
}

// Last link of the shortest path to every node, -1 where there is none.
struct Tree {
    std::vector<double> lengths;
    std::vector<int> last;
};

Tree shortestTree(const Network& network, const Links& out,
                  const std::vector<double>& lengths, int src) {
    using Entry = std::tuple<double, int, int>;  // length, links, node
    Tree tree{std::vector<double>(out.size(), kNoWay), std::vector<int>(out.size(), -1)};
    std::vector<int> hops(out.size(), 0);
    std::priority_queue<Entry, std::vector<Entry>, std::greater<>> queue;
    tree.lengths[src] = 0.0;
    queue.emplace(0.0, 0, src);
    while (!queue.empty()) {
        const auto [length, links, node] = queue.top();
        queue.pop();
        if (length > tree.lengths[node] || links > hops[node]) continue;
        for (const int id : out[node]) {
            const int next = network.links[id].dst;
            const std::pair found(length + lengths[id], links + 1);
            if (found.first == kNoWay || next == src ||
                found >= std::pair(tree.lengths[next],
                                   tree.last[next] < 0 ? links + 2 : hops[next]))
                continue;
            std::tie(tree.lengths[next], hops[next]) = found;
            tree.last[next] = id;
            queue.emplace(found.first, found.second, next);
        }
    }
    return tree;
}

int linkBetween(const Network& network, const Links& out, int src, int dst) {
    for (const int id : out[src])
        if (network.links[id].dst == dst) return id;
    return -1;
}

}  // namespace

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

std::vector<double> stretches(const Plan& plan) {
    const Links out = linksOut(plan.network);
    const std::vector<double> lengths = metricsOf(plan.network);
    std::map<int, Tree> trees;  // by source
    std::vector<double> result;
    for (const PlanLsp& lsp : plan.lsps) {
        double length = 0.0;
        for (std::size_t i = 0; i + 1 < lsp.path.size(); i++) {
            const int link = linkBetween(plan.network, out, lsp.path[i], lsp.path[i + 1]);
            length += link < 0 ? kNoWay : lengths[link];
        }
        double shortest = 0.0;
        if (!lsp.path.empty()) {
            const int src = lsp.path.front();
            if (!trees.contains(src))
                trees[src] = shortestTree(plan.network, out, lengths, src);
            shortest = trees[src].lengths[lsp.path.back()];
        }
        result.push_back(shortest > 0.0 ? length / shortest : 1.0);
    }
    return result;
}

Baseline baselineOf(const Plan& plan) {
    const Network& network = plan.network;
    const Links out = linksOut(network);
    const std::vector<double> lengths = metricsOf(network);
    std::map<int, Tree> trees;
    std::vector<double> loads(network.links.size(), 0.0);
    Baseline baseline;
    for (const PlanDemand& demand : plan.demands) {
        if (!trees.contains(demand.src))
            trees[demand.src] = shortestTree(network, out, lengths, demand.src);
        const Tree& tree = trees[demand.src];
        if (tree.last[demand.dst] < 0) continue;
        baseline.carried += demand.bandwidth;
        for (int at = demand.dst; at != demand.src;) {
            const Link& link = network.links[tree.last[at]];
            loads[link.id] += demand.bandwidth;
            at = link.src;
        }
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
