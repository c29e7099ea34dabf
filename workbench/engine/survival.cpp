#include "engine/survival.h"

#include <algorithm>

#include "audit/audit.h"
#include "audit/failure_sets.h"

namespace workbench {

namespace {

// What is less than this part of a capacity comes from adding and taking off again.
constexpr double kNothing = 1e-12;

}  // namespace

Survival::Survival(const Plan& plan)
    : network_(plan.network),
      nbClasses_(plan.configuration.classes.size()),
      onLink_(plan.network.links.size()),
      load_(plan.network.links.size() * nbClasses_, 0.0),
      more_(load_.size()),
      outage_(plan.network) {
    for (const Link& link : network_.links) {
        linkOf_[link.src * std::ssize(network_.nodes) + link.dst] = link.id;
        for (std::size_t oa = 0; oa < nbClasses_; oa++)
            capacity_.push_back(capacityOf(plan, link.id, static_cast<int>(oa)));
    }
    if (plan.configuration.protection == Protection::NONE) return;
    failures_ = survivedFailures(plan);
    for (int i = 0; i < std::ssize(failures_); i++) {
        outage_.begin(failures_[i]);
        for (int link : outage_.links())
            if (onLink_[link].empty() || onLink_[link].back() != i)
                onLink_[link].push_back(i);
        outage_.end();
    }
}

std::size_t Survival::cellOf(int link, int trafficClass) const {
    return static_cast<std::size_t>(link) * nbClasses_ +
           static_cast<std::size_t>(trafficClass);
}

int Survival::linkBetween(int src, int dst) const {
    const auto at = linkOf_.find(src * std::ssize(network_.nodes) + dst);
    return at == linkOf_.end() ? -1 : at->second;
}

std::vector<int> Survival::linksOf(const std::vector<int>& path) const {
    std::vector<int> links;
    for (std::size_t i = 0; i + 1 < path.size(); i++)
        links.push_back(linkBetween(path[i], path[i + 1]));
    return links;
}

std::vector<int> Survival::failuresOf(const std::vector<int>& links) const {
    std::vector<int> all;
    for (int link : links)
        all.insert(all.end(), onLink_[link].begin(), onLink_[link].end());
    std::ranges::sort(all);
    all.erase(std::unique(all.begin(), all.end()), all.end());
    return all;
}

void Survival::addFailure(int failure, const Route& route, Record* record) {
    outage_.begin(failures_[failure]);
    const Switchover to = switchOver(route, outage_);
    outage_.end();
    if (!to.restored && !to.endsHere) record->exposures.push_back(failure);
    // Only what changes, so that it comes out as nothing where the traffic stays.
    std::vector<std::pair<int, int>> changes;  // link, times
    for (int link : route.links) changes.push_back({link, -1});
    if (to.restored)
        for (int link : to.links) changes.push_back({link, 1});
    std::ranges::sort(changes);
    for (std::size_t i = 0; i < changes.size();) {
        int times = 0;
        std::size_t end = i;
        for (; end < changes.size() && changes[end].first == changes[i].first; end++)
            times += changes[end].second;
        if (times != 0)
            record->parts.push_back({failure,
                                     cellOf(changes[i].first, route.lsp->trafficClass),
                                     times * route.lsp->bandwidth});
        i = end;
    }
}

void Survival::apply(const Record& record, double sign) {
    for (const Part& part : record.parts) {
        if (part.failure < 0) {
            load_[part.cell] += sign * part.bandwidth;
            continue;
        }
        auto& more = more_[part.cell];
        const double sum = more[part.failure] += sign * part.bandwidth;
        if (std::abs(sum) <= kNothing * capacity_[part.cell]) more.erase(part.failure);
    }
}

void Survival::set(const PlanLsp& primary, const std::vector<PlanLsp>& backups) {
    remove(primary.id);
    std::vector<Route> spares;
    for (const PlanLsp& backup : backups)
        spares.push_back({.lsp = &backup,
                          .links = linksOf(backup.path),
                          .backups = {},
                          .guarded = backup.protectedLinks});
    Route route = {
        .lsp = &primary, .links = linksOf(primary.path), .backups = {}, .guarded = {}};
    for (const Route& spare : spares) route.backups.push_back(&spare);
    Record& record = records_[primary.id];
    for (int link : route.links)
        record.parts.push_back(
            {-1, cellOf(link, primary.trafficClass), primary.bandwidth});
    for (int failure : failuresOf(route.links)) addFailure(failure, route, &record);
    apply(record, 1.0);
}

void Survival::remove(int primary) {
    const auto at = records_.find(primary);
    if (at == records_.end()) return;
    apply(at->second, -1.0);
    records_.erase(at);
}

double Survival::worst(std::size_t cell, int* failure) const {
    double most = 0.0;
    *failure = -1;
    for (const auto& [number, bandwidth] : more_[cell])
        if (bandwidth > most) {
            most = bandwidth;
            *failure = number;
        }
    return load_[cell] + most;
}

std::optional<Survival::Overload> Survival::overloadBy(int primary) const {
    for (const Part& part : records_.at(primary).parts) {
        int failure = -1;
        if (part.bandwidth > 0.0 &&
            worst(part.cell, &failure) > capacity_[part.cell] * (1.0 + kRounding))
            return Overload{.link = static_cast<int>(part.cell / nbClasses_),
                            .failure = failure < 0 ? "" : failures_[failure].name};
    }
    return std::nullopt;
}

std::vector<int> Survival::exposures(int primary) const {
    return records_.at(primary).exposures;
}

double Survival::room(int link, int trafficClass,
                      const std::vector<int>& failures) const {
    const std::size_t cell = cellOf(link, trafficClass);
    double most = 0.0;
    for (int failure : failures)
        if (const auto at = more_[cell].find(failure); at != more_[cell].end())
            most = std::max(most, at->second);
    return capacity_[cell] - load_[cell] - most;
}

double Survival::room(int link, int trafficClass) const {
    int failure = -1;
    const std::size_t cell = cellOf(link, trafficClass);
    return capacity_[cell] - worst(cell, &failure);
}

}  // namespace workbench
