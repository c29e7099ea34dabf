#include "cli/progress.h"

#include <fmt/format.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

namespace workbench {

static volatile std::sig_atomic_t interruptSeen = 0;

void watchInterrupt() {
    struct sigaction action = {};
    action.sa_handler = [](int) { interruptSeen = 1; };
    action.sa_flags = SA_RESETHAND;  // the second one ends the process
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

void checkInterrupt() {
    if (interruptSeen != 0) throw Interrupted();
}

Progress::Progress(const Shared& shared, Stages stages)
    : stages_(std::move(stages)),
      shown_(!shared.quiet && !shared.json && isatty(STDERR_FILENO) == 1),
      started_(Clock::now()),
      next_(started_ + std::chrono::milliseconds(300)) {}

Progress::~Progress() {
    if (drawn_) std::fputs("\r\033[K", stderr);
}

void Progress::start(Stages stages) {
    stages_ = std::move(stages);
    startStage(0);
}

// Drawn at once, for the first step may be long.
void Progress::startStage(std::size_t number) {
    stage_ = number;
    done_ = 0;
    started_ = Clock::now();
    if (shown_) draw();
}

void Progress::sayEachMinute(const Shared& shared) {
    byLine_ = !shown_ && !shared.quiet && !shared.json;
    next_ = started_ + std::chrono::minutes(1);
}

void Progress::reach(std::size_t done) {
    checkInterrupt();
    done_ = done;
    const bool isOver = done_ == stages_[stage_].total && stage_ + 1 < stages_.size();
    if (isOver && stages_[stage_ + 1].total > 0)
        startStage(stage_ + 1);
    else if (shown_ && Clock::now() >= next_)
        draw();
    else if (byLine_ && Clock::now() >= next_)
        say();
}

// As if the steps to come took as long as those done; empty in the first second, when
// that says little.
std::string Progress::timeLeft() const {
    const std::chrono::duration<double> past = Clock::now() - started_;
    if (past.count() < 1.0 || done_ == 0) return {};
    const double seconds = past.count() *
                           static_cast<double>(stages_[stage_].total - done_) /
                           static_cast<double>(done_);
    if (seconds < 90.0) return fmt::format(", {:.0f} s left", seconds);
    if (seconds < 5400.0) return fmt::format(", {:.0f} min left", seconds / 60.0);
    return fmt::format(", {:.1f} h left", seconds / 3600.0);
}

void Progress::say() {
    const auto& [what, total] = stages_[stage_];
    fmt::print(stderr, "{}: {} of {}{}\n", what, done_, total, timeLeft());
    next_ = Clock::now() + std::chrono::minutes(1);
}

void Progress::draw() {
    constexpr std::size_t kWidth = 20;
    const auto& [what, total] = stages_[stage_];
    fmt::print(stderr, "\r\033[K{} ", what);
    if (total > 0 && done_ <= total) {
        const std::size_t filled = kWidth * done_ / total;
        fmt::print(stderr, "[{}{}] {} of {}{}", std::string(filled, '#'),
                   std::string(kWidth - filled, '.'), done_, total, timeLeft());
    } else {
        fmt::print(stderr, "... {}", done_);
    }
    std::fflush(stderr);
    drawn_ = true;
    next_ = Clock::now() + std::chrono::milliseconds(100);
}

}  // namespace workbench
