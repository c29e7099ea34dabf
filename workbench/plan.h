// A plan: a network, how it was run, and every LSP that is up on it with the bandwidth
// that the links book for them.
//
// Nodes, links and LSPs are named by their numbers: a node or link by its index in the
// network, an LSP by its id, a demand by its index in the plan. Classes are numbered in
// the order of Configuration::classes; tables are [class][level] with all eight levels.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "network.h"
#include "weights.h"

namespace workbench {

constexpr int kPlanClasses = 8;
constexpr int kPlanLevels = 8;

struct TrafficClass {
    std::string name;
    double capacityShare = 1.0;  // of the capacity of every link
};

// Part of every demand that becomes an LSP of its own.
struct TrafficPart {
    int trafficClass = 0;
    int level = 0;       // preemption level, 0 the most important
    double share = 1.0;  // of the demand's bandwidth
};

enum class FailureKind { LINK, CABLE, NODE, GROUP, PAIR, CUSTOM };

// What fails at once. A cable is the links of both directions.
struct FailureSet {
    FailureKind kind = FailureKind::CUSTOM;
    std::string name;        // "A > B" for a link, "A - B" for a cable, "A" for a node
    std::vector<int> links;  // ascending; a failed node takes its own links along
    std::vector<int> nodes;
    std::optional<double> probability = {};  // part of the time that it is down
    bool operator==(const FailureSet&) const = default;
};

enum class Protection { NONE, LOCAL, GLOBAL };
enum class Order { GIVEN, LARGEST, SHUFFLED };

// How LSPs get their paths: asked for one by one and admitted where there is room, or all
// on the shortest by the links' metrics, as a plan to compare with that promises no room.
enum class Routing { ADMITTED, SHORTEST_PATH };

struct Configuration {
    std::vector<TrafficClass> classes = {{"default", 1.0}};
    std::vector<TrafficPart> parts = {{0, 0, 1.0}};
    Weights weights;
    Protection protection = Protection::NONE;
    // Failures that backups are to survive, besides that of single links.
    std::vector<FailureKind> survive = {FailureKind::CABLE, FailureKind::NODE};
    Routing routing = Routing::ADMITTED;
    Order order = Order::GIVEN;
    bool preempt = true;
    double scale = 1.0;      // of every demand
    int maxDemands = 0;      // demands taken from the front of the matrix, 0 for all
    std::uint64_t seed = 1;  // of the shuffle
};

enum class Outcome {
    PLACED,     // at the first request, never preempted
    REFUSED,    // at the first request
    REPLACED,   // preempted, and placed when it was requested again
    PREEMPTED,  // preempted, and refused when it was requested again
};

// One request: a part of a demand of the matrix.
struct PlanDemand {
    std::string name;
    int src = 0;
    int dst = 0;
    int trafficClass = 0;
    int level = 0;
    double bandwidth = 0.0;
    Outcome outcome = Outcome::REFUSED;
    int lsp = -1;             // its primary, -1 while none is up
    std::string reason;       // why it is not up
    std::string unprotected;  // why the primary has no backup though one was asked for
    int avoid = 0;            // colours of links to avoid, a bit mask
    double maxDelay = 0.0;    // of the primary's path, 0 for any
    int maxHops = 0;
    // Of the failures to survive, those that its backups do not cover, by name.
    std::vector<std::string> exposed = {};
    std::vector<int> route = {};  // nodes that it must take; empty: any
    // What its primary keeps to and its backups do not: "colours", "delay", "hops".
    std::vector<std::string> beyond = {};
    bool operator==(const PlanDemand&) const = default;
};

enum class LspKind { PRIMARY, LOCAL_BACKUP, GLOBAL_BACKUP };

struct PlanLsp {
    int id = 0;
    int demand = 0;
    LspKind kind = LspKind::PRIMARY;
    int primary = -1;       // of a backup, its primary
    std::vector<int> path;  // nodes
    int trafficClass = 0;
    int level = 0;
    double bandwidth = 0.0;
    // Of a backup: the links and nodes of its primary whose failure it restores.
    std::vector<int> protectedLinks;
    std::vector<int> protectedNodes;
    bool operator==(const PlanLsp&) const = default;
};

using LevelTable = std::array<double, kPlanLevels>;

// Bandwidth of one class and level that counts when one link fails.
struct FailureCell {
    int trafficClass = 0;
    int level = 0;
    int failedLink = 0;
    double bandwidth = 0.0;
    bool operator==(const FailureCell&) const = default;
};

// What a link books; one entry per class.
struct LinkTables {
    std::vector<double> capacity;
    std::vector<LevelTable> primary;
    std::vector<LevelTable> reserved;  // primary and the level's share for backups
    std::vector<FailureCell> backup;   // activated here by a failure
    std::vector<FailureCell> freed;    // of primaries, freed here by a failure
};

// Reserved against capacity, over links and classes with a capacity.
struct Shares {
    double mean = 0.0;
    double percentile95 = 0.0;
    double maximum = 0.0;
};

struct Summary {
    int requested = 0;
    int placed = 0;     // at once
    int refused = 0;    // at the first request
    int preempted = 0;  // preempted and not placed again
    int replaced = 0;   // preempted and placed again
    int unprotected = 0;
    int backups = 0;
    double offered = 0.0;  // bandwidth
    double carried = 0.0;
    Shares reserved;
    Shares primary;
    double backupShared = 0.0;     // reserved for backups, summed over links
    double backupDedicated = 0.0;  // what the same backups would take without sharing
};

// Taken out of service for a while: in the network, but nothing may use it.
struct Drained {
    std::vector<int> nodes;
    std::vector<int> links;
    bool operator==(const Drained&) const = default;
};

struct Plan {
    Network network;
    Configuration configuration;
    std::vector<FailureSet> failureSets;  // risk groups and others that were named
    Drained drained;
    std::vector<PlanDemand> demands;
    std::vector<PlanLsp> lsps;      // ascending ids; a primary before its backups
    std::vector<LinkTables> links;  // as the network's links
    Summary summary;
};

// The level at which demands of a class are requested that name none.
int usualLevel(const Configuration& configuration, int trafficClass);

// The figures of a plan, from its demands, LSPs and tables.
Summary summarise(const Plan& plan);

// Mean, 95th percentile (nearest rank) and maximum.
Shares sharesOf(std::vector<double> shares);

const char* toText(Protection protection);
const char* toText(Routing routing);
const char* toText(Order order);
const char* toText(Outcome outcome);
const char* toText(LspKind kind);
const char* toText(FailureKind kind);

// Whether a link, or one of its ends, is drained.
bool isDrained(const Plan& plan, int link);

// Of a class on a link; none while it is drained.
double capacityOf(const Plan& plan, int link, int trafficClass);

}  // namespace workbench
