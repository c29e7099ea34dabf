// Checks a plan from outside: what every single failure does to its LSPs and links, and
// whether its bandwidth tables are those of its LSPs.
//
// Nothing here asks the library. Loads are added up hop by hop from the paths of the
// LSPs; the tables only say what ought to be in them.
//
// What counts as protected. A backup restores the failures that the plan says it is there
// for: a local one the link behind its head and, where it stays clear of it, the node at
// that link's end; a global one every link of its primary and the nodes between the ends
// that it stays clear of. A primary without a note in the plan that it is unprotected is
// promised protection from the failure of each of its links, and from that of the nodes
// that its backups name. Losing a promised LSP is a broken promise. An LSP that starts or
// ends at the failed node is lost, but no protection could help it.
#pragma once

#include <string>
#include <vector>

#include "plan.h"

namespace workbench {

// Loads up to this much above a capacity, relative to it, come from rounding.
constexpr double kRounding = 1e-9;

enum class LossCause {
    ENDS_HERE,    // at the failed node
    UNPROTECTED,  // nothing was promised
    BROKEN,       // protection was promised
};

struct Restored {
    int lsp = 0;  // a primary
    int backup = 0;
};

struct Lost {
    int lsp = 0;
    LossCause cause = LossCause::UNPROTECTED;
    std::string reason;
};

// A load on a link, of one class.
struct Load {
    int link = -1;
    int trafficClass = 0;
    double bandwidth = 0.0;
    double capacity = 0.0;
    double share() const { return capacity > 0.0 ? bandwidth / capacity : 0.0; }
};

struct Failure {
    bool isNode = false;
    int id = 0;  // link or node
    std::vector<int> hit;
    std::vector<Restored> restored;
    std::vector<Lost> lost;
    Load fullest;                 // after the switch to the backups; link -1: no load
    std::vector<Load> overloads;  // links above their capacity
};

// A cell of the plan's tables that is not what its LSPs give.
struct CellDifference {
    int link = 0;
    std::string table;  // capacity, primary, reserved, backup or freed
    int trafficClass = 0;
    int level = 0;
    int failedLink = -1;  // of backup and freed
    double inPlan = 0.0;
    double recomputed = 0.0;
};

struct TableCheck {
    std::size_t cells = 0;     // that are not 0 on both sides
    std::size_t exact = 0;     // equal to the last bit
    std::size_t rounding = 0;  // equal but for the rounding of sums
    std::vector<CellDifference> differing;
};

struct AuditResult {
    std::vector<std::string> problems;  // LSPs that cannot be what the plan says
    std::vector<Load> overloads;        // with nothing failed
    Load fullest;
    std::vector<Failure> failures;  // every link, then every node
    TableCheck tables;
    std::size_t hit = 0;  // sums over all failures
    std::size_t restored = 0;
    std::size_t lostEndsHere = 0;
    std::size_t lostUnprotected = 0;
    std::size_t lostBroken = 0;
    std::size_t overloadedFailures = 0;

    // No promise broken, no link overloaded, tables and LSPs in order.
    bool isClean() const;
};

AuditResult audit(const Plan& plan);

const char* toText(LossCause cause);

}  // namespace workbench
