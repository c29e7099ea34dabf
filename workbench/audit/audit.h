// Checks a plan from outside: what failures do to its LSPs and links, and whether its
// bandwidth tables are those of its LSPs.
//
// Nothing here asks the library. Loads are added up hop by hop from the paths of the
// LSPs; the tables only say what ought to be in them.
//
// What is promised. A plan says which kinds of failures its backups are to survive:
// cables and nodes unless told otherwise, and single links always. A primary without a
// note that it is unprotected is promised to survive all of these but the ones that it is
// noted to be exposed to. Losing a promised LSP is a broken promise. An LSP that starts
// or ends at a failed node is lost, but no protection could help it. A baseline promises
// nothing.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "graph/shortest.h"
#include "plan.h"

namespace workbench {

// Loads up to this much above a capacity, relative to it, come from rounding.
constexpr double kRounding = 1e-9;

enum class LossCause {
    ENDS_HERE,    // at the failed node
    UNPROTECTED,  // it has no backup
    NOT_COVERED,  // its backups are not there for this failure
    BROKEN,       // protection was promised
};

struct Restored {
    int lsp = 0;               // a primary
    std::vector<int> backups;  // in the order in which the traffic takes them
    double stretch = 1.0;      // of its way then
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

// The fullest that a link gets in a class.
struct WorstLoad {
    Load load;
    int failure = -1;  // that causes it, by its place in AuditResult; -1: none is needed
};

struct Failure {
    FailureSet set;
    bool claimed = false;  // of a kind that the plan's backups are to survive
    std::vector<int> hit;
    std::vector<Restored> restored;
    std::vector<Lost> lost;
    double bandwidthLost = 0.0;      // but for LSPs that end at a failed node
    double bandwidthEndsHere = 0.0;  // of these
    Load fullest;                    // after the switch to the backups; link -1: no load
    std::vector<Load> overloads;     // links above their capacity
};

// Of what is restored.
Stretch stretchOf(const Failure& failure);

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
    std::vector<Failure> failures;
    std::vector<WorstLoad> worst;  // by link * classes + class, over all failures
    TableCheck tables;
    std::vector<LinkTables> booked;  // what the links book for the LSPs
    std::size_t hit = 0;             // sums over all failures
    std::size_t restored = 0;
    std::size_t lostEndsHere = 0;
    std::size_t lostUnprotected = 0;
    std::size_t lostNotCovered = 0;
    std::size_t lostBroken = 0;
    std::size_t overloadedFailures = 0;
    std::size_t overloadedClaimed = 0;  // of a kind that backups are to survive
    bool isRoomPromised = true;         // not by a baseline

    // No promise broken, no link overloaded where the plan says that there is room,
    // tables and LSPs in order.
    bool isClean() const;
};

// `step` is called after every failure.
AuditResult audit(const Plan& plan, const std::vector<FailureSet>& failures,
                  const std::function<void()>& step = {});

const char* toText(LossCause cause);

}  // namespace workbench
