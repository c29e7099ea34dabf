// How far a sweep would scale: the program's own schedule played through with what
// batches took in a real one (kavril sweep --costs).
//
//     kavril_sweep_scaling COSTS [--threads N] [--repeat N] WORKERS...
//
// prints a row of a table for every number of workers. --threads is how many of them make
// up a process, --repeat puts so many of the study side by side: a year of a day's costs.
//
// What is modelled: a process makes a plan once, and its other threads wait for it; each
// worker has a batch ahead; the first process writes what has come in, one transaction
// after the other, on a core of its own. What is not: the network, and that cores share
// memory.
#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <map>
#include <numeric>
#include <queue>
#include <sstream>
#include <stdexcept>

#include "sweep/schedule.h"

using namespace workbench;

namespace {

struct Cost {
    double seconds = 0.0;
    double count = 0.0;
    double mean() const { return count > 0.0 ? seconds / count : 0.0; }
    void add(double more, double times) {
        seconds += more;
        count += times;
    }
};

struct Costs {
    std::map<int, Cost> placing;  // by setting
    std::map<int, Cost> failing;
    Cost writing;
    Cost committing;
};

Costs readCosts(const std::string& file) {
    std::ifstream stream(file);
    std::string line;
    if (!std::getline(stream, line) || line != "what,setting,count,seconds")
        throw std::runtime_error(file + " is not what kavril sweep --costs writes");
    Costs costs;
    while (std::getline(stream, line)) {
        std::istringstream fields(line);
        std::string what, setting, count, seconds;
        std::getline(fields, what, ',');
        std::getline(fields, setting, ',');
        std::getline(fields, count, ',');
        std::getline(fields, seconds, ',');
        Cost& cost = what == "placing"   ? costs.placing[std::stoi(setting)]
                     : what == "failing" ? costs.failing[std::stoi(setting)]
                     : what == "writing" ? costs.writing
                                         : costs.committing;
        cost.add(std::stod(seconds), std::stod(count));
    }
    return costs;
}

struct Run {
    double seconds = 0.0;
    double work = 0.0;     // of all workers
    double writing = 0.0;  // time that the first process spends on results
};

class Simulation {
  public:
    Simulation(const Costs& costs, int workers, int threads, int repeat)
        : costs_(costs), freeAt_(workers, 0.0) {
        for (int worker = 0; worker < workers; worker++)
            processOf_.push_back(worker / threads);
        int settings = 0;
        for (const auto& [setting, cost] : costs.failing)
            settings = std::max(settings, setting + 1);
        settings_ = settings;
        std::vector<Schedule::Task> tasks;
        for (int copy = 0; copy < repeat; copy++)
            for (const auto& [setting, cost] : costs.failing)
                tasks.push_back(
                    {copy * settings + setting, static_cast<std::size_t>(cost.count)});
        schedule_ =
            std::make_unique<Schedule>(std::move(tasks), processOf_, [this](int setting) {
                std::vector<int> cases(
                    static_cast<std::size_t>(costOf(costs_.failing, setting).count));
                std::iota(cases.begin(), cases.end(), 0);
                return cases;
            });
    }

    Run run() {
        for (int ahead = 0; ahead < 2; ahead++)
            for (int worker = 0; worker < std::ssize(freeAt_); worker++)
                begin(worker, 0.0);
        // What has come in while one transaction was written is the next one.
        while (!ends_.empty()) {
            writerFree_ = std::max(writerFree_, ends_.top().time);
            std::vector<End> group;
            while (!ends_.empty() && ends_.top().time <= writerFree_) {
                group.push_back(ends_.top());
                ends_.pop();
            }
            double handled = costs_.committing.mean();
            for (const End& end : group) {
                handled += costs_.writing.mean() * static_cast<double>(end.cases);
                schedule_->note(end.setting, end.cases, end.placing, end.failing);
                begin(end.worker, writerFree_);
            }
            run_.writing += handled;
            writerFree_ += handled;
        }
        run_.seconds = writerFree_;
        return run_;
    }

  private:
    struct End {
        double time;
        int worker;
        int setting;
        std::size_t cases;
        double placing;
        double failing;
        bool operator>(const End& other) const { return time > other.time; }
    };

    const Cost& costOf(const std::map<int, Cost>& costs, int setting) const {
        static const Cost none;
        const auto at = costs.find(setting % settings_);
        return at == costs.end() ? none : at->second;
    }

    void begin(int worker, double now) {
        const auto batch = schedule_->next(worker);
        if (!batch) return;
        double start = std::max(now, freeAt_[worker]);
        double placing = 0.0;
        const std::pair plan = {processOf_[worker], batch->setting};
        if (const auto ready = ready_.find(plan); ready != ready_.end()) {
            start = std::max(start, ready->second);
        } else {
            placing = costOf(costs_.placing, batch->setting).mean();
            start += placing;
            ready_[plan] = start;
        }
        const double failing = costOf(costs_.failing, batch->setting).mean() *
                               static_cast<double>(batch->cases.size());
        run_.work += placing + failing;
        freeAt_[worker] = start + failing;
        ends_.push({freeAt_[worker], worker, batch->setting, batch->cases.size(), placing,
                    failing});
    }

    const Costs& costs_;
    int settings_ = 1;
    std::vector<int> processOf_;
    std::unique_ptr<Schedule> schedule_;
    std::vector<double> freeAt_;                   // by worker
    std::map<std::pair<int, int>, double> ready_;  // plans of processes
    std::priority_queue<End, std::vector<End>, std::greater<>> ends_;
    double writerFree_ = 0.0;
    Run run_;
};

std::string timeText(double seconds) {
    if (seconds < 600.0) return fmt::format("{:.1f} s", seconds);
    if (seconds < 36000.0) return fmt::format("{:.0f} min", seconds / 60.0);
    return fmt::format("{:.1f} h", seconds / 3600.0);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        std::vector<std::string> words(argv + 1, argv + argc);
        int threads = 1;
        int repeat = 1;
        for (const auto& [name, value] :
             {std::pair("--threads", &threads), std::pair("--repeat", &repeat)})
            if (const auto at = std::ranges::find(words, name);
                at != words.end() && at + 1 != words.end()) {
                *value = std::stoi(at[1]);
                words.erase(at, at + 2);
            }
        if (words.size() < 2 || threads < 1 || repeat < 1)
            throw std::runtime_error(
                "expected COSTS [--threads N] [--repeat N] WORKERS..");
        const Costs costs = readCosts(words[0]);
        const Run alone = Simulation(costs, 1, 1, repeat).run();
        fmt::print(
            "| workers | time | speed-up | workers busy | writer busy |\n"
            "| ---: | ---: | ---: | ---: | ---: |\n");
        for (std::size_t i = 1; i < words.size(); i++) {
            const int workers = std::stoi(words[i]);
            const Run run =
                Simulation(costs, workers, std::min(threads, workers), repeat).run();
            fmt::print("| {} | {} | {:.1f} | {:.0f} % | {:.0f} % |\n", workers,
                       timeText(run.seconds), alone.seconds / run.seconds,
                       100.0 * run.work / run.seconds / workers,
                       100.0 * run.writing / run.seconds);
        }
        return 0;
    } catch (const std::exception& error) {
        fmt::print(stderr, "kavril_sweep_scaling: {}\n", error.what());
        return 2;
    }
}
