// Reading networks and traffic matrices. The format is told from the content: Topology
// Zoo GraphML, SNDlib XML and native text, Repetita, tables (CSV, TSV), and KAVRIL's own
// JSON (a plan is read as the network in it).
//
// All throw InputError (cli/error.h) with file, line and what was expected; findings are
// appended.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "network.h"

namespace workbench {

enum class Direction { Auto, Directed, Undirected };
enum class ModuleChoice { Largest, Smallest };

struct ReadOptions {
    double defaultCapacity = 10000;  // of links whose capacity is not stated
    Direction direction =
        Direction::Auto;  // of the links of a format that leaves it open
    ModuleChoice module = ModuleChoice::Largest;
    double scaleCapacity = 1.0;  // of every link
    // Links as in linksNamed, and their capacity, whatever the file says.
    std::vector<std::pair<std::string, double>> setCapacity{};
};

Network readNetwork(const std::string& path, const ReadOptions& options,
                    Findings& findings);
// From the bytes of a file of that name.
Network networkFrom(const std::string& path, const std::string& bytes,
                    const ReadOptions& options, Findings& findings);

// Nodes are looked up in the network by name, or by number where the format has numbers.
// Bandwidths come in the network's unit. A matrix of which no demand joins two nodes of
// the network is an error.
Demands readDemands(const std::string& path, const Network& network, Findings& findings);
Demands demandsFrom(const std::string& path, const std::string& bytes,
                    const Network& network, Findings& findings);

}  // namespace workbench
