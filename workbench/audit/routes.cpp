#include "audit/routes.h"

#include <algorithm>

namespace workbench {

Routes::Routes(const Plan& plan, std::vector<std::string>* problems)
    : nbNodes_(std::ssize(plan.network.nodes)) {
    for (std::size_t i = 0; i < plan.network.links.size(); i++) {
        const Link& link = plan.network.links[i];
        linkOf_[link.src * nbNodes_ + link.dst] = static_cast<int>(i);
    }
    routes_.reserve(plan.lsps.size());
    for (const PlanLsp& lsp : plan.lsps)
        if (const std::string problem = addRoute(plan, lsp); !problem.empty())
            problems->push_back("LSP " + std::to_string(lsp.id) + " " + problem);
    for (const PlanDemand& demand : plan.demands)
        if (demand.lsp >= 0 && find(demand.lsp) == nullptr)
            problems->push_back("LSP " + std::to_string(demand.lsp) + " of demand " +
                                demand.name + " is not there");
    index(plan);
}

int Routes::linkBetween(int src, int dst) const {
    const auto at = linkOf_.find(src * nbNodes_ + dst);
    return at == linkOf_.end() ? -1 : at->second;
}

std::vector<int> Routes::linksOf(const std::vector<int>& path) const {
    std::vector<int> links;
    for (std::size_t i = 0; i + 1 < path.size(); i++)
        links.push_back(linkBetween(path[i], path[i + 1]));
    return links;
}

const Route* Routes::find(int lsp) const {
    const auto at = position_.find(lsp);
    return at == position_.end() ? nullptr : &routes_[at->second];
}

std::string Routes::addRoute(const Plan& plan, const PlanLsp& lsp) {
    if (position_.contains(lsp.id)) return "is there twice";
    if (lsp.path.empty()) return "has no path";
    Route route;
    route.lsp = &lsp;
    for (std::size_t i = 0; i + 1 < lsp.path.size(); i++) {
        route.links.push_back(linkBetween(lsp.path[i], lsp.path[i + 1]));
        if (route.links.back() < 0)
            return "takes a link from " + plan.network.nodes[lsp.path[i]].name + " to " +
                   plan.network.nodes[lsp.path[i + 1]].name + " that is not there";
    }
    const PlanDemand& demand = plan.demands[lsp.demand];
    if (lsp.kind == LspKind::PRIMARY) {
        if (demand.lsp != lsp.id) return "is not the one that its demand names";
        if (lsp.path.front() != demand.src || lsp.path.back() != demand.dst)
            return "does not join the ends of its demand";
        if (lsp.bandwidth != demand.bandwidth || lsp.level != demand.level)
            return "has not the bandwidth and level of its demand";
    } else if (const std::string problem = checkBackup(&route); !problem.empty()) {
        return problem;
    }
    if (lsp.trafficClass != demand.trafficClass) return "has not its demand's class";
    position_[lsp.id] = routes_.size();
    routes_.push_back(std::move(route));
    return {};
}

// A local backup is there for the link behind its head, a global one for all from there.
std::string Routes::checkBackup(Route* backup) const {
    const PlanLsp& lsp = *backup->lsp;
    const Route* primary = find(lsp.primary);
    if (primary == nullptr || primary->lsp->kind != LspKind::PRIMARY)
        return "has no primary before it";
    const PlanLsp& prim = *primary->lsp;
    if (lsp.bandwidth != prim.bandwidth) return "has not the bandwidth of its primary";
    const auto head = std::ranges::find(prim.path, lsp.path.front());
    if (head == prim.path.end() || head + 1 == prim.path.end())
        return "does not start on its primary";
    if (std::find(head + 1, prim.path.end(), lsp.path.back()) == prim.path.end())
        return "does not come back to its primary";
    const bool local = lsp.kind == LspKind::LOCAL_BACKUP;
    if (!local && lsp.path.back() != prim.path.back())
        return "does not end where its primary ends";
    const auto first = primary->links.begin() + (head - prim.path.begin());
    backup->guarded.assign(first, local ? first + 1 : primary->links.end());
    if (backup->guarded != lsp.protectedLinks)
        return "does not start in front of the links that it protects";
    for (int node : lsp.protectedNodes)
        if (std::ranges::count(prim.path, node) == 0)
            return "protects a node that its primary does not cross";
    return {};
}

void Routes::index(const Plan& plan) {
    onLink_.resize(plan.network.links.size());
    atNode_.resize(plan.network.nodes.size());
    for (Route& route : routes_) {
        if (route.lsp->kind != LspKind::PRIMARY) {
            routes_[position_.at(route.lsp->primary)].backups.push_back(&route);
            continue;
        }
        for (int link : route.links) onLink_[link].push_back(&route);
        for (int node : route.lsp->path) atNode_[node].push_back(&route);
    }
}

}  // namespace workbench
