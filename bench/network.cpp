#include "network.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "random.h"

namespace {

std::ifstream openFile(const std::string& name) {
    std::ifstream file(name);
    if (!file) throw std::runtime_error("cannot read " + name);
    return file;
}

void addCable(Network* network, Long a, Long b, double capacity) {
    network->links.push_back({a, b, capacity});
    network->links.push_back({b, a, capacity});
}

// Puts the links into order and drops what a network here has not.
Network finish(Network network) {
    std::map<std::pair<Long, Long>, double> capacities;
    for (const Link& link : network.links)
        if (link.src != link.dst) capacities[{link.src, link.dst}] += link.capacity;
    network.links.clear();
    network.first.assign(network.nodes + 1, 0);
    for (const auto& [ends, capacity] : capacities) {
        network.links.push_back({ends.first, ends.second, capacity});
        network.first[ends.first + 1]++;
    }
    for (std::size_t n = 1; n < network.first.size(); n++)
        network.first[n] += network.first[n - 1];
    std::erase_if(network.demands,
                  [](const Demand& d) { return d.src == d.dst || d.bw <= 0.0; });
    if (network.links.empty() || network.demands.empty())
        throw std::runtime_error("no links or no demands in " + network.name);
    return network;
}

}  // namespace

Network readExample(const std::string& fileName) {
    std::ifstream file = openFile(fileName);
    Network network;
    std::map<std::string, Long> ids;
    Long rows = 0;
    for (std::string line; std::getline(file, line);) {
        std::istringstream fields(line.substr(0, line.find('#')));
        std::string keyword, a, b;
        fields >> keyword >> a;
        if (keyword == "network") network.name = a;
        if (keyword == "node") ids[a] = network.nodes++;
        if (keyword == "cable") {
            double capacity = 0.0;
            fields >> b >> capacity;
            addCable(&network, ids.at(a), ids.at(b), capacity);
        }
        if (keyword == "traffic") {
            double bw = 0.0;
            for (Long dst = 0; fields >> bw; dst++)
                network.demands.push_back({ids.at(a), dst, bw});
            rows++;
        }
    }
    if (rows != network.nodes) throw std::runtime_error("bad format: " + fileName);
    return finish(std::move(network));
}

Network readRepetita(const std::string& folder, const std::string& name) {
    Network network;
    network.name = name;
    const std::string base = folder + "/" + name;
    std::ifstream graph = openFile(base + ".graph");
    std::string line, label;
    double skipped = 0.0;
    graph >> label >> network.nodes;
    while (std::getline(graph, line) && !line.starts_with("EDGES")) continue;
    std::getline(graph, line);  // names of the columns
    for (Link link; graph >> label >> link.src >> link.dst >> skipped >> link.capacity;
         graph >> skipped)
        network.links.push_back(link);

    std::ifstream demands(base + ".demands");
    if (!demands) demands = openFile(base + ".0000.demands");
    std::getline(demands, line);
    std::getline(demands, line);
    for (Demand d; demands >> label >> d.src >> d.dst >> d.bw;)
        network.demands.push_back(d);
    return finish(std::move(network));
}

Network makeSynthetic(Long nodes, Long links) {
    Random random(static_cast<std::uint32_t>(nodes));
    Network network;
    network.name = "synthetic " + std::to_string(nodes);
    network.nodes = nodes;
    network.synthetic = true;
    std::vector<std::array<double, 2>> place;
    for (Long n = 0; n < nodes; n++) place.push_back({random.real(), random.real()});
    auto distance = [&](Long a, Long b) {
        const auto [ax, ay] = place[a];
        const auto [bx, by] = place[b];
        return (ax - bx) * (ax - bx) + (ay - by) * (ay - by);
    };

    std::vector<Long> ends = {0, 1, 1, 2, 2, 0};  // of all cables: nodes by degree
    std::set<std::pair<Long, Long>> cables = {{0, 1}, {1, 2}, {0, 2}};
    // Joins n to the closest of some nodes that it is not joined to yet.
    auto join = [&](Long n) {
        constexpr int kDrawn = 24;
        Long best = -1;
        for (int drawn = 0; drawn < kDrawn || best < 0; drawn++) {
            const Long m = ends[random.below(ends.size())];
            if (m == n || cables.contains(std::minmax(m, n))) continue;
            if (best < 0 || distance(n, m) < distance(n, best)) best = m;
        }
        cables.insert(std::minmax(best, n));
        ends.insert(ends.end(), {best, n});
    };
    for (Long n = 3; n < nodes; n++)
        for (int cable = 0; cable < 2; cable++) join(n);
    while (ends.size() < static_cast<std::size_t>(links)) join(random.below(nodes));

    std::vector<Long> degree(nodes);
    for (Long end : ends) degree[end]++;
    for (const auto& [a, b] : cables) {
        const Long smaller = std::min(degree[a], degree[b]);
        addCable(&network, a, b, smaller < 4 ? 2.4e6 : smaller < 16 ? 1e7 : 4e7);
    }
    // What a node sends and receives goes with its degree.
    for (int i = 0; i < 50'000; i++)
        network.demands.push_back({ends[random.below(ends.size())],
                                   ends[random.below(ends.size())],
                                   100.0 + random.below(1900)});
    return finish(std::move(network));
}

Network makeRow(Long nodes) {
    Network network;
    network.name = "row of " + std::to_string(nodes);
    network.nodes = nodes;
    for (Long n = 1; n < nodes; n++) addCable(&network, n - 1, n, 1000.0);
    network.demands.push_back({0, nodes - 1, 1.0});
    return finish(std::move(network));
}

Network readLarge(const std::string& folder) {
    return std::filesystem::exists(folder) ? readRepetita(folder, "rf1239_real_hard")
                                           : makeSynthetic(315, 1944);
}

void forEachNetwork(const std::string& examples, const std::string& repetita,
                    const std::string& only,
                    const std::function<bool(const Network&, Long offered)>& visit) {
    bool isDone = false;
    auto add = [&](const Network& network, Long offered) {
        if (!isDone && network.name.find(only) != std::string::npos)
            isDone = !visit(network, offered);
    };
    add(readExample(examples + "/abilene.txt"), 2000);
    if (std::filesystem::exists(repetita)) {
        for (const char* name : {"Geant2012", "rf1221_real_hard", "Interoute",
                                 "rf6461_real_hard", "Colt", "Cogentco"})
            add(readRepetita(repetita, name), 3000);
        add(readLarge(repetita), kLargeOffered);
    } else {
        std::fprintf(stderr, "No %s: without the Repetita networks\n", repetita.c_str());
    }
    add(makeSynthetic(1000, 4000), 10'000);
    add(makeSynthetic(2000, 8000), 20'000);
    add(makeSynthetic(5000, 20'000), 10'000);
}

std::vector<Long> hopsFrom(const Network& network, Long src,
                           const std::function<bool(Long)>& isOpen) {
    std::vector<Long> hops(network.nodes, -1);
    std::vector<Long> queue = {src};
    hops[src] = 0;
    for (std::size_t next = 0; next < queue.size(); next++) {
        const Long n = queue[next];
        for (Long i = network.first[n]; i < network.first[n + 1]; i++) {
            const Long dst = network.links[i].dst;
            if (hops[dst] >= 0 || !isOpen(i)) continue;
            hops[dst] = hops[n] + 1;
            queue.push_back(dst);
        }
    }
    return hops;
}
