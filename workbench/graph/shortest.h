// Shortest paths by what a link counts, and how much longer an LSP's path is.
#pragma once

#include <limits>
#include <vector>

#include "plan.h"

namespace workbench {

inline constexpr double kNoWay = std::numeric_limits<double>::infinity();

// What every link counts: its metric, or 1 for all if the network has no metrics. A link
// that states none among others that do counts 1.
std::vector<double> metricsOf(const Network& network);

// The shortest path of at most maxHops links (0 for any), links that count kNoWay left
// out. Empty if there is none. The fewest links among equally short ones.
std::vector<int> shortestPath(const Network& network, const std::vector<double>& lengths,
                              int src, int dst, int maxHops = 0);

// Of every LSP: the length of its path against the shortest between its ends in the
// empty network; 1 is as short as can be.
std::vector<double> stretches(const Plan& plan);

// What the links would carry if every demand took its shortest path whatever room there
// is: the plan of a routing protocol that knows its metrics only.
struct Baseline {
    double carried = 0.0;  // bandwidth of the demands that have a path
    Shares shares;         // of all classes together, over links with a capacity
    int overloaded = 0;    // links above their capacity
    int fullest = -1;      // link
};
Baseline baselineOf(const Plan& plan);

}  // namespace workbench
