#include "audit/drill.h"

#include <algorithm>
#include <numeric>

namespace workbench {

namespace {

bool contains(const std::vector<int>& values, int value) {
    return std::ranges::find(values, value) != values.end();
}

bool names(const PlanLsp& backup, const Failure& failure) {
    return contains(failure.isNode ? backup.protectedNodes : backup.protectedLinks,
                    failure.id);
}

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
      load_(plan.network.links.size() * nbClasses_, 0.0),
      byShare_(load_.size()),
      isChanged_(load_.size(), 0),
      isPromised_(plan.demands.size(), 0) {
    for (const Route& route : routes.all())
        if (route.lsp->kind == LspKind::PRIMARY) add(route.links, *route.lsp, 1.0);
    changes_.clear();
    std::ranges::fill(isChanged_, 0);
    std::iota(byShare_.begin(), byShare_.end(), std::size_t{0});
    std::ranges::stable_sort(byShare_, [this](std::size_t a, std::size_t b) {
        return loadOf(a).share() > loadOf(b).share();
    });
    for (std::size_t i = 0; i < plan.demands.size(); i++)
        isPromised_[i] = plan.configuration.protection != Protection::NONE &&
                         plan.demands[i].unprotected.empty();
}

Load Drill::loadOf(std::size_t cell) const {
    const auto link = static_cast<int>(cell / nbClasses_);
    const auto oa = static_cast<int>(cell % nbClasses_);
    return {link, oa, load_[cell],
            plan_.network.links[link].capacity *
                plan_.configuration.classes[oa].capacityShare};
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

bool Drill::isDown(int link, const Failure& failure) const {
    if (!failure.isNode) return link == failure.id;
    const Link& ends = plan_.network.links[link];
    return ends.src == failure.id || ends.dst == failure.id;
}

// The primary up to the backup's head, the backup, and the primary from where it ends.
std::vector<int> Drill::detour(const Route& route, const Route& backup) const {
    const std::vector<int>& nodes = route.lsp->path;
    const auto head = std::ranges::find(nodes, backup.lsp->path.front());
    const auto merge = std::find(head, nodes.end(), backup.lsp->path.back());
    std::vector<int> links(route.links.begin(),
                           route.links.begin() + (head - nodes.begin()));
    links.insert(links.end(), backup.links.begin(), backup.links.end());
    links.insert(links.end(), route.links.begin() + (merge - nodes.begin()),
                 route.links.end());
    return links;
}

void Drill::reroute(const Route& route, Failure* failure) {
    const PlanLsp& lsp = *route.lsp;
    if (failure->isNode &&
        (lsp.path.front() == failure->id || lsp.path.back() == failure->id)) {
        failure->lost.push_back(
            {lsp.id, LossCause::ENDS_HERE, "ends at the failed node"});
        return;
    }
    bool promised = !failure->isNode && isPromised_[lsp.demand];
    std::string reason = plan_.demands[lsp.demand].unprotected;
    for (const Route* backup : route.backups) {
        if (!names(*backup->lsp, *failure)) continue;
        promised = true;
        const std::vector<int> links = detour(route, *backup);
        if (std::ranges::any_of(links, [&](int l) { return isDown(l, *failure); })) {
            reason = "backup " + std::to_string(backup->lsp->id) + " has failed too";
            continue;
        }
        failure->restored.push_back({lsp.id, backup->lsp->id});
        add(links, lsp, 1.0);
        return;
    }
    if (reason.empty())
        reason = route.backups.empty() ? "has no backup"
                 : failure->isNode     ? "its backup protects the link only"
                                       : "no backup is there for this link";
    failure->lost.push_back(
        {lsp.id, promised ? LossCause::BROKEN : LossCause::UNPROTECTED, reason});
}

void Drill::fail(const std::vector<const Route*>& hit, Failure* failure) {
    for (const Route* route : hit) {
        failure->hit.push_back(route->lsp->id);
        add(route->links, *route->lsp, -1.0);
        reroute(*route, failure);
    }
    judge(failure);
    putBack();
}

void Drill::judge(Failure* failure) const {
    for (const Change& change : changes_) {
        const Load load = loadOf(change.cell);
        if (isFuller(load, failure->fullest)) failure->fullest = load;
        if (isOverloaded(load)) failure->overloads.push_back(load);
    }
    const auto still = std::ranges::find_if(
        byShare_, [this](std::size_t cell) { return !isChanged_[cell]; });
    if (still != byShare_.end() && isFuller(loadOf(*still), failure->fullest))
        failure->fullest = loadOf(*still);
    std::ranges::sort(failure->overloads, {}, [](const Load& load) {
        return std::pair(load.link, load.trafficClass);
    });
}

Failure Drill::failLink(int link) {
    Failure failure;
    failure.id = link;
    fail(routes_.onLink(link), &failure);
    return failure;
}

Failure Drill::failNode(int node) {
    Failure failure;
    failure.isNode = true;
    failure.id = node;
    fail(routes_.atNode(node), &failure);
    return failure;
}

}  // namespace workbench
