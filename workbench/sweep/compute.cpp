#include "sweep/compute.h"

#include <condition_variable>
#include <new>

#include "class_summary.h"
#include "cli/file.h"
#include "cli/progress.h"
#include "engine/place.h"
#include "engine/promises.h"
#include "engine/replan.h"
#include "sweep/work_seconds.h"

namespace workbench {

namespace {

// Engines work side by side only on plans with as many classes: those of another number
// wait here.
class EngineTurn {
  public:
    explicit EngineTurn(std::size_t classes) {
        std::unique_lock lock(mutex);
        changed.wait(lock, [&] { return running == 0 || runningClasses == classes; });
        running++;
        runningClasses = classes;
    }
    ~EngineTurn() {
        const std::lock_guard lock(mutex);
        if (--running == 0) changed.notify_all();
    }
    EngineTurn(const EngineTurn&) = delete;
    EngineTurn& operator=(const EngineTurn&) = delete;

  private:
    static std::mutex mutex;
    static std::condition_variable changed;
    static int running;
    static std::size_t runningClasses;
};
std::mutex EngineTurn::mutex;
std::condition_variable EngineTurn::changed;
int EngineTurn::running = 0;
std::size_t EngineTurn::runningClasses = 0;

// What fails is told in the results and ends nothing, but for Ctrl-C.
template <class Act>
std::string reasonUnless(Act act) {
    try {
        act();
        return {};
    } catch (const Interrupted&) {
        throw;
    } catch (const std::bad_alloc&) {
        return "not enough memory";
    } catch (const std::exception& error) {
        return error.what();
    }
}

PlanFigures figuresOf(const Plan& plan) {
    PlanFigures figures;
    for (const TrafficClass& one : plan.configuration.classes)
        figures.classes.push_back(one.name);
    for (const ClassSummary& sums : classSummaries(plan, plan.links))
        figures.levels.push_back({.trafficClass = sums.trafficClass,
                                  .level = sums.level,
                                  .requests = sums.requested,
                                  .placed = sums.placed,
                                  .isProtected = sums.isProtected,
                                  .offered = sums.offered,
                                  .carried = sums.carried,
                                  .carriedProtected = sums.carriedProtected});
    figures.backups = plan.summary.backups;
    return figures;
}

// The worst load of every cell in the cases of a batch, and the first that causes it.
class WorstLoads {
  public:
    explicit WorstLoads(const LinkLoads& usual) : usual_(usual) {
        for (std::size_t cell = 0; cell < usual.size(); cell++)
            worst_.push_back({usual.loadOf(cell).bandwidth, -1});
    }

    void note(std::size_t cell, double load, int index) {
        if (load > worst_[cell].load) worst_[cell] = {load, index};
    }

    std::vector<LinkFigures> figures() const {
        std::vector<LinkFigures> all;
        for (std::size_t cell = 0; cell < worst_.size(); cell++) {
            const Load load = usual_.loadOf(cell);
            if (worst_[cell].load > 0.0)
                all.push_back({.link = load.link,
                               .trafficClass = load.trafficClass,
                               .capacity = load.capacity,
                               .usual = load.bandwidth,
                               .worst = worst_[cell].load,
                               .index = worst_[cell].index});
        }
        return all;
    }

  private:
    struct Worst {
        double load;
        int index;
    };
    const LinkLoads& usual_;
    std::vector<Worst> worst_;
};

std::vector<PlanLsp> placeAgain(const Effects& effects, FailedSets failed) {
    const EngineTurn turn(effects.plan().configuration.classes.size());
    return placedAgain(planAfter(effects, failed, false), effects.of(failed));
}

void addCase(int index, std::uint64_t id, const Toll& toll,
             const std::vector<PlanLsp>& again, BatchResult* result) {
    CaseFigures figures = {.index = index,
                           .id = id,
                           .tally = toll.all,
                           .again = {},
                           .fullest = toll.fullest,
                           .overloads = toll.overloads};
    for (const LevelTally& level : toll.levels) {
        LevelFigures one = {index, level.trafficClass, level.level, level.tally, {}};
        for (const PlanLsp& lsp : again)
            if (lsp.trafficClass == level.trafficClass && lsp.level == level.level)
                one.again.add(lsp.bandwidth);
        result->levels.push_back(one);
    }
    for (const PlanLsp& lsp : again) figures.again.add(lsp.bandwidth);
    result->cases.push_back(figures);
}

}  // namespace

void Computer::makePlan(int setting, const std::string* bytes, const CheckStop& check,
                        SweptPlan* swept) const {
    const Setting& which = grid_.settings()[setting];
    const GridNetwork& network = grid_.networkOf(which);
    const std::string file = grid_.matrixFile(which);
    Findings findings;
    const Demands demands = demandsFrom(file, bytes != nullptr ? *bytes : readFile(file),
                                        network.network, findings);
    Plan& plan = swept->plan;
    plan = newPlan(network.network, demands.demands,
                   withClassesOf(demands.demands, grid_.configurationOf(which)));
    plan.failureSets = network.named;
    {
        const EngineTurn turn(plan.configuration.classes.size());
        runPlan(&plan, check, nullptr);
        keepPromises(&plan, check);
    }
    swept->figures = figuresOf(plan);
    std::vector<std::string> problems;
    swept->routes = std::make_unique<Routes>(plan, &problems);
    swept->effects = std::make_unique<Effects>(plan, *swept->routes, network.failures);
}

std::shared_ptr<Computer::Slot> Computer::slotOf(int setting) {
    const std::lock_guard lock(mutex_);
    auto& slot = slots_[setting];
    if (slot == nullptr) slot = std::make_shared<Slot>();
    users_[setting]++;
    return slot;
}

void Computer::forget(int setting) {
    const std::lock_guard lock(mutex_);
    if (--users_[setting] > 0) return;
    users_.erase(setting);
    slots_.erase(setting);
}

SharedPlan Computer::planOf(int setting, const std::string* bytes,
                            const CheckStop& check) {
    const double start = workSeconds();
    auto swept = std::make_shared<SweptPlan>();
    swept->error = reasonUnless([&] { makePlan(setting, bytes, check, swept.get()); });
    swept->seconds = workSeconds() - start;
    return swept;
}

void Computer::tryCases(const Batch& batch, const SweptPlan& swept,
                        const CheckStop& check, BatchResult* result) const {
    const Setting& setting = grid_.settings()[batch.setting];
    const bool replans = grid_.replanningOf(setting) == Replanning::PLACE;
    const Effects& effects = *swept.effects;
    TollKeeper keeper(effects);
    WorstLoads worst(effects.loads());
    for (const int index : batch.cases) {
        const FailedSets failed = grid_.casesOf(setting)[index];
        const std::uint64_t id =
            caseHash(batch.settingId, grid_.networkOf(setting), failed);
        const auto note = [&](std::size_t cell, double load) {
            worst.note(cell, load, index);
        };
        const std::string reason = reasonUnless([&] {
            check();
            std::vector<PlanLsp> again;
            if (replans && keeper.fail(failed).all.lost.lsps > 0)
                again = placeAgain(effects, failed);
            addCase(index, id, keeper.fail(failed, again, note), again, result);
        });
        if (!reason.empty()) result->errors.push_back({index, id, reason});
    }
    result->links = worst.figures();
}

void Computer::failAll(const Batch& batch, const std::string& reason,
                       BatchResult* result) const {
    const Setting& setting = grid_.settings()[batch.setting];
    for (const int index : batch.cases)
        result->errors.push_back({index,
                                  caseHash(batch.settingId, grid_.networkOf(setting),
                                           grid_.casesOf(setting)[index]),
                                  reason});
}

BatchResult Computer::compute(const Batch& batch, Worker* worker,
                              const CheckStop& check) {
    BatchResult result;
    result.thread = batch.thread;
    result.setting = batch.setting;
    if (worker->setting != batch.setting) {
        if (worker->setting >= 0) forget(worker->setting);
        *worker = {batch.setting, nullptr};
        const std::shared_ptr<Slot> slot = slotOf(batch.setting);
        const std::lock_guard lock(slot->mutex);
        if (slot->plan == nullptr) {
            slot->plan = planOf(batch.setting, batch.matrix.get(), check);
            result.placing = slot->plan->seconds;
        }
        worker->plan = slot->plan;
    }
    const double start = workSeconds();
    const SweptPlan& plan = *worker->plan;
    result.plan = plan.figures;
    result.planError = plan.error;
    if (plan.error.empty())
        tryCases(batch, plan, check, &result);
    else
        failAll(batch, plan.error, &result);
    result.failing = workSeconds() - start;
    return result;
}

}  // namespace workbench
