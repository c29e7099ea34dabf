#include "audit/link_loads.h"

#include <algorithm>
#include <numeric>

namespace workbench {

static bool isFuller(const Load& a, const Load& b) {
    return b.link < 0 || a.share() > b.share();
}

bool isOverloaded(const Load& load) {
    return load.bandwidth > load.capacity * (1.0 + kRounding);
}

LinkLoads::LinkLoads(const Plan& plan, const Routes& routes)
    : nbClasses_(plan.configuration.classes.size()),
      load_(plan.network.links.size() * nbClasses_, 0.0),
      byShare_(load_.size()),
      isChanged_(load_.size(), 0) {
    for (std::size_t cell = 0; cell < load_.size(); cell++)
        capacity_.push_back(capacityOf(plan, static_cast<int>(cell / nbClasses_),
                                       static_cast<int>(cell % nbClasses_)));
    for (const Route& route : routes.all())
        if (route.lsp->kind == LspKind::PRIMARY) add(route.links, *route.lsp, 1.0);
    changes_.clear();
    std::ranges::fill(isChanged_, 0);
    std::iota(byShare_.begin(), byShare_.end(), std::size_t{0});
    std::ranges::stable_sort(byShare_, [this](std::size_t a, std::size_t b) {
        return loadOf(a).share() > loadOf(b).share();
    });
}

Load LinkLoads::loadOf(std::size_t cell) const {
    return {static_cast<int>(cell / nbClasses_), static_cast<int>(cell % nbClasses_),
            load_[cell], capacity_[cell]};
}

void LinkLoads::add(const std::vector<int>& links, const PlanLsp& lsp, double sign) {
    const double bandwidth = sign * lsp.bandwidth;
    for (const int link : links) {
        const std::size_t cell = link * nbClasses_ + lsp.trafficClass;
        if (!isChanged_[cell]) {
            isChanged_[cell] = 1;
            changes_.push_back({cell, load_[cell]});
        }
        load_[cell] += bandwidth;
    }
}

void LinkLoads::putBack() {
    for (const Change& change : changes_) {
        load_[change.cell] = change.before;
        isChanged_[change.cell] = 0;
    }
    changes_.clear();
}

// Among equal ones the first that has changed.
Load LinkLoads::fullest() const {
    Load most;
    for (const Change& change : changes_)
        if (const Load load = loadOf(change.cell); isFuller(load, most)) most = load;
    const auto still = std::ranges::find_if(
        byShare_, [this](std::size_t cell) { return !isChanged_[cell]; });
    if (still != byShare_.end() && isFuller(loadOf(*still), most)) most = loadOf(*still);
    return most;
}

std::vector<Load> LinkLoads::overloads() const {
    std::vector<Load> over;
    for (std::size_t cell = 0; cell < load_.size(); cell++)
        if (isOverloaded(loadOf(cell))) over.push_back(loadOf(cell));
    return over;
}

std::vector<Load> LinkLoads::changedOverloads() const {
    std::vector<Load> over;
    for (const Change& change : changes_)
        if (isOverloaded(loadOf(change.cell))) over.push_back(loadOf(change.cell));
    std::ranges::sort(over, {}, [](const Load& load) {
        return std::pair(load.link, load.trafficClass);
    });
    return over;
}

}  // namespace workbench
