// Backups that keep clear of everything that fails along with what they protect: for LSPs
// to which the library's own choice is of no use then.
#pragma once

#include <vector>

#include "engine/survival.h"

namespace workbench {

// The links of a way that has room for the bandwidth: the one with the fewest, or the
// shortest by delay.
struct Wish {
    int src = 0;
    std::vector<int> goals;  // nodes, any of them
    int trafficClass = 0;
    double bandwidth = 0.0;
    std::vector<char> forbidden;  // by link
    // Failures during which the way is used; with none it is used always.
    std::vector<int> failures;
    bool byDelay = false;
};
std::vector<int> findWay(const Network& network, const Survival& survival,
                         const Wish& wish, bool needsRoom);  // nodes, empty: none

// The path of a backup for a primary, from the given hop on (-1: end to end). It avoids
// the links that it guards, and of the failures that hit these as many as it can, all
// if possible. Links in `unwanted` are not used. Empty if there is none.
std::vector<int> backupPath(const Network& network, const Survival& survival,
                            const PlanLsp& primary, int hop,
                            const std::vector<int>& unwanted, bool byDelay);

// Whether some way, with or without room, avoids one of the failures that take a primary
// down now.
bool couldCover(const Network& network, const Survival& survival, const PlanLsp& primary,
                bool local, const std::vector<int>& exposures);

}  // namespace workbench
