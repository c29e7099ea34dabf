#include "sweep/schedule.h"

#include <algorithm>
#include <numeric>

namespace workbench {

namespace {

constexpr double kBatchSeconds = 0.5;
// As long as nothing is known.
constexpr std::size_t kFirstBatch = 64;
// Batches get smaller towards the end, so that all finish at once: a worker gets at most
// this part of its share of what is left.
constexpr std::size_t kShares = 3;

}  // namespace

Schedule::Schedule(std::vector<Task> tasks, std::vector<int> processOf, Missing missing)
    : tasks_(std::move(tasks)),
      processOf_(std::move(processOf)),
      missing_(std::move(missing)),
      settingOf_(processOf_.size(), -1) {
    for (const Task& task : tasks_) left_ += task.cases;
}

double Schedule::perCase(int setting) const {
    const auto at = perCase_.find(setting);
    return at != perCase_.end() ? at->second.mean(0.0) : cases_.mean(0.0);
}

double Schedule::secondsLeft(int setting, const Open& open) const {
    return perCase(setting) * static_cast<double>(open.left());
}

// Of those where help comes in time the one that lasts longest. As long as nobody knows
// what cases cost, help is welcome.
int Schedule::toHelp(int process) const {
    int best = -1;
    double longest = 0.0;
    for (const auto& [setting, open] : open_) {
        const double lasts = secondsLeft(setting, open) / std::max(open.workers, 1);
        const bool isReady = open.processes.contains(process) || cases_.count == 0.0;
        if (!isReady && lasts < plans_.mean(0.0)) continue;
        if (best < 0 || lasts > longest) {
            best = setting;
            longest = lasts;
        }
    }
    return best;
}

int Schedule::choose(int worker) {
    if (open_.contains(settingOf_[worker])) return settingOf_[worker];
    if (started_ == tasks_.size()) return toHelp(processOf_[worker]);
    const int setting = tasks_[started_++].setting;
    open_[setting].cases = missing_(setting);
    return setting;
}

std::size_t Schedule::batchSize(int setting, const Open& open) const {
    const double seconds = perCase(setting);
    std::size_t size = kFirstBatch;
    if (seconds > 0.0)
        size = static_cast<std::size_t>(std::clamp(kBatchSeconds / seconds, 1.0, 1e6));
    const std::size_t share = left_ / (kShares * processOf_.size());
    return std::min({size, std::max<std::size_t>(share, 1), open.left()});
}

std::optional<Batch> Schedule::next(int worker) {
    const std::lock_guard lock(mutex_);
    const int setting = choose(worker);
    if (setting < 0) return std::nullopt;
    Open& open = open_[setting];
    if (settingOf_[worker] != setting) open.workers++;
    settingOf_[worker] = setting;
    open.processes.insert(processOf_[worker]);
    const auto from = open.cases.begin() + static_cast<std::ptrdiff_t>(open.next);
    const std::size_t size = batchSize(setting, open);
    Batch batch = {.setting = setting};
    batch.cases.assign(from, from + static_cast<std::ptrdiff_t>(size));
    open.next += size;
    left_ -= size;
    if (open.left() == 0) {
        open_.erase(setting);
        perCase_.erase(setting);
    }
    return batch;
}

void Schedule::note(int setting, std::size_t cases, double placing, double failing) {
    const std::lock_guard lock(mutex_);
    const auto count = static_cast<double>(cases);
    const auto add = [](Cost* cost, double seconds, double more) {
        cost->seconds += seconds;
        cost->count += more;
    };
    add(&cases_, failing, count);
    if (open_.contains(setting)) add(&perCase_[setting], failing, count);
    if (placing > 0.0) add(&plans_, placing, 1.0);
}

}  // namespace workbench
