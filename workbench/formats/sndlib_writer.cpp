// SNDlib in both notations. Every direction is a link of its own and what a link has is
// its pre-installed capacity.
#include <fmt/format.h>

#include <pugixml.hpp>
#include <set>
#include <sstream>

#include "formats/units.h"
#include "formats/writers.h"

namespace workbench {

namespace {

// Ids for everything in the file.
struct Ids {
    std::vector<std::string> nodes, links, demands;
};

Ids idsOf(const Network& network, const Demands* demands, Findings& findings) {
    std::vector<std::string> names;
    for (const Node& node : network.nodes) names.push_back(node.name);
    Ids ids{.nodes = wordsFor(names, "node", findings), .links = {}, .demands = {}};
    // Links of one edge share its name; their ends tell them apart.
    names.clear();
    std::set<std::string> taken;
    for (const Link& link : network.links)
        names.push_back(
            !link.name.empty() && taken.insert(link.name).second
                ? link.name
                : fmt::format("{}_{}", ids.nodes[link.src], ids.nodes[link.dst]));
    Findings ignored;  // ids of links are nobody's names
    ids.links = wordsFor(names, "link", ignored);
    names.clear();
    if (demands != nullptr)
        for (const Demand& demand : demands->demands) names.push_back(demand.name);
    ids.demands = wordsFor(names, "demand", findings);
    return ids;
}

void noteDirections(const Network& network, Findings& findings) {
    std::set<std::pair<int, int>> pairs;
    for (const Link& link : network.links) pairs.emplace(link.src, link.dst);
    for (const auto& [src, dst] : pairs)
        if (!pairs.contains({dst, src})) {
            findings.push_back({FindingKind::AssumedDirection,
                                "not every link has its reverse: read the file with "
                                "--direction directed"});
            return;
        }
}

std::string unitOf(const Network& network, const Demands* demands) {
    const std::string& unit = demands != nullptr ? demands->unit : network.unit;
    return unit.empty() ? "" : "MBITPERSEC";
}

void addNumber(pugi::xml_node parent, const char* name, double value) {
    parent.append_child(name).text().set(numberText(value).c_str());
}

void addNodes(const Network& network, const Ids& ids, pugi::xml_node structure) {
    pugi::xml_node nodes = structure.append_child("nodes");
    nodes.append_attribute("coordinatesType") =
        network.geographic ? "geographical" : "pixel";
    for (const Node& node : network.nodes) {
        pugi::xml_node element = nodes.append_child("node");
        element.append_attribute("id") = ids.nodes[node.id].c_str();
        if (!node.position) continue;
        pugi::xml_node coordinates = element.append_child("coordinates");
        addNumber(coordinates, "x", node.position->x);
        addNumber(coordinates, "y", node.position->y);
    }
}

// The two ends of a link or demand, with its id.
pugi::xml_node addEnds(pugi::xml_node parent, const char* name, const std::string& id,
                       const std::string& src, const std::string& dst) {
    pugi::xml_node element = parent.append_child(name);
    element.append_attribute("id") = id.c_str();
    element.append_child("source").text().set(src.c_str());
    element.append_child("target").text().set(dst.c_str());
    return element;
}

}  // namespace

std::string sndlibXmlText(const Network& network, const Demands* demands,
                          Findings& findings) {
    noteLostAttributes(network, {}, "SNDlib", findings);
    noteDirections(network, findings);
    const Ids ids = idsOf(network, demands, findings);
    pugi::xml_document document;
    document.append_child(pugi::node_declaration).append_attribute("version") = "1.0";
    document.first_child().append_attribute("encoding") = "UTF-8";
    pugi::xml_node root = document.append_child("network");
    root.append_attribute("xmlns") = "http://sndlib.zib.de/network";
    root.append_attribute("version") = "1.0";
    const std::string unit = unitOf(network, demands);
    if (!unit.empty())
        root.append_child("meta").append_child("unit").text().set(unit.c_str());
    pugi::xml_node structure = root.append_child("networkStructure");
    addNodes(network, ids, structure);
    pugi::xml_node links = structure.append_child("links");
    for (const Link& link : network.links) {
        pugi::xml_node module = addEnds(links, "link", ids.links[link.id],
                                        ids.nodes[link.src], ids.nodes[link.dst])
                                    .append_child("preInstalledModule");
        addNumber(module, "capacity", link.capacity);
        addNumber(module, "cost", 0);
    }
    pugi::xml_node list = root.append_child("demands");
    for (std::size_t i = 0; i < ids.demands.size(); i++) {
        const Demand& demand = demands->demands[i];
        addNumber(addEnds(list, "demand", ids.demands[i], ids.nodes[demand.src],
                          ids.nodes[demand.dst]),
                  "demandValue", demand.bandwidth);
    }
    std::ostringstream text;
    document.save(text, " ");
    return text.str();
}

std::string sndlibNativeText(const Network& network, const Demands* demands,
                             Findings& findings) {
    noteLostAttributes(network, {}, "SNDlib", findings);
    noteDirections(network, findings);
    const Ids ids = idsOf(network, demands, findings);
    std::string text = "?SNDlib native format; type: network; version: 1.0\n\nMETA (\n";
    const std::string unit = unitOf(network, demands);
    if (!unit.empty()) text += fmt::format("  unit = {}\n", unit);
    text += ")\n\nNODES (\n";
    for (const Node& node : network.nodes)
        text += node.position ? fmt::format("  {} ( {} {} )\n", ids.nodes[node.id],
                                            numberText(node.position->x),
                                            numberText(node.position->y))
                              : fmt::format("  {} ( )\n", ids.nodes[node.id]);
    text += ")\n\nLINKS (\n";
    for (const Link& link : network.links)
        text += fmt::format("  {} ( {} {} ) {} 0 0 0 ( )\n", ids.links[link.id],
                            ids.nodes[link.src], ids.nodes[link.dst],
                            numberText(link.capacity));
    text += ")\n\nDEMANDS (\n";
    for (std::size_t i = 0; i < ids.demands.size(); i++) {
        const Demand& demand = demands->demands[i];
        text += fmt::format("  {} ( {} {} ) 1 {} UNLIMITED\n", ids.demands[i],
                            ids.nodes[demand.src], ids.nodes[demand.dst],
                            numberText(demand.bandwidth));
    }
    return text + ")\n";
}

}  // namespace workbench
