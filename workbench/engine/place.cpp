#include "engine/place.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <deque>
#include <numeric>
#include <random>

#include "cli/error.h"
#include "names.h"

namespace workbench {

namespace {

class Stopwatch {
  public:
    double seconds() const {
        return std::chrono::duration<double>(Clock::now() - start_).count();
    }

  private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point start_ = Clock::now();
};

// Fisher and Yates with a generator whose numbers the standard fixes; those of
// std::shuffle differ between libraries.
template <class T>
void shuffle(std::vector<T>* items, std::uint64_t seed) {
    std::mt19937_64 random(seed);
    for (std::size_t i = items->size(); i > 1; i--)
        std::swap((*items)[i - 1], (*items)[random() % i]);
}

void arrange(std::vector<Demand>* demands, const Configuration& configuration) {
    if (configuration.order == Order::SHUFFLED) shuffle(demands, configuration.seed);
    if (configuration.order == Order::LARGEST)
        std::stable_sort(
            demands->begin(), demands->end(),
            [](const Demand& a, const Demand& b) { return a.bandwidth > b.bandwidth; });
    const auto most = static_cast<std::size_t>(configuration.maxDemands);
    if (most > 0 && demands->size() > most) demands->resize(most);
}

// A demand of a class of its own is not split.
std::vector<TrafficPart> partsOf(const Demand& demand,
                                 const Configuration& configuration) {
    if (demand.trafficClass.empty()) return configuration.parts;
    const int oa = classNamed(configuration.classes, demand.trafficClass);
    return {{oa, usualLevel(configuration, oa), 1.0}};
}

// One run over a matrix; the queue holds indexes of demands.
class Placement {
  public:
    Placement(Engine* engine, std::vector<PlanDemand>* demands,
              const PlaceOptions& options, PlaceTimes* times)
        : engine_(engine), demands_(demands), options_(options), times_(times) {}

    bool run() {
        for (std::size_t i = 0; i < demands_->size(); i++) {
            waiting_.push_back(static_cast<int>(i));
            while (!waiting_.empty())
                if (!requestNext()) return false;
            step();
        }
        return protectAll();
    }

  private:
    void step() const {
        if (options_.step) options_.step();
    }

    bool isExcused(const std::vector<char>& excused, int index) const {
        return !options_.strict ||
               (!excused.empty() && excused[static_cast<std::size_t>(index)]);
    }

    bool requestNext() {
        const int index = waiting_.front();
        waiting_.pop_front();
        PlanDemand& demand = (*demands_)[index];
        const Stopwatch watch;
        const Answer answer = engine_->request(requestFor(*engine_, demand, index));
        if (times_ != nullptr) times_->requests.push_back(watch.seconds());
        const bool again = demand.outcome == Outcome::PREEMPTED;
        demand.lsp = answer.lsp;
        demand.reason = answer.reason;
        if (answer.placed) demand.outcome = again ? Outcome::REPLACED : Outcome::PLACED;
        requeue(answer.removed);
        return answer.placed || isExcused(options_.excusedRequest, index);
    }

    // Preempted LSPs go to the front, the most important first.
    void requeue(const std::vector<PlanLsp>& removed) {
        std::vector<int> again;
        for (const PlanLsp& lsp : removed) {
            if (lsp.kind != LspKind::PRIMARY) continue;
            (*demands_)[lsp.demand].outcome = Outcome::PREEMPTED;
            (*demands_)[lsp.demand].lsp = -1;
            again.push_back(lsp.demand);
        }
        std::stable_sort(again.begin(), again.end(), [this](int a, int b) {
            return (*demands_)[a].level < (*demands_)[b].level;
        });
        waiting_.insert(waiting_.begin(), again.begin(), again.end());
    }

    // The most important first, those of a level in the order of the requests.
    bool protectAll() {
        const Protection protection = engine_->configuration().protection;
        if (protection == Protection::NONE) return true;
        std::vector<std::size_t> order(demands_->size());
        std::iota(order.begin(), order.end(), std::size_t{0});
        std::ranges::stable_sort(order, {},
                                 [this](std::size_t i) { return (*demands_)[i].level; });
        for (const std::size_t i : order) {
            PlanDemand& demand = (*demands_)[i];
            if (demand.lsp >= 0) {
                const Stopwatch watch;
                protectDemand(engine_, &demand);
                if (times_ != nullptr) times_->protections.push_back(watch.seconds());
                if (!demand.unprotected.empty() &&
                    !isExcused(options_.excusedProtection, static_cast<int>(i)))
                    return false;
            }
            step();
        }
        return true;
    }

    Engine* engine_;
    std::vector<PlanDemand>* demands_;
    const PlaceOptions& options_;
    PlaceTimes* times_;
    std::deque<int> waiting_;
};

}  // namespace

Configuration withClassesOf(const std::vector<Demand>& demands,
                            const Configuration& configuration) {
    const Configuration usual;
    const bool hasOwn = configuration.classes.size() != 1 ||
                        configuration.classes[0].name != usual.classes[0].name;
    std::vector<TrafficClass> classes;
    double all = 0.0;
    for (const bool named : {false, true})  // the class of those without one is the first
        for (const Demand& demand : demands) {
            if (demand.trafficClass.empty() == named) continue;
            const std::string& name = named ? demand.trafficClass : usual.classes[0].name;
            auto known = std::ranges::find(classes, name, &TrafficClass::name);
            if (known == classes.end())
                known = classes.insert(known, {.name = name, .capacityShare = 0.0});
            known->capacityShare += demand.bandwidth;
            all += demand.bandwidth;
        }
    if (hasOwn || classes.empty()) return configuration;
    if (classes.size() > kPlanClasses)
        throw UserError(fmt::format("the demands name {} classes, at most {} are allowed",
                                    classes.size(), kPlanClasses));
    Configuration result = configuration;
    result.classes = std::move(classes);
    for (TrafficClass& known : result.classes) known.capacityShare /= all;
    return result;
}

std::vector<PlanDemand> requestsOf(const std::vector<Demand>& demands,
                                   const Configuration& configuration) {
    std::vector<Demand> arranged = demands;
    arrange(&arranged, configuration);
    std::vector<PlanDemand> requests;
    for (const Demand& demand : arranged)
        for (const TrafficPart& part : partsOf(demand, configuration))
            requests.push_back(
                {.name = demand.name,
                 .src = demand.src,
                 .dst = demand.dst,
                 .trafficClass = part.trafficClass,
                 .level = demand.level.value_or(part.level),
                 .bandwidth = demand.bandwidth * configuration.scale * part.share,
                 .outcome = Outcome::REFUSED,
                 .lsp = -1,
                 .reason = {},
                 .unprotected = {},
                 .avoid = demand.avoid,
                 .maxDelay = demand.maxDelay,
                 .maxHops = demand.maxHops});
    return requests;
}

Request requestFor(const Engine& engine, const PlanDemand& demand, int index) {
    Request request = {.demand = index,
                       .src = demand.src,
                       .dst = demand.dst,
                       .trafficClass = demand.trafficClass,
                       .level = demand.level,
                       .bandwidth = demand.bandwidth,
                       .preempt = engine.configuration().preempt,
                       .maxDelay = demand.maxDelay,
                       .maxHops = demand.maxHops,
                       .route = demand.route};
    if (demand.avoid != 0) request.avoidColours = engine.coloursWith(demand.avoid);
    return request;
}

void noteTakenDown(PlanDemand* demand, const std::string& reason) {
    demand->lsp = -1;
    demand->outcome = Outcome::PREEMPTED;
    demand->reason = reason;
    demand->unprotected.clear();
    demand->exposed.clear();
    demand->beyond.clear();
}

void protectDemand(Engine* engine, PlanDemand* demand) {
    const Protection protection = engine->configuration().protection;
    const PathLimits limits = {
        .avoid = demand->avoid, .maxDelay = demand->maxDelay, .maxHops = demand->maxHops};
    demand->unprotected = engine->protect(demand->lsp, protection, limits);
    demand->exposed.clear();
    demand->beyond.clear();
    if (protection == Protection::NONE || !demand->unprotected.empty()) return;
    demand->exposed = engine->exposed(demand->lsp);
    demand->beyond = engine->beyond(demand->lsp, limits);
}

bool placeAll(Engine* engine, std::vector<PlanDemand>* demands,
              const PlaceOptions& options, PlaceTimes* times) {
    return Placement(engine, demands, options, times).run();
}

void finishPlan(const Engine& engine, Plan* plan) {
    plan->lsps.clear();
    for (const auto& [id, lsp] : engine.lsps()) plan->lsps.push_back(lsp);
    plan->links = engine.tables();
    plan->summary = summarise(*plan);
}

Plan newPlan(const Network& network, const std::vector<Demand>& demands,
             const Configuration& configuration) {
    Plan plan;
    plan.network = network;
    plan.configuration = configuration;
    plan.demands = requestsOf(demands, configuration);
    return plan;
}

void runPlan(Plan* plan, const Step& step, PlaceTimes* times) {
    Engine engine(*plan);
    PlaceOptions options;
    options.step = step;
    placeAll(&engine, &plan->demands, options, times);
    finishPlan(engine, plan);
}

}  // namespace workbench
