#include "engine/promises.h"

#include <algorithm>
#include <set>
#include <stdexcept>

#include "audit/audit.h"
#include "audit/failure_sets.h"
#include "audit/routes.h"

namespace workbench {

namespace {

class Correction {
  public:
    Correction(Plan* plan, const AuditResult& audit, TakenBack* takenBack)
        : plan_(plan), audit_(audit), takenBack_(takenBack), routes_(*plan, &problems_) {}

    // Whether there was something to take back.
    bool run() {
        const TakenBack before = *takenBack_;
        for (const Load& load : audit_.overloads) removeLsps(load);
        for (const Failure& failure : audit_.failures) {
            if (!failure.claimed) continue;
            for (const Load& load : failure.overloads) removeBackups(failure, load);
            for (const Lost& lost : failure.lost)
                if (lost.cause == LossCause::BROKEN) expose(lost.lsp, failure.set.name);
        }
        if (!down_.empty() || !bare_.empty()) rebuild();
        return takenBack_->exposed > before.exposed || !down_.empty() || !bare_.empty();
    }

  private:
    PlanDemand& demandOf(const Route& route) { return plan_->demands[route.lsp->demand]; }

    // Enough of them for the load to fit, the least important and the latest first.
    std::vector<const Route*> leastOf(std::vector<const Route*> routes,
                                      const Load& load) const {
        std::ranges::stable_sort(routes, std::greater<>(), [](const Route* route) {
            return std::pair(route->lsp->level, route->lsp->id);
        });
        double excess = load.bandwidth - load.capacity;
        std::size_t count = 0;
        while (count < routes.size() && excess > 0.0)
            excess -= routes[count++]->lsp->bandwidth;
        routes.resize(count);
        return routes;
    }

    void removeLsps(const Load& load) {
        std::vector<const Route*> routes;
        for (const Route* route : routes_.onLink(load.link))
            if (route->lsp->trafficClass == load.trafficClass) routes.push_back(route);
        for (const Route* route : leastOf(std::move(routes), load)) {
            if (!down_.insert(route->lsp->id).second) continue;
            takenBack_->lsps++;
            noteTakenDown(&demandOf(*route),
                          linkName(plan_->network, load.link) + " has no room");
        }
    }

    // Of the LSPs that take a link only when the failure is there.
    void removeBackups(const Failure& failure, const Load& load) {
        std::vector<const Route*> routes;
        for (const Restored& one : failure.restored) {
            const Route* route = routes_.find(one.lsp);
            if (route->lsp->trafficClass != load.trafficClass) continue;
            for (const Route* backup : route->backups)
                if (std::ranges::count(one.backups, backup->lsp->id) > 0 &&
                    std::ranges::count(backup->links, load.link) > 0) {
                    routes.push_back(route);
                    break;
                }
        }
        for (const Route* route : leastOf(std::move(routes), load)) {
            if (down_.contains(route->lsp->id)) continue;
            if (!bare_.insert(route->lsp->id).second) continue;
            takenBack_->backups++;
            PlanDemand& demand = demandOf(*route);
            demand.unprotected = linkName(plan_->network, load.link) +
                                 " has no room when " + failure.set.name + " fails";
            demand.exposed.clear();
            demand.beyond.clear();
        }
    }

    void expose(int lsp, const std::string& failure) {
        if (down_.contains(lsp) || bare_.contains(lsp)) return;
        demandOf(*routes_.find(lsp)).exposed.push_back(failure);
        takenBack_->exposed++;
    }

    // The tables of what is left.
    void rebuild() {
        std::vector<PlanLsp> left;
        for (const PlanLsp& lsp : plan_->lsps) {
            const bool isPrimary = lsp.kind == LspKind::PRIMARY;
            const int primary = isPrimary ? lsp.id : lsp.primary;
            if (!down_.contains(primary) && (isPrimary || !bare_.contains(primary)))
                left.push_back(lsp);
        }
        Engine engine(*plan_);
        engine.load(left);
        finishPlan(engine, plan_);
    }

    Plan* plan_;
    const AuditResult& audit_;
    TakenBack* takenBack_;
    std::vector<std::string> problems_;
    const Routes routes_;
    std::set<int> down_;  // primaries
    std::set<int> bare_;  // primaries that lose their backups
};

}  // namespace

TakenBack& TakenBack::operator+=(const TakenBack& more) {
    exposed += more.exposed;
    backups += more.backups;
    lsps += more.lsps;
    return *this;
}

std::vector<FailureSet> promisedFailures(const Plan& plan) {
    if (plan.configuration.protection == Protection::NONE) return {};
    return survivedFailures(plan);
}

TakenBack keepPromises(Plan* plan, const Step& step) {
    TakenBack takenBack;
    const std::vector<FailureSet> failures = promisedFailures(*plan);
    for (;;) {
        const AuditResult result = audit(*plan, failures, step);
        if (result.isClean()) return takenBack;
        if (!result.problems.empty() || !result.tables.differing.empty() ||
            !Correction(plan, result, &takenBack).run())
            throw std::logic_error(
                "the plan does not keep what it claims, and nothing can be taken back; "
                "it "
                "is not written");
    }
}

}  // namespace workbench
