// Re-requests LSPs one by one where that makes the network better off.
#pragma once

#include <vector>

#include "engine/place.h"

namespace workbench {

struct Move {
    int round = 0;
    int demand = 0;
    int lspBefore = 0;
    int lspAfter = 0;
    std::vector<int> before;  // paths
    std::vector<int> after;
    double gain = 0.0;  // by which the total score fell
};

struct Improvement {
    double scoreBefore = 0.0;
    double scoreAfter = 0.0;
    std::vector<Move> moves;
    int rounds = 0;
    bool finished = false;  // the last round changed nothing
    // Better paths that were given up since the backups would not have fitted beside the
    // old ones.
    int keptForProtection = 0;
};

// Rounds over all primaries, at most maxRounds (0: until nothing changes). A new LSP is
// made, backups and all, before the old one goes; its request names the old one, so that
// links of both carry the bandwidth once. An LSP that is protected stays so.
Improvement improve(Plan* plan, int maxRounds, const Step& step);

}  // namespace workbench
