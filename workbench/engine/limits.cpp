// Limits of single demands, which the library does not know.
#include <fmt/format.h>

#include <algorithm>
#include <set>

#include "computation/computation.h"
#include "database/database.h"
#include "engine/convert.h"
#include "engine/engine.h"
#include "graph/shortest.h"
#include "predicate/predicate.h"

namespace workbench {

std::string Engine::brokenLimit(const Request& request,
                                const std::vector<int>& path) const {
    const int hops = static_cast<int>(path.size()) - 1;
    if (request.maxHops > 0 && hops > request.maxHops)
        return fmt::format("its path has {} links, at most {} are allowed", hops,
                           request.maxHops);
    if (request.maxDelay <= 0.0) return {};
    double delay = 0.0;
    for (int hop = 0; hop < hops; hop++)
        delay +=
            network_.links[linkBetween(path[hop], path[hop + 1])].delay.value_or(0.0);
    if (delay <= request.maxDelay) return {};
    return fmt::format("its path has a delay of {:.6g}, at most {:.6g} is allowed", delay,
                       request.maxDelay);
}

// Up to where a backup leaves its primary, over it, and on from where it comes back.
static std::vector<int> wayOver(const PlanLsp& primary, const PlanLsp& backup) {
    const std::vector<int>& path = primary.path;
    const auto head = std::ranges::find(path, backup.path.front());
    const auto tail = std::find(head, path.end(), backup.path.back());
    std::vector<int> way(path.begin(), head);
    way.insert(way.end(), backup.path.begin(), backup.path.end());
    way.insert(way.end(), tail + 1, path.end());
    return way;
}

std::vector<std::string> Engine::beyond(int primary, const PathLimits& limits) const {
    std::set<std::string> broken;
    const PlanLsp& lsp = lsps_.at(primary);
    for (int id : backupsOf(primary)) {
        const PlanLsp& backup = lsps_.at(id);
        const std::vector<int> way = wayOver(lsp, backup);
        if (!brokenLimit({.maxDelay = limits.maxDelay}, way).empty())
            broken.insert("delay");
        if (!brokenLimit({.maxHops = limits.maxHops}, way).empty()) broken.insert("hops");
        for (int link : survival_.linksOf(backup.path))
            if ((network_.links[link].colour & limits.avoid) != 0)
                broken.insert("colours");
    }
    return {broken.begin(), broken.end()};
}

Path Engine::pathWithinLimits(const Request& request, const std::string& broken) const {
    ScopedRequest asked;
    lspRequestInit(&asked);
    fill(&asked, request);
    std::vector<double> delays;
    double gain[kClasses] = {};
    for (const Link& link : network_.links) {
        DBLinkState* state = DBgetLinkState(centralDB, link.src, link.dst);
        const bool hasRoom =
            isValidRequestLink(centralDB, link.src, link.dst, state, &asked, gain);
        delays.push_back(hasRoom ? link.delay.value_or(0.0) : kNoWay);
    }
    const std::vector<int> path =
        shortestPath(network_, delays, request.src, request.dst, request.maxHops);
    if (path.empty() || !brokenLimit(request, path).empty())
        return {.found = false, .nodes = {}, .score = 0.0, .reason = broken};
    return {.found = true, .nodes = path, .score = 0.0};
}

}  // namespace workbench
