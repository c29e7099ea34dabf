// What every command of the workbench works on: a network, a traffic matrix, and what had
// to be assumed to read them.
//
// The readers (formats/read.h) promise, so that nobody checks it again: node and link ids
// are positions in their vectors; node names are unique and not empty; every link joins
// two different nodes and is the only one of its ordered pair; capacities are finite and
// not negative; every demand joins two different nodes and has a finite bandwidth above
// 0.
//
// Bandwidths are in Mbit/s if the file says or implies a unit, otherwise in the file's
// own; `unit` holds "Mbit/s" or "".
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace workbench {

struct Position {
    double x;  // longitude if the network's positions are geographic
    double y;  // latitude, growing northwards; upwards on a plane
};

struct Node {
    int id;
    std::string name;
    std::optional<Position> position;
    int number = id;  // that the file refers to it by
};

// One direction. An undirected edge of a file is two links.
struct Link {
    int id;
    int src;
    int dst;
    double capacity;
    int colour = 0;                // bit mask, 0 for none
    std::optional<double> metric;  // of the routing protocol
    std::optional<double> delay;   // in the file's unit: good for comparisons only
    std::string name;              // in the file, may be empty and need not be unique
    std::vector<std::string> groups = {};  // shared risks: links that may fail together
};

struct Network {
    std::string name;
    std::string unit;         // of bandwidths: "Mbit/s", or "" if nothing says
    bool geographic = false;  // positions are degrees
    std::vector<Node> nodes;
    std::vector<Link> links;
};

struct Demand {
    int src;
    int dst;
    double bandwidth;
    std::string name;            // need not be unique
    std::string trafficClass{};  // empty: split over the classes as configured
    std::optional<int> level{};  // preemption level, the class's own if there is none
    int avoid = 0;               // colours of links to avoid, a bit mask
    double maxDelay = 0.0;       // of its path, 0 for any
    int maxHops = 0;
};

struct Demands {
    std::string name;
    std::string unit;
    std::vector<Demand> demands;
};

// What a reader assumed, merged or dropped, or a writer had to change.
enum class FindingKind {
    DefaultCapacity,     // link without a capacity: the default was taken
    ModuleCapacity,      // nothing installed: a capacity module was taken
    UndirectedLink,      // edge without a direction: became two links
    AssumedDirection,    // the format leaves directions open
    MergedLink,          // second link of an ordered pair: capacity added to the first
    DuplicateLink,       // the same link once more: dropped
    SelfLoop,            // dropped
    RenamedNode,         // name missing or taken
    SelfDemand,          // dropped
    ZeroDemand,          // dropped
    UnknownNodeDemand,   // names a node that the network does not have: dropped
    AssumedUnit,         // units unstated, taken to be equal
    SeparateComponents,  // not every node reaches every other
    IgnoredLimit,        // a bound of the file that the library has no use for
    LostAttribute,       // the format written has no place for it
    Last = LostAttribute
};

struct Finding {
    FindingKind kind;
    std::string text;  // the full sentence, with file and line where there is one
};

using Findings = std::vector<Finding>;

// "parallel links merged, capacities added": the words before a count of this kind.
const char* describe(FindingKind kind);

// "merged-link": the name in JSON.
const char* keyOf(FindingKind kind);

// Bandwidths, metrics and delays beyond are taken for mistakes; sums of all that is below
// stay finite.
inline constexpr double kMostBandwidth = 1e15;

// Link from src to dst, -1 if there is none. One look through all links.
int findLink(const Network& network, int src, int dst);

// "Berlin > Paris"
std::string linkName(const Network& network, int linkId);
// "Berlin > Kassel > Paris"
std::string pathName(const Network& network, const std::vector<int>& nodes);

// "1.25 Gbit/s" from Mbit/s; with no unit just the number, to five significant digits.
std::string formatBandwidth(double bandwidth, const std::string& unit);

}  // namespace workbench
