// Works on batches: makes the plan of a setting once, and fails it many times.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>

#include "sweep/batch.h"
#include "sweep/grid.h"

namespace workbench {

// A plan of the sweep, for several threads to read; or why there is none.
struct SweptPlan {
    Plan plan;
    std::string error;
    PlanFigures figures;
    std::unique_ptr<const Routes> routes;
    std::unique_ptr<const Effects> effects;
    double seconds = 0.0;  // that it took to make it
};
using SharedPlan = std::shared_ptr<const SweptPlan>;

// Throws Interrupted once the work is to end.
using CheckStop = std::function<void()>;

// One for all threads of a process. Plans and matrices are kept as long as some thread
// works on them.
class Computer {
  public:
    explicit Computer(const Grid& grid) : grid_(grid) {}

    // Keeps the plan of its last setting.
    struct Worker {
        int setting = -1;
        SharedPlan plan;
    };

    BatchResult compute(const Batch& batch, Worker* worker, const CheckStop& check);

    // As kavril place would make it; `bytes` are those of its matrix, null to read it.
    SharedPlan planOf(int setting, const std::string* bytes, const CheckStop& check);

  private:
    struct Slot {
        std::mutex mutex;  // held while the plan is made
        SharedPlan plan;
    };

    std::shared_ptr<Slot> slotOf(int setting);
    void forget(int setting);
    void makePlan(int setting, const std::string* bytes, const CheckStop& check,
                  SweptPlan* swept) const;
    void tryCases(const Batch& batch, const SweptPlan& plan, const CheckStop& check,
                  BatchResult* result) const;
    void failAll(const Batch& batch, const std::string& reason,
                 BatchResult* result) const;

    const Grid& grid_;
    std::mutex mutex_;
    std::map<int, std::shared_ptr<Slot>> slots_;
    std::map<int, int> users_;  // workers on a setting
};

}  // namespace workbench
