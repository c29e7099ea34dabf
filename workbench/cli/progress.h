// Progress of long work, and its ending by Ctrl-C.
#pragma once

#include <chrono>
#include <stdexcept>
#include <string>

#include "cli/shared.h"

namespace workbench {

// Thrown by checkInterrupt after Ctrl-C; main turns it into exit status 130.
struct Interrupted : std::runtime_error {
    Interrupted() : std::runtime_error("interrupted") {}
};

// From here on Ctrl-C asks long work to end; a second Ctrl-C ends the process at once.
void watchInterrupt();

// Throws Interrupted once Ctrl-C has been pressed. For loops without a progress bar.
void checkInterrupt();

// A bar on standard error while that is a terminal and neither --quiet nor --json is
// given; nothing otherwise. It is wiped when the object goes. Where nobody can say how
// many steps there will be, total is 0, or too small, and steps are only counted.
//
//     Progress progress(shared, "placing", demands.size());
//     for (...) { ...; progress.advance(); }
class Progress {
  public:
    Progress(const Shared& shared, std::string what, std::size_t total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // Counts a step. Throws Interrupted after Ctrl-C.
    void advance(std::size_t steps = 1);

  private:
    void draw();

    std::string what_;
    std::size_t total_;
    std::size_t done_ = 0;
    bool shown_;
    bool drawn_ = false;
    std::chrono::steady_clock::time_point next_;
};

}  // namespace workbench
