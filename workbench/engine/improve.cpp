#include "engine/improve.h"

#include <algorithm>
#include <atomic>
#include <barrier>
#include <cmath>
#include <exception>
#include <map>
#include <thread>

#include "engine/total_score.h"

namespace workbench {

namespace {

// Gains below this part of the score come from rounding.
constexpr double kLeastGain = 1e-9;

// Demands that each improver looks at before they meet, at most.
constexpr std::size_t kMostAhead = 64;

// What the improvers of one plan have in common. Each has the plan and an engine of its
// own and does all that the others do, so that they stay alike to the last bit; only the
// search for better paths, which changes nothing, they share out.
class Team {
  public:
    Team(int size, std::size_t demands)
        : better(demands), size_(static_cast<std::size_t>(size)), barrier_(size) {}

    // Goes on when all have come here, or one has failed.
    void meet() {
        barrier_.arrive_and_wait();
        if (hasFailed_) throw Dissolved();
    }

    // Runs the work of one of them; what it throws is what it returns.
    template <class Work>
    std::exception_ptr run(const Work& work) {
        try {
            work();
            return nullptr;
        } catch (const Dissolved&) {
            barrier_.arrive_and_drop();
            return nullptr;
        } catch (...) {
            hasFailed_ = true;
            barrier_.arrive_and_drop();
            return std::current_exception();
        }
    }

    std::size_t size() const { return size_; }

    // By demand, empty for none: written by one of them, read by all after they have met.
    std::vector<std::vector<int>> better;

  private:
    struct Dissolved {};

    std::size_t size_;
    std::barrier<> barrier_;
    std::atomic<bool> hasFailed_ = false;
};

class Improver {
  public:
    Improver(std::size_t number, Team* team, Plan* plan, Improvement* result)
        : number_(number),
          team_(team),
          plan_(plan),
          result_(result),
          engine_(*plan),
          loads_(loadsOf(*plan)) {
        engine_.load(plan->lsps);
        score_ = totalScore(plan_->network, plan_->configuration, loads_);
        result_->scoreBefore = score_;
    }

    // Whether anything moved. The demands are looked at some at a time, and those after
    // the first that has a better path once more, when it has moved.
    bool round(const Step& step) {
        const std::size_t before = result_->moves.size();
        result_->rounds++;
        team_->meet();
        const std::size_t most = team_->size() == 1 ? 1 : kMostAhead * team_->size();
        std::size_t ahead = team_->size();
        for (std::size_t first = 0; first < plan_->demands.size();) {
            const std::size_t end = std::min(first + ahead, plan_->demands.size());
            for (std::size_t i = first + number_; i < end; i += team_->size())
                team_->better[i] = betterPath(static_cast<int>(i));
            team_->meet();
            std::size_t found = first;
            while (found < end && team_->better[found].empty()) found++;
            if (found < end) move(static_cast<int>(found), team_->better[found]);
            ahead = found < end ? team_->size() : std::min(2 * ahead, most);
            for (const std::size_t next = std::min(found + 1, end); first < next; first++)
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

    Request requestWithoutPreemption(int index) const {
        Request request = requestFor(engine_, plan_->demands[index], index);
        request.preempt = false;
        return request;
    }

    double scoreOf(const Loads& loads) const {
        return totalScore(plan_->network, plan_->configuration, loads);
    }

    // Empty if there is none.
    std::vector<int> betterPath(int index) {
        const PlanDemand& demand = plan_->demands[index];
        if (demand.lsp < 0 || !demand.route.empty()) return {};
        const PlanLsp& old = engine_.lsps().at(demand.lsp);
        Request request = requestWithoutPreemption(index);
        request.replaces = old.id;
        const Path path = engine_.findPath(request);
        engine_.takeErrors();
        const auto givenUp = givenUp_.find(index);
        if (!path.found || path.nodes == old.path ||
            (givenUp != givenUp_.end() && path.nodes == givenUp->second))
            return {};
        const double score = scoreOf(loadsWith(old, path.nodes));
        return score < score_ - kLeastGain * std::abs(score_) ? path.nodes
                                                              : std::vector<int>{};
    }

    void move(int index, const std::vector<int>& path) {
        const PlanLsp old = engine_.lsps().at(plan_->demands[index].lsp);
        const Loads loads = loadsWith(old, path);
        const double score = scoreOf(loads);
        Request request = requestWithoutPreemption(index);
        request.replaces = old.id;
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

    std::size_t number_;  // in the team
    Team* team_;
    Plan* plan_;
    Improvement* result_;
    Engine engine_;
    Loads loads_;
    double score_ = 0.0;
    std::map<int, std::vector<int>> givenUp_;  // paths that would have cost protection
};

}  // namespace

static Improvement improveAlong(std::size_t number, Team* team, Plan* plan, int maxRounds,
                                const Step& step) {
    Improvement result;
    Improver improver(number, team, plan, &result);
    while (!result.finished && (maxRounds == 0 || result.rounds < maxRounds))
        result.finished = !improver.round(step);
    if (number == 0) improver.finish();
    return result;
}

Improvement improve(Plan* plan, int maxRounds, int jobs, const Step& step) {
    Team team(jobs, plan->demands.size());
    std::vector<std::exception_ptr> errors(team.size());
    Improvement result;
    {
        const Plan original = *plan;
        std::vector<std::jthread> others;
        const auto work = [&](std::size_t number) {
            errors[number] = team.run([&] {
                Plan copy = original;
                improveAlong(number, &team, &copy, maxRounds, {});
            });
        };
        for (std::size_t number = 1; number < team.size(); number++)
            if (auto error = team.run([&] { others.emplace_back(work, number); }))
                errors[number] = error;  // there is no thread to come
        errors[0] =
            team.run([&] { result = improveAlong(0, &team, plan, maxRounds, step); });
    }
    for (const std::exception_ptr& error : errors)
        if (error) std::rethrow_exception(error);
    return result;
}

}  // namespace workbench
