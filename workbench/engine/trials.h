// Placements at several factors at once, each on a thread of its own.
#pragma once

#include <atomic>
#include <condition_variable>
#include <exception>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "engine/place.h"

namespace workbench {

// Which factors headroom tries, each after what came of those before.
class Course {
  public:
    explicit Course(double precision) : precision_(precision) {}

    bool isOver() const { return phase_ == Phase::OVER; }
    double factor() const;  // the next one
    void note(bool works);  // what came of it

    double largest() const { return works_; }
    double best() const { return refused_ ? lastPart_ : works_; }
    int checked() const { return checked_; }

  private:
    enum class Phase { GROWING, HALVING, CHECKING, OVER };

    void noteCheck(bool works);

    double precision_;
    Phase phase_ = Phase::GROWING;
    double works_ = 0.0;
    double fails_ = 1.0;
    int checked_ = 0;  // parts of the largest factor
    double lastPart_ = 0.0;
    bool refused_ = false;  // one of the parts
};

struct TrialResult {
    bool works = false;
    // Otherwise what was refused, and why.
    int request = -1;
    std::string reason{};
};

// What comes of a factor does not depend on others, nor on when it is tried.
class Trials {
  public:
    using Try = std::function<TrialResult(double factor, const Step& step)>;

    Trials(int jobs, Try tryFactor);
    // Gives up what still runs; a trial ends with its next step.
    ~Trials();
    Trials(const Trials&) = delete;
    Trials& operator=(const Trials&) = delete;

    // Waits for the next factor of a course, and calls `step` for each of its steps.
    // Other cores try factors that may follow. Throws what the trial, or `step`, throws.
    TrialResult next(const Course& course, const Step& step);

  private:
    struct Trial {
        bool isOver = false;  // this, outcome and error under the lock
        TrialResult outcome;
        std::exception_ptr error;
        std::atomic<std::size_t> steps = 0;
        std::atomic<bool> isUnwanted = false;
        std::jthread thread;  // the last one: it ends before the others go
    };

    void tryAhead(const Course& course);
    std::vector<double> factorsAhead(const Course& course) const;
    void run(double factor, Trial* trial);

    const std::size_t jobs_;
    const Try tryFactor_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::map<double, Trial> trials_;  // only next() adds to it
};

}  // namespace workbench
