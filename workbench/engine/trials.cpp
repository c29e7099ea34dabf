#include "engine/trials.h"

#include <algorithm>
#include <chrono>
#include <deque>

namespace workbench {

namespace {

// Factors beyond are of no use to anyone.
constexpr double kMostGrowth = 1e12;

// Parts of the largest factor that are tried too.
constexpr double kParts[] = {0.1, 0.2,  0.3,  0.4,   0.5,  0.6,  0.7,  0.8,  0.85,
                             0.9, 0.92, 0.94, 0.955, 0.97, 0.98, 0.99, 0.995};

struct GivenUp {};

}  // namespace

double Course::factor() const {
    if (phase_ == Phase::GROWING) return fails_;
    if (phase_ == Phase::HALVING) return (works_ + fails_) / 2.0;
    return kParts[checked_] * works_;
}

void Course::note(bool works) {
    if (phase_ == Phase::CHECKING) return noteCheck(works);
    const double tried = factor();
    (works ? works_ : fails_) = tried;
    if (phase_ == Phase::GROWING) {
        if (works) fails_ = 2.0 * tried;
        if (!works || fails_ >= kMostGrowth) phase_ = Phase::HALVING;
    }
    const bool isExact = fails_ - works_ <= precision_ * fails_;
    if (phase_ == Phase::HALVING && isExact) phase_ = Phase::CHECKING;
}

void Course::noteCheck(bool works) {
    if (works)
        lastPart_ = factor();
    else
        refused_ = true;
    checked_++;
    if (refused_ || checked_ == std::ssize(kParts)) phase_ = Phase::OVER;
}

Trials::Trials(int jobs, Try tryFactor)
    : jobs_(static_cast<std::size_t>(jobs)), tryFactor_(std::move(tryFactor)) {}

Trials::~Trials() {
    for (auto& [factor, trial] : trials_) trial.isUnwanted = true;
}

TrialResult Trials::next(const Course& course, const Step& step) {
    std::size_t told = 0;
    std::unique_lock lock(mutex_);
    for (bool isOver = false; !isOver;) {
        tryAhead(course);
        const Trial& trial = trials_.at(course.factor());
        if (!trial.isOver) changed_.wait_for(lock, std::chrono::milliseconds(50));
        isOver = trial.isOver && !trial.isUnwanted;
        lock.unlock();
        for (const std::size_t steps = trial.steps; told < steps; told++)
            if (step) step();
        lock.lock();
    }
    const Trial& trial = trials_.at(course.factor());
    if (trial.error) std::rethrow_exception(trial.error);
    return trial.outcome;
}

void Trials::tryAhead(const Course& course) {
    const std::vector<double> wanted = factorsAhead(course);
    for (auto at = trials_.begin(); at != trials_.end();) {
        auto& [factor, trial] = *at;
        const bool isWanted = std::ranges::count(wanted, factor) > 0;
        if (!trial.isOver && !isWanted) trial.isUnwanted = true;
        // One that was given up is tried anew if it is wanted again.
        at = trial.isOver && trial.isUnwanted ? trials_.erase(at) : std::next(at);
    }
    for (const double factor : wanted) {
        const auto [at, isNew] = trials_.try_emplace(factor);
        Trial* trial = &at->second;
        if (isNew) trial->thread = std::jthread([=, this] { run(factor, trial); });
    }
}

// The next one, then those after it if it does and those if it does not.
std::vector<double> Trials::factorsAhead(const Course& course) const {
    std::vector<double> factors;
    std::deque<Course> courses = {course};
    while (!courses.empty() && factors.size() < jobs_) {
        const Course one = courses.front();
        courses.pop_front();
        if (one.isOver()) continue;
        const double factor = one.factor();
        const auto known = trials_.find(factor);
        const bool isKnown =
            known != trials_.end() && known->second.isOver && !known->second.isUnwanted;
        if (!isKnown && std::ranges::count(factors, factor) == 0)
            factors.push_back(factor);
        for (const bool works : {true, false}) {
            if (isKnown && known->second.outcome.works != works) continue;
            courses.push_back(one);
            courses.back().note(works);
        }
    }
    return factors;
}

void Trials::run(double factor, Trial* trial) {
    TrialResult outcome;
    std::exception_ptr error;
    try {
        outcome = tryFactor_(factor, [trial] {
            trial->steps++;
            if (trial->isUnwanted) throw GivenUp();
        });
    } catch (...) {
        error = std::current_exception();
    }
    const std::lock_guard lock(mutex_);
    trial->outcome = std::move(outcome);
    trial->error = error;
    trial->isOver = true;
    changed_.notify_one();
}

}  // namespace workbench
