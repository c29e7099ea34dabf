// Who works on what: cases in batches that take about half a second.
//
// Workers are threads of some process. A worker stays with its plan while cases of that
// are left, then takes the next plan, and helps others when all are taken: where its own
// process has the plan already, or where so much is left that making the plan once more
// comes in time.
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <vector>

#include "sweep/batch.h"

namespace workbench {

class Schedule {
  public:
    struct Task {
        int setting = 0;
        std::size_t cases = 0;  // to be done
    };
    // Numbers of the cases to be done of a setting.
    using Missing = std::function<std::vector<int>(int setting)>;

    // `processOf` gives every worker its process.
    Schedule(std::vector<Task> tasks, std::vector<int> processOf, Missing missing);

    // Nothing, if there is no work for that worker any more.
    std::optional<Batch> next(int worker);

    // What a batch took, in seconds; 0 for a plan that was there.
    void note(int setting, std::size_t cases, double placing, double failing);

  private:
    // Sums of seconds, for their mean.
    struct Cost {
        double seconds = 0.0;
        double count = 0.0;
        double mean(double usual) const { return count > 0.0 ? seconds / count : usual; }
    };

    // A plan of which cases are left to be handed out.
    struct Open {
        std::vector<int> cases;
        std::size_t next = 0;
        int workers = 0;
        std::set<int> processes;
        std::size_t left() const { return cases.size() - next; }
    };

    double secondsLeft(int setting, const Open& open) const;
    double perCase(int setting) const;
    int choose(int worker);
    int toHelp(int process) const;
    std::size_t batchSize(int setting, const Open& open) const;

    std::mutex mutex_;
    const std::vector<Task> tasks_;
    std::size_t started_ = 0;
    std::size_t left_ = 0;  // cases not handed out yet
    const std::vector<int> processOf_;
    const Missing missing_;
    std::vector<int> settingOf_;   // by worker, -1 for none
    std::map<int, Open> open_;     // by setting
    std::map<int, Cost> perCase_;  // by setting
    Cost cases_;
    Cost plans_;
};

}  // namespace workbench
