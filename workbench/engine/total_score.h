// One figure for how well the primaries are spread over the network.
//
// The library scores what one more LSP adds; this is what those additions sum up to, a
// function of the loads alone: for every criterion of the score the quantity whose
// increase it measures, times its weight. For congestion that is the integral of the
// slopes, without the jumps that the library's price of a single load has.
#pragma once

#include <vector>

#include "plan.h"

namespace workbench {

// Loads by link * classes + class.
using Loads = std::vector<double>;

Loads loadsOf(const Plan& plan);
void addLoad(const std::vector<int>& links, int trafficClass, double bandwidth,
             std::size_t nbClasses, Loads* loads);

double totalScore(const Network& network, const Configuration& configuration,
                  const Loads& loads);

// Cost of a load at slopes 1, 3, 70, 500 and 5000, which change at 1/3, 2/3, 1 and 1.1 of
// the capacity.
double congestion(double load, double capacity);

}  // namespace workbench
