// Re-requests LSPs one by one where that makes the network better off.
#pragma once

#include <vector>

#include "engine/place.h"

namespace workbench {

struct Move {
    int round = 0;
    int demand = 0;
    int lsp = 0;              // keeps its id
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
    // Better paths that were given up since the LSP, or another, would have lost
    // protection.
    int keptForProtection = 0;
};

// Rounds over all primaries but those with a route of their own, at most maxRounds (0:
// until nothing changes), with the same result for any number of jobs. What is protected
// stays so, against all that the plan survives.
//
// An LSP is taken down with its backups before it comes up on the better path, and is put
// back as it was if that does not do. Having both up, as the library can, lets the books
// count as free on a shared link what the other of the two still carries; with the old
// one gone that is put right without asking whether there is room.
Improvement improve(Plan* plan, int maxRounds, int jobs, const Step& step);

}  // namespace workbench
