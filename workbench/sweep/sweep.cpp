#include "sweep/sweep.h"

#include <fmt/format.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <deque>
#include <fstream>
#include <map>

#include "cli/error.h"
#include "cli/file.h"
#include "sweep/compute.h"
#include "sweep/crew.h"
#include "sweep/hash.h"
#include "sweep/results.h"
#include "sweep/schedule.h"
#include "sweep/wire.h"

namespace workbench {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// So that a thread of another process does not wait for its next batch.
constexpr int kBatchesAhead = 2;

// What batches took, as a table for tools that ask how far a sweep would scale.
class CostLog {
  public:
    void add(const BatchResult& result) {
        const std::lock_guard lock(mutex_);
        if (result.placing > 0.0)
            lines_ +=
                fmt::format("placing,{},1,{:.6f}\n", result.setting, result.placing);
        lines_ += fmt::format("failing,{},{},{:.6f}\n", result.setting, result.size(),
                              result.failing);
        cases_ += result.size();
    }
    std::string text(const Results::Times& times) const {
        return "what,setting,count,seconds\n" + lines_ +
               fmt::format("writing,,{},{:.6f}\ncommitting,,{},{:.6f}\n", cases_,
                           times.writing, times.commits, times.committing);
    }

  private:
    std::mutex mutex_;
    std::string lines_;
    std::size_t cases_ = 0;
};

// The first process's side of the others.
class Helpers {
  public:
    using Take = std::function<std::optional<Batch>(int worker)>;

    Helpers(Ranks* ranks, const Grid& grid) : ranks_(ranks), grid_(grid) {
        if (ranks == nullptr) return;
        const Study& study = grid.study();
        std::vector<std::string> texts = {study.text.dump(), study.folder};
        for (const NetworkTexts& network : grid.texts()) {
            texts.push_back(network.network);
            texts.push_back(network.sets);
        }
        ranks->broadcast(packed(texts));
        threads_.resize(ranks->size());
        for (int missing = ranks->size() - 1; missing > 0;) {
            const auto message = ranks->receive();
            if (!message) {
                std::this_thread::sleep_for(milliseconds(1));
                continue;
            }
            threads_[message->rank].resize(std::stoul(message->bytes));
            missing--;
        }
    }

    // Their threads, after those of this process.
    std::vector<int> processOfThreads(int own) {
        std::vector<int> processOf(own, 0);
        for (std::size_t rank = 0; rank < threads_.size(); rank++)
            for (Thread& thread : threads_[rank]) {
                thread.worker = static_cast<int>(processOf.size());
                processOf.push_back(static_cast<int>(rank));
            }
        return processOf;
    }

    void begin(Schedule* schedule, Take take) {
        schedule_ = schedule;
        take_ = std::move(take);
        for (int ahead = 0; ahead < kBatchesAhead; ahead++)
            for (int rank = 0; rank < std::ssize(threads_); rank++)
                for (int i = 0; i < std::ssize(threads_[rank]); i++) sendNext(rank, i);
    }

    bool areBusy() const { return busy_ > 0; }

    // What has come in, if anything.
    std::optional<BatchResult> receive() {
        if (ranks_ == nullptr) return std::nullopt;
        const auto message = ranks_->receive();
        if (!message || message->tag != Tag::RESULT) return std::nullopt;
        BatchResult result = resultFrom(message->bytes);
        busy_--;
        schedule_->note(result.setting, result.size(), result.placing, result.failing);
        sendNext(message->rank, result.thread);
        return result;
    }

    void end() {
        if (ranks_ == nullptr) return;
        for (int rank = 1; rank < ranks_->size(); rank++)
            ranks_->send(rank, Tag::STOP, {});
    }

  private:
    struct Thread {
        int worker = 0;
        int setting = -1;  // of its last batch
    };

    void sendNext(int rank, int index) {
        Thread& thread = threads_[rank][index];
        std::optional<Batch> batch = take_(thread.worker);
        if (!batch) return;
        batch->thread = index;
        if (batch->setting != thread.setting) batch->matrix = matrixOf(batch->setting);
        thread.setting = batch->setting;
        ranks_->send(rank, Tag::BATCH, packed(*batch));
        busy_++;
    }

    // Null if it cannot be read: whoever tries that again will say why.
    std::shared_ptr<const std::string> matrixOf(int setting) {
        const std::string file = grid_.matrixFile(grid_.settings()[setting]);
        if (file != matrixFile_) {
            matrixFile_ = file;
            try {
                matrix_ = std::make_shared<const std::string>(readFile(file));
            } catch (const UserError&) {
                matrix_ = nullptr;
            }
        }
        return matrix_;
    }

    Ranks* ranks_;
    const Grid& grid_;
    Schedule* schedule_ = nullptr;
    Take take_;
    std::vector<std::vector<Thread>> threads_;  // by rank
    int busy_ = 0;                              // batches that are out
    std::string matrixFile_;
    std::shared_ptr<const std::string> matrix_;
};

// Batches for the threads of a process that is not the first.
class Inbox {
  public:
    explicit Inbox(int threads) : batches_(threads) {}

    std::optional<Batch> take(int thread) {
        std::unique_lock lock(mutex_);
        auto& own = batches_[thread];
        changed_.wait(lock, [&] { return isClosed_ || !own.empty(); });
        if (own.empty()) return std::nullopt;
        Batch batch = std::move(own.front());
        own.pop_front();
        return batch;
    }
    void put(Batch batch) {
        const std::lock_guard lock(mutex_);
        batches_[batch.thread].push_back(std::move(batch));
        changed_.notify_all();
    }
    void close() {
        const std::lock_guard lock(mutex_);
        isClosed_ = true;
        changed_.notify_all();
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::deque<Batch>> batches_;
    bool isClosed_ = false;
};

// What they have done, to be sent.
class Outbox {
  public:
    void put(std::string bytes) {
        const std::lock_guard lock(mutex_);
        results_.push_back(std::move(bytes));
    }
    std::optional<std::string> take() {
        const std::lock_guard lock(mutex_);
        if (results_.empty()) return std::nullopt;
        std::string bytes = std::move(results_.front());
        results_.pop_front();
        return bytes;
    }

  private:
    std::mutex mutex_;
    std::deque<std::string> results_;
};

double residentBytes() {
    std::ifstream file("/proc/self/statm");
    double all = 0.0;
    double resident = 0.0;
    file >> all >> resident;
    return resident * static_cast<double>(sysconf(_SC_PAGESIZE));
}

}  // namespace

std::vector<std::string> settingIds(const Grid& grid) {
    std::map<std::string, std::string> hashOfFile;
    std::vector<std::string> ids;
    for (const Setting& setting : grid.settings()) {
        const std::string file = grid.matrixFile(setting);
        auto at = hashOfFile.find(file);
        if (at == hashOfFile.end()) {
            std::string hash;
            try {
                hash = hashText(hashOf(readFile(file)));
            } catch (const UserError& error) {
                hash = error.what();
            }
            at = hashOfFile.emplace(file, std::move(hash)).first;
        }
        ids.push_back(grid.idOf(setting, at->second));
    }
    return ids;
}

SweepOutcome runSweep(const Grid& grid, const SweepOptions& options, Ranks* ranks,
                      const SweepWatch& watch) {
    const auto start = Clock::now();
    Results results(options.results, grid, settingIds(grid));
    if (options.retry) results.forgetFailed();
    SweepOutcome outcome = {.cases = grid.nbCases()};
    std::vector<Schedule::Task> tasks;
    std::size_t missing = 0;
    for (int i = 0; i < std::ssize(grid.settings()); i++) {
        const std::size_t count = results.missing(i).size();
        if (count > 0) tasks.push_back({i, count});
        missing += count;
    }
    outcome.before = outcome.cases - missing;

    Helpers helpers(ranks, grid);
    Schedule schedule(std::move(tasks), helpers.processOfThreads(options.jobs),
                      [&](int setting) { return results.missing(setting); });
    CostLog costs;
    Computer computer(grid);
    const auto take = [&](int worker) {
        std::optional<Batch> batch = schedule.next(worker);
        if (batch) batch->settingId = results.idOf(batch->setting);
        return batch;
    };
    helpers.begin(&schedule, take);
    Crew crew(options.jobs, &computer, take, [&](int, BatchResult result) {
        schedule.note(result.setting, result.size(), result.placing, result.failing);
        costs.add(result);
        std::vector<BatchResult> one;
        one.push_back(std::move(result));
        results.put(std::move(one));
    });
    const auto look = [&] {
        outcome.done = results.nbDone();
        outcome.seconds = std::chrono::duration<double>(Clock::now() - start).count();
        watch(outcome);
    };
    try {
        for (bool isOver = false; !isOver || helpers.areBusy();) {
            // All that has come in is one transaction.
            std::vector<BatchResult> received;
            while (auto result = helpers.receive()) {
                costs.add(*result);
                received.push_back(std::move(*result));
            }
            if (!received.empty())
                results.put(std::move(received));
            else if (isOver)
                std::this_thread::sleep_for(milliseconds(1));
            isOver = isOver || crew.wait(milliseconds(ranks == nullptr ? 50 : 1));
            look();
        }
    } catch (...) {
        crew.stop();
        results.flush();
        throw;
    }
    results.flush();
    look();
    helpers.end();
    outcome.failed = results.nbFailed();
    if (!options.costs.empty()) writeFile(options.costs, costs.text(results.times()));
    return outcome;
}

void helpSweep(Ranks* ranks, int jobs) {
    const std::vector<std::string> texts = textsFrom(ranks->broadcast({}));
    std::vector<NetworkTexts> networks;
    for (std::size_t i = 2; i + 1 < texts.size(); i += 2)
        networks.push_back({texts[i], texts[i + 1]});
    const Grid grid(studyFrom(nlohmann::json::parse(texts[0]), texts[1]), networks);
    Computer computer(grid);
    Inbox inbox(jobs);
    Outbox outbox;
    {
        Crew crew(
            jobs, &computer, [&](int thread) { return inbox.take(thread); },
            [&](int, const BatchResult& result) { outbox.put(packed(result)); });
        ranks->send(0, Tag::HELLO, std::to_string(jobs));
        for (;;) {
            if (const auto message = ranks->receive()) {
                if (message->tag == Tag::STOP) break;
                inbox.put(batchFrom(message->bytes));
            } else if (auto bytes = outbox.take()) {
                ranks->send(0, Tag::RESULT, std::move(*bytes));
            } else {
                crew.wait(milliseconds(1));
            }
        }
        inbox.close();
    }
}

SweepEstimate estimateSweep(const Grid& grid, int jobs,
                            const std::function<void()>& check) {
    constexpr std::size_t kPlans = 8;
    constexpr double kPatience = 20.0;  // seconds of work
    constexpr std::size_t kCases = 200;
    constexpr double kRowBytes = 250.0;
    constexpr double kCache = 64e6;
    SweepEstimate estimate = {.plans = grid.settings().size(), .cases = grid.nbCases()};
    double placing = 0.0;
    double failing = 0.0;
    double planBytes = 0.0;
    std::size_t plans = 0;
    const std::size_t tried = std::min(kPlans, estimate.plans);
    for (std::size_t i = 0; i < tried && placing + failing < kPatience; i++) {
        // By the golden section, in step with no axis.
        const double place = estimate.plans == tried
                                 ? static_cast<double>(i) / static_cast<double>(tried)
                                 : std::fmod(0.618034 * static_cast<double>(i), 1.0);
        const auto setting =
            static_cast<std::size_t>(place * static_cast<double>(estimate.plans) + 1e-9);
        Batch batch = {.setting = static_cast<int>(setting)};
        const std::size_t all = grid.casesOf(grid.settings()[setting]).size();
        const std::size_t stride = std::max<std::size_t>(1, all / kCases);
        for (std::size_t index = 0; index < all; index += stride)
            batch.cases.push_back(static_cast<int>(index));
        const double before = residentBytes();
        Computer computer(grid);
        Computer::Worker worker;
        const BatchResult result = computer.compute(batch, &worker, check);
        planBytes = std::max(planBytes, residentBytes() - before);
        if (!result.planError.empty()) {
            estimate.failure = result.planError;
            continue;
        }
        placing += result.placing;
        failing += result.failing;
        plans++;
        estimate.timed += batch.cases.size();
    }
    if (plans > 0)
        estimate.seconds =
            placing / static_cast<double>(plans) * static_cast<double>(estimate.plans) +
            failing / static_cast<double>(std::max<std::size_t>(estimate.timed, 1)) *
                static_cast<double>(estimate.cases);
    estimate.memory = residentBytes() + kCache + jobs * planBytes;
    estimate.results = kRowBytes * static_cast<double>(estimate.cases);
    return estimate;
}

}  // namespace workbench
