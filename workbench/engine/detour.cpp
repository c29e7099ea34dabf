#include "engine/detour.h"

#include <algorithm>
#include <queue>
#include <tuple>

#include "audit/audit.h"
#include "graph/shortest.h"

namespace workbench {

namespace {

bool contains(const std::vector<int>& values, int value) {
    return std::ranges::find(values, value) != values.end();
}

std::vector<std::vector<int>> linksFrom(const Network& network) {
    std::vector<std::vector<int>> from(network.nodes.size());
    for (const Link& link : network.links) from[link.src].push_back(link.id);
    return from;
}

void forbid(const Network& network, const FailureSet& set, std::vector<char>* forbidden) {
    for (int link : set.links) (*forbidden)[link] = 1;
    for (const Link& link : network.links)
        if (contains(set.nodes, link.src) || contains(set.nodes, link.dst))
            (*forbidden)[link.id] = 1;
}

// What a backup of a hop, or of all of them, has to do, with only its own links avoided.
struct Task {
    Wish wish;
    std::vector<int> toAvoid;  // failures, the more likely kinds first
};

Task taskOf(const Network& network, const Survival& survival, const PlanLsp& primary,
            int hop) {
    const std::vector<int> links = survival.linksOf(primary.path);
    const std::size_t first = hop < 0 ? 0 : static_cast<std::size_t>(hop);
    const std::size_t end = hop < 0 ? links.size() : first + 1;
    Task task;
    task.wish.src = primary.path[first];
    task.wish.goals.assign(hop < 0
                               ? primary.path.end() - 1
                               : primary.path.begin() + static_cast<std::ptrdiff_t>(end),
                           primary.path.end());
    task.wish.trafficClass = primary.trafficClass;
    task.wish.bandwidth = primary.bandwidth;
    task.wish.forbidden.assign(network.links.size(), 0);
    const std::vector<int> guarded(links.begin() + static_cast<std::ptrdiff_t>(first),
                                   links.begin() + static_cast<std::ptrdiff_t>(end));
    for (int link : guarded) task.wish.forbidden[link] = 1;
    task.wish.failures = survival.failuresOf(guarded);
    // What takes an end down cannot be survived, what takes the head down is not its
    // task.
    for (int failure : task.wish.failures) {
        const FailureSet& set = survival.failures()[failure];
        if (!contains(set.nodes, primary.path.front()) &&
            !contains(set.nodes, primary.path.back()) &&
            !contains(set.nodes, task.wish.src))
            task.toAvoid.push_back(failure);
    }
    return task;
}

}  // namespace

std::vector<int> findWay(const Network& network, const Survival& survival,
                         const Wish& wish, bool needsRoom) {
    using Entry = std::tuple<double, int, int>;  // length, in order of discovery, node
    const auto from = linksFrom(network);
    const auto lengthOf = [&](int link) {
        return wish.byDelay ? network.links[link].delay.value_or(0.0) : 1.0;
    };
    const auto hasRoom = [&](int link) {
        const double room = wish.failures.empty()
                                ? survival.room(link, wish.trafficClass)
                                : survival.room(link, wish.trafficClass, wish.failures);
        return room + kRounding * network.links[link].capacity >= wish.bandwidth;
    };
    std::vector<int> before(network.nodes.size(), -1);
    std::vector<double> lengths(network.nodes.size(), kNoWay);
    std::priority_queue<Entry, std::vector<Entry>, std::greater<>> todo;
    int found = 0;
    todo.emplace(0.0, found, wish.src);
    lengths[wish.src] = 0.0;
    while (!todo.empty()) {
        const auto [length, order, node] = todo.top();
        todo.pop();
        if (length > lengths[node]) continue;
        if (contains(wish.goals, node)) {
            std::vector<int> path = {node};
            while (path.back() != wish.src) path.push_back(before[path.back()]);
            std::ranges::reverse(path);
            return path;
        }
        for (int link : from[node]) {
            const int next = network.links[link].dst;
            if (length + lengthOf(link) >= lengths[next] || wish.forbidden[link])
                continue;
            if (needsRoom && !hasRoom(link)) continue;
            lengths[next] = length + lengthOf(link);
            before[next] = node;
            todo.emplace(lengths[next], ++found, next);
        }
    }
    return {};
}

std::vector<int> backupPath(const Network& network, const Survival& survival,
                            const PlanLsp& primary, int hop,
                            const std::vector<int>& unwanted, bool byDelay) {
    Task task = taskOf(network, survival, primary, hop);
    task.wish.byDelay = byDelay;
    for (int link : unwanted) task.wish.forbidden[link] = 1;
    Wish all = task.wish;
    for (int failure : task.toAvoid)
        forbid(network, survival.failures()[failure], &all.forbidden);
    std::vector<int> path = findWay(network, survival, all, true);
    if (!path.empty()) return path;
    path = findWay(network, survival, task.wish, true);
    for (int failure : task.toAvoid) {
        if (path.empty()) break;
        Wish more = task.wish;
        forbid(network, survival.failures()[failure], &more.forbidden);
        if (const auto better = findWay(network, survival, more, true); !better.empty()) {
            path = better;
            task.wish = std::move(more);
        }
    }
    return path;
}

bool couldCover(const Network& network, const Survival& survival, const PlanLsp& primary,
                bool local, const std::vector<int>& exposures) {
    const int hops = static_cast<int>(primary.path.size()) - 1;
    for (int hop = local ? 0 : -1; hop < (local ? hops : 0); hop++) {
        const Task task = taskOf(network, survival, primary, hop);
        for (int failure : exposures) {
            if (!contains(task.toAvoid, failure)) continue;
            Wish wish = task.wish;
            forbid(network, survival.failures()[failure], &wish.forbidden);
            if (!findWay(network, survival, wish, false).empty()) return true;
        }
    }
    return false;
}

}  // namespace workbench
