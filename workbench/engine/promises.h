// The last look at a plan before it is written.
//
// LSPs are placed and protected step by step, each step careful of those before. Whether
// the whole keeps its word is for the audit to say, which shares none of that work: it
// fails everything that the plan claims to survive.
#pragma once

#include "engine/place.h"

namespace workbench {

// What had to be taken back.
struct TakenBack {
    int exposed = 0;  // claims to survive a failure
    int backups = 0;  // LSPs whose backups would overload a link
    int lsps = 0;     // LSPs for which a link has no room
    bool any() const { return exposed + backups + lsps > 0; }
    TakenBack& operator+=(const TakenBack& more);
};

// What a plan claims to survive: nothing without backups.
std::vector<FailureSet> promisedFailures(const Plan& plan);

// Takes back what the plan claims and does not keep, the least important first: an LSP
// that a failure takes down is noted to be exposed to it, where a failure overloads a
// link the backups that do so are taken down, and where a link has no room at all LSPs
// are, each with the reason. Throws, and then the plan must not be written, if it is not
// in order for another reason. `step` is called for every failure tried.
TakenBack keepPromises(Plan* plan, const Step& step);

}  // namespace workbench
