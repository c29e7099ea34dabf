#include "audit/drill.h"

#include <algorithm>

namespace workbench {

std::vector<const Route*> hitBy(const FailureSet& set, const Routes& routes) {
    std::vector<const Route*> hit;
    for (int link : set.links)
        hit.insert(hit.end(), routes.onLink(link).begin(), routes.onLink(link).end());
    for (int node : set.nodes)
        hit.insert(hit.end(), routes.atNode(node).begin(), routes.atNode(node).end());
    std::ranges::sort(hit, {}, [](const Route* route) { return route->lsp->id; });
    hit.erase(std::unique(hit.begin(), hit.end()), hit.end());
    return hit;
}

Drill::Drill(const Plan& plan, const Routes& routes)
    : plan_(plan),
      routes_(routes),
      outage_(plan.network),
      shortest_(plan.network),
      claimed_(plan.configuration.survive.begin(), plan.configuration.survive.end()),
      loads_(plan, routes) {
    claimed_.insert(FailureKind::LINK);
    for (std::size_t cell = 0; cell < loads_.size(); cell++)
        worst_.push_back({.load = loads_.loadOf(cell), .failure = -1});
}

LossCause Drill::causeOf(const PlanLsp& lsp, const Route& route,
                         const Failure& failure) const {
    const PlanDemand& demand = plan_.demands[lsp.demand];
    const bool promised = plan_.configuration.protection != Protection::NONE &&
                          demand.unprotected.empty() && failure.claimed &&
                          std::ranges::count(demand.exposed, failure.set.name) == 0;
    if (promised) return LossCause::BROKEN;
    return route.backups.empty() ? LossCause::UNPROTECTED : LossCause::NOT_COVERED;
}

void Drill::reroute(const Route& route, Failure* failure) {
    const PlanLsp& lsp = *route.lsp;
    Switchover to = switchOver(route, outage_);
    if (to.restored) {
        loads_.add(to.links, lsp, 1.0);
        failure->restored.push_back(
            {lsp.id, std::move(to.backups), shortest_.stretchOver(to.links)});
        return;
    }
    const LossCause cause =
        to.endsHere ? LossCause::ENDS_HERE : causeOf(lsp, route, *failure);
    if (cause == LossCause::UNPROTECTED && !plan_.demands[lsp.demand].unprotected.empty())
        to.reason = plan_.demands[lsp.demand].unprotected;
    (to.endsHere ? failure->bandwidthEndsHere : failure->bandwidthLost) += lsp.bandwidth;
    failure->lost.push_back({lsp.id, cause, std::move(to.reason)});
}

Failure Drill::fail(const FailureSet& set) {
    Failure failure;
    failure.set = set;
    failure.claimed = claimed_.contains(set.kind);
    outage_.begin(set);
    for (const Route* route : hitBy(set, routes_)) {
        failure.hit.push_back(route->lsp->id);
        loads_.add(route->links, *route->lsp, -1.0);
        reroute(*route, &failure);
    }
    outage_.end();
    judge(&failure);
    loads_.putBack();
    nbFailures_++;
    return failure;
}

void Drill::judge(Failure* failure) {
    loads_.forEachChanged([this](std::size_t cell) {
        const Load load = loads_.loadOf(cell);
        if (load.bandwidth > worst_[cell].load.bandwidth)
            worst_[cell] = {.load = load, .failure = nbFailures_};
    });
    failure->fullest = loads_.fullest();
    failure->overloads = loads_.changedOverloads();
}

}  // namespace workbench
