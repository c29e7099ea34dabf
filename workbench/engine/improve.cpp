#include "engine/improve.h"

#include <cmath>
#include <map>

#include "engine/total_score.h"

namespace workbench {

namespace {

// Gains below this part of the score come from rounding.
constexpr double kLeastGain = 1e-9;

class Improver {
  public:
    Improver(Plan* plan, Improvement* result)
        : plan_(plan), result_(result), engine_(*plan), loads_(loadsOf(*plan)) {
        engine_.load(plan->lsps);
        score_ = totalScore(plan_->network, plan_->configuration, loads_);
        result_->scoreBefore = score_;
    }

    // Whether anything moved.
    bool round(const Step& step) {
        const std::size_t before = result_->moves.size();
        result_->rounds++;
        for (std::size_t i = 0; i < plan_->demands.size(); i++) {
            const PlanDemand& demand = plan_->demands[i];
            if (demand.lsp >= 0 && demand.route.empty()) tryDemand(static_cast<int>(i));
            if (step) step();
        }
        return result_->moves.size() > before;
    }

    void finish() {
        finishPlan(engine_, plan_);
        result_->scoreAfter = score_;
    }

  private:
    std::vector<int> linksOf(const std::vector<int>& path) const {
        std::vector<int> links;
        for (std::size_t i = 0; i + 1 < path.size(); i++)
            links.push_back(engine_.linkBetween(path[i], path[i + 1]));
        return links;
    }

    Loads loadsWith(const PlanLsp& lsp, const std::vector<int>& path) const {
        Loads loads = loads_;
        const std::size_t classes = plan_->configuration.classes.size();
        addLoad(linksOf(lsp.path), lsp.trafficClass, -lsp.bandwidth, classes, &loads);
        addLoad(linksOf(path), lsp.trafficClass, lsp.bandwidth, classes, &loads);
        return loads;
    }

    void tryDemand(int index) {
        const PlanDemand& demand = plan_->demands[index];
        const PlanLsp old = engine_.lsps().at(demand.lsp);
        Request request = requestFor(engine_, demand, index);
        request.preempt = false;
        request.replaces = old.id;
        const Path path = engine_.findPath(request);
        engine_.takeErrors();
        if (!path.found || path.nodes == old.path || path.nodes == givenUp_[index])
            return;
        const Loads loads = loadsWith(old, path.nodes);
        const double score = totalScore(plan_->network, plan_->configuration, loads);
        if (!(score < score_ - kLeastGain * std::abs(score_))) return;
        move(request, old, loads, score, path.nodes);
    }

    void move(Request request, const PlanLsp& old, const Loads& loads, double score,
              const std::vector<int>& path) {
        PlanDemand& demand = plan_->demands[request.demand];
        const PlanDemand before = demand;
        const std::vector<PlanLsp> asItWas = engine_.withBackups(old.id);
        engine_.remove(old.id);
        request.id = old.id;
        request.route = path;
        const bool placed = engine_.request(request).placed;
        if (placed) protectDemand(&engine_, &demand);
        if (!placed || (!demand.unprotected.empty() && before.unprotected.empty()) ||
            demand.exposed.size() > before.exposed.size() ||
            demand.beyond.size() > before.beyond.size()) {
            if (placed) engine_.remove(old.id);
            engine_.load(asItWas);
            demand = before;
            givenUp_[request.demand] = path;
            result_->keptForProtection++;
            return;
        }
        result_->moves.push_back({.round = result_->rounds,
                                  .demand = request.demand,
                                  .lsp = old.id,
                                  .before = old.path,
                                  .after = path,
                                  .gain = score_ - score});
        loads_ = loads;
        score_ = score;
    }

    Plan* plan_;
    Improvement* result_;
    Engine engine_;
    Loads loads_;
    double score_ = 0.0;
    std::map<int, std::vector<int>> givenUp_;  // paths that would have cost protection
};

}  // namespace

Improvement improve(Plan* plan, int maxRounds, const Step& step) {
    Improvement result;
    Improver improver(plan, &result);
    while (!result.finished && (maxRounds == 0 || result.rounds < maxRounds))
        result.finished = !improver.round(step);
    improver.finish();
    return result;
}

}  // namespace workbench
