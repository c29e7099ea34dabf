// Networks and matrices for the tests of the workbench.
#pragma once

#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "engine/place.h"

namespace workbench {

// Nodes are named A, B, C, .. and appear as they are used.
inline void addLink(int src, int dst, double capacity, Network* network) {
    while (std::ssize(network->nodes) <= std::max(src, dst)) {
        const int id = static_cast<int>(network->nodes.size());
        network->nodes.push_back(
            {.id = id,
             .name = id < 26 ? std::string(1, static_cast<char>('A' + id))
                             : std::to_string(id),
             .position = {}});
    }
    Link link = {};
    link.id = static_cast<int>(network->links.size());
    link.src = src;
    link.dst = dst;
    link.capacity = capacity;
    network->links.push_back(link);
}

struct Cable {
    int a;
    int b;
    double capacity;
};

// A link each way.
inline Network networkOf(const std::vector<Cable>& cables) {
    Network network;
    network.name = "test";
    for (const Cable& cable : cables) {
        addLink(cable.a, cable.b, cable.capacity, &network);
        addLink(cable.b, cable.a, cable.capacity, &network);
    }
    return network;
}

// A ring with chords, so that most can be protected, and now and then a dead end.
inline Network randomNetwork(std::uint64_t seed) {
    std::mt19937_64 random(seed);
    const int nodes = 5 + static_cast<int>(random() % 8);
    std::set<std::pair<int, int>> pairs;
    for (int i = 0; i < nodes; i++)
        pairs.insert({std::min(i, (i + 1) % nodes), std::max(i, (i + 1) % nodes)});
    for (int i = 0; i < nodes / 2; i++) {
        const int a = static_cast<int>(random() % nodes);
        const int b = static_cast<int>(random() % nodes);
        if (a != b) pairs.insert({std::min(a, b), std::max(a, b)});
    }
    if (random() % 2 == 0) pairs.insert({0, nodes});
    std::vector<Cable> cables;
    for (const auto& [a, b] : pairs)
        cables.push_back({a, b, static_cast<double>(20 + random() % 60)});
    return networkOf(cables);
}

// Bandwidths are thirds and tenths, which sums round.
inline std::vector<Demand> randomDemands(const Network& network, std::uint64_t seed) {
    std::mt19937_64 random(seed + 1000);
    std::vector<Demand> demands;
    for (int i = 0; i < 40; i++) {
        const int src = static_cast<int>(random() % network.nodes.size());
        const int dst = static_cast<int>(random() % network.nodes.size());
        const double bandwidth = static_cast<double>(1 + random() % 90) / 10.0 / 3.0;
        if (src != dst)
            demands.push_back(
                {.src = src, .dst = dst, .bandwidth = bandwidth, .name = {}});
    }
    return demands;
}

// Two classes and three levels.
inline Configuration mixedConfiguration(std::uint64_t seed) {
    Configuration configuration;
    configuration.classes = {{"voice", 0.4}, {"data", 0.6}};
    configuration.parts = {{0, 1, 0.3}, {1, 3, 0.3}, {1, 6, 0.4}};
    configuration.protection =
        std::vector{Protection::NONE, Protection::LOCAL, Protection::GLOBAL}[seed % 3];
    configuration.order =
        std::vector{Order::GIVEN, Order::LARGEST, Order::SHUFFLED}[seed / 3 % 3];
    configuration.seed = seed;
    configuration.scale = 0.5 + 0.25 * static_cast<double>(seed % 7);
    if (seed % 4 == 1) configuration.weights = {.fortz = 0, .squaredRelativeLoad = 1};
    return configuration;
}

inline Plan placed(const Network& network, const std::vector<Demand>& demands,
                   const Configuration& configuration) {
    Plan plan = newPlan(network, demands, configuration);
    runPlan(&plan, {}, nullptr);
    return plan;
}

inline Plan randomPlan(std::uint64_t seed) {
    const Network network = randomNetwork(seed);
    return placed(network, randomDemands(network, seed), mixedConfiguration(seed));
}

}  // namespace workbench
