// Networks to measure on, as plain data: from files, or generated.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "common/types.h"

struct Link {
    Long src;
    Long dst;
    double capacity;
};

struct Demand {
    Long src;
    Long dst;
    double bw;
};

struct Network {
    std::string name;
    Long nodes = 0;
    std::vector<Link> links;      // by source, then destination; one per pair, no loops
    std::vector<Long> first;      // of node n's links: first[n] up to first[n + 1] - 1
    std::vector<Demand> demands;  // between different nodes, above 0
    bool synthetic = false;
};

// The format of examples/data/abilene.txt.
Network readExample(const std::string& file);

// A network in Repetita's format, X.graph with its demands in X.demands or
// X.0000.demands. Parallel links become one.
Network readRepetita(const std::string& folder, const std::string& name);

// A connected network, every link with its reverse; the same for the same arguments.
// Nodes lie in a square and come one after the other, each with cables to two of those
// there before: the two closest of a few that are drawn by degree. So there are hubs, as
// in real networks, but paths are not as short as hubs alone would make them; and any
// single link or node can fail without parting the rest.
Network makeSynthetic(Long nodes, Long links);

// Nodes in a row and one demand, from one end to the other.
Network makeRow(Long nodes);

// AS 1239: 315 nodes and 1,944 links. From the folder of Repetita's networks; where there
// is no such folder, a synthetic network of that size.
Network readLarge(const std::string& folder);
constexpr Long kLargeOffered = 5000;  // primaries

// The networks to measure on, with the primaries to offer to each: the example, those of
// Repetita if there is the folder, synthetic ones. Only those with `only` in their names.
// Ends when visit returns false.
void forEachNetwork(const std::string& examples, const std::string& repetita,
                    const std::string& only,
                    const std::function<bool(const Network&, Long offered)>& visit);

// Hops from src to every node over the links (by index) for which isOpen holds; -1 where
// there is no path.
std::vector<Long> hopsFrom(const Network& network, Long src,
                           const std::function<bool(Long)>& isOpen);
