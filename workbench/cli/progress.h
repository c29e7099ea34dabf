// Progress of long work, and its ending by Ctrl-C.
#pragma once

#include <chrono>
#include <stdexcept>
#include <string>
#include <vector>

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

// A bar with the time left on standard error while that is a terminal and neither --quiet
// nor --json is given; nothing otherwise. It is wiped when the object goes. Where nobody
// can say how many steps there will be, total is 0, or too small, and steps are only
// counted.
//
//     Progress progress(shared, {{"placing", demands.size()}, {"protecting", lsps}});
//     for (...) { ...; progress.advance(); }
class Progress {
  public:
    // Work that goes on for some steps, until that of the next stage begins.
    struct Stage {
        std::string what;
        std::size_t total = 0;
    };
    using Stages = std::vector<Stage>;

    Progress(const Shared& shared, Stages stages);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // From here on the work is another one.
    void start(Stages stages);

    // Counts a step. Throws Interrupted after Ctrl-C.
    void advance() { reach(done_ + 1); }

    // So many steps of the stage are done. Throws as advance() does.
    void reach(std::size_t done);

    // For work of hours: a line each minute where there is no terminal to draw on.
    void sayEachMinute(const Shared& shared);

  private:
    using Clock = std::chrono::steady_clock;

    void startStage(std::size_t number);
    void draw();
    void say();
    std::string timeLeft() const;

    Stages stages_;
    std::size_t stage_ = 0;
    std::size_t done_ = 0;  // of the stage
    bool shown_;
    bool drawn_ = false;
    bool byLine_ = false;
    Clock::time_point started_;
    Clock::time_point next_;
};

}  // namespace workbench
