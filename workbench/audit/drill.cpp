#include "audit/drill.h"

#include <algorithm>
#include <numeric>

namespace workbench {

namespace {

bool isOverloaded(const Load& load) {
    return load.bandwidth > load.capacity * (1.0 + kRounding);
}

bool isFuller(const Load& a, const Load& b) {
    return b.link < 0 || a.share() > b.share();
}

}  // namespace

Drill::Drill(const Plan& plan, const Routes& routes)
    : plan_(plan),
      routes_(routes),
      nbClasses_(plan.configuration.classes.size()),
      outage_(plan.network),
      shortest_(plan.network),
      claimed_(plan.configuration.survive.begin(), plan.configuration.survive.end()),
      load_(plan.network.links.size() * nbClasses_, 0.0),
      byShare_(load_.size()),
      isChanged_(load_.size(), 0) {
    claimed_.insert(FailureKind::LINK);
    for (const Route& route : routes.all())
        if (route.lsp->kind == LspKind::PRIMARY) add(route.links, *route.lsp, 1.0);
    changes_.clear();
    std::ranges::fill(isChanged_, 0);
    std::iota(byShare_.begin(), byShare_.end(), std::size_t{0});
    std::ranges::stable_sort(byShare_, [this](std::size_t a, std::size_t b) {
        return loadOf(a).share() > loadOf(b).share();
    });
    for (std::size_t cell = 0; cell < load_.size(); cell++)
        worst_.push_back({.load = loadOf(cell), .failure = -1});
}

Load Drill::loadOf(std::size_t cell) const {
    const auto link = static_cast<int>(cell / nbClasses_);
    const auto oa = static_cast<int>(cell % nbClasses_);
    return {link, oa, load_[cell], capacityOf(plan_, link, oa)};
}

void Drill::addTo(std::size_t cell, double bandwidth) {
    if (!isChanged_[cell]) {
        isChanged_[cell] = 1;
        changes_.push_back({cell, load_[cell]});
    }
    load_[cell] += bandwidth;
}

void Drill::add(const std::vector<int>& links, const PlanLsp& lsp, double sign) {
    for (int link : links)
        addTo(link * nbClasses_ + lsp.trafficClass, sign * lsp.bandwidth);
}

void Drill::putBack() {
    for (const Change& change : changes_) {
        load_[change.cell] = change.before;
        isChanged_[change.cell] = 0;
    }
    changes_.clear();
}

Load Drill::fullest() const {
    return byShare_.empty() ? Load() : loadOf(byShare_.front());
}

std::vector<Load> Drill::overloads() const {
    std::vector<Load> over;
    for (std::size_t cell = 0; cell < load_.size(); cell++)
        if (isOverloaded(loadOf(cell))) over.push_back(loadOf(cell));
    return over;
}

std::vector<const Route*> Drill::hitBy(const FailureSet& set) const {
    std::vector<const Route*> hit;
    for (int link : set.links)
        hit.insert(hit.end(), routes_.onLink(link).begin(), routes_.onLink(link).end());
    for (int node : set.nodes)
        hit.insert(hit.end(), routes_.atNode(node).begin(), routes_.atNode(node).end());
    std::ranges::sort(hit, {}, [](const Route* route) { return route->lsp->id; });
    hit.erase(std::unique(hit.begin(), hit.end()), hit.end());
    return hit;
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
        add(to.links, lsp, 1.0);
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
    for (const Route* route : hitBy(set)) {
        failure.hit.push_back(route->lsp->id);
        add(route->links, *route->lsp, -1.0);
        reroute(*route, &failure);
    }
    outage_.end();
    judge(&failure);
    putBack();
    nbFailures_++;
    return failure;
}

void Drill::judge(Failure* failure) {
    for (const Change& change : changes_) {
        const Load load = loadOf(change.cell);
        if (isFuller(load, failure->fullest)) failure->fullest = load;
        if (isOverloaded(load)) failure->overloads.push_back(load);
        if (load.bandwidth > worst_[change.cell].load.bandwidth)
            worst_[change.cell] = {.load = load, .failure = nbFailures_};
    }
    const auto still = std::ranges::find_if(
        byShare_, [this](std::size_t cell) { return !isChanged_[cell]; });
    if (still != byShare_.end() && isFuller(loadOf(*still), failure->fullest))
        failure->fullest = loadOf(*still);
    std::ranges::sort(failure->overloads, {}, [](const Load& load) {
        return std::pair(load.link, load.trafficClass);
    });
}

}  // namespace workbench
