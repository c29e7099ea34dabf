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

Progress::Progress(const Shared& shared, std::string what, std::size_t total)
    : what_(std::move(what)),
      total_(total),
      shown_(!shared.quiet && !shared.json && isatty(STDERR_FILENO) == 1),
      next_(std::chrono::steady_clock::now() + std::chrono::milliseconds(300)) {}

Progress::~Progress() {
    if (drawn_) std::fputs("\r\033[K", stderr);
}

void Progress::advance(std::size_t steps) {
    checkInterrupt();
    done_ += steps;
    if (!shown_ || std::chrono::steady_clock::now() < next_) return;
    next_ = std::chrono::steady_clock::now() + std::chrono::milliseconds(100);
    draw();
}

void Progress::draw() {
    constexpr std::size_t kWidth = 30;
    fmt::print(stderr, "\r\033[K{} ", what_);
    if (total_ > 0 && done_ <= total_) {
        const std::size_t filled = kWidth * done_ / total_;
        fmt::print(stderr, "[{}{}] {} of {}", std::string(filled, '#'),
                   std::string(kWidth - filled, '.'), done_, total_);
    } else {
        fmt::print(stderr, "... {}", done_);
    }
    std::fflush(stderr);
    drawn_ = true;
}

}  // namespace workbench
