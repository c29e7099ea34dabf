// A sweep: all cases of a study that are not in its results yet, on all threads of this
// process and of the others.
#pragma once

#include <functional>
#include <string>

#include "sweep/grid.h"
#include "sweep/ranks.h"

namespace workbench {

struct SweepOptions {
    std::string results;  // file
    int jobs = 1;         // threads of this process
    bool retry = false;   // cases that have failed, too
    std::string costs;    // file for what batches took, empty for none
};

struct SweepOutcome {
    std::size_t cases = 0;   // of the study
    std::size_t before = 0;  // that were there
    std::size_t done = 0;    // now
    std::size_t failed = 0;  // that stand in the results, with a reason
    double seconds = 0.0;
};

// Called now and then with the number of cases that are there; ends the sweep by
// throwing. What is done by then is kept.
using SweepWatch = std::function<void(const SweepOutcome& soFar)>;

// For the first process. `ranks` may be null.
SweepOutcome runSweep(const Grid& grid, const SweepOptions& options, Ranks* ranks,
                      const SweepWatch& watch);

// For the others: works until the first says that all is done.
void helpSweep(Ranks* ranks, int jobs);

// Ids of all settings. Reads the matrices.
std::vector<std::string> settingIds(const Grid& grid);

// What a sweep will take, from some cases that are tried.
struct SweepEstimate {
    std::size_t plans = 0;
    std::size_t cases = 0;
    double seconds = 0.0;      // of one thread
    double memory = 0.0;       // bytes, of this process
    double results = 0.0;      // bytes of the file
    std::size_t timed = 0;     // cases that were tried for this
    std::string failure = {};  // why a plan that was tried is not there
};
SweepEstimate estimateSweep(const Grid& grid, int jobs,
                            const std::function<void()>& check);

}  // namespace workbench
