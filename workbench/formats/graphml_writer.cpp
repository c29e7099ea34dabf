// GraphML with the Topology Zoo's attributes. Metric, delay and risk groups get
// attributes of their own, which other readers skip.
#include <pugixml.hpp>
#include <sstream>

#include "formats/groups.h"
#include "formats/units.h"
#include "formats/writers.h"

namespace workbench {

namespace {

struct Key {
    const char *id, *element, *name, *type;
};

constexpr Key kKeys[] = {
    {"d0", "node", "label", "string"},    {"d1", "node", "Longitude", "double"},
    {"d2", "node", "Latitude", "double"}, {"d3", "edge", "LinkSpeedRaw", "double"},
    {"d4", "edge", "Metric", "double"},   {"d5", "edge", "Delay", "double"},
    {"d6", "edge", "id", "string"},       {"d7", "edge", "groups", "string"},
};

void addData(pugi::xml_node element, const char* key, const std::string& value) {
    pugi::xml_node data = element.append_child("data");
    data.append_attribute("key") = key;
    data.text().set(value.c_str());
}

void addNode(const Node& node, pugi::xml_node graph) {
    pugi::xml_node element = graph.append_child("node");
    element.append_attribute("id") = node.id;
    addData(element, "d0", node.name);
    if (!node.position) return;
    addData(element, "d1", numberText(node.position->x));
    addData(element, "d2", numberText(node.position->y));
}

void addEdge(const Link& link, pugi::xml_node graph) {
    pugi::xml_node element = graph.append_child("edge");
    element.append_attribute("source") = link.src;
    element.append_attribute("target") = link.dst;
    addData(element, "d3", numberText(inUnit(link.capacity, kBit)));
    if (link.metric) addData(element, "d4", numberText(*link.metric));
    if (link.delay) addData(element, "d5", numberText(*link.delay));
    if (!link.name.empty()) addData(element, "d6", link.name);
    if (!link.groups.empty()) addData(element, "d7", groupsText(link.groups));
}

void addKey(const Key& key, pugi::xml_node root) {
    pugi::xml_node element = root.append_child("key");
    element.append_attribute("id") = key.id;
    element.append_attribute("for") = key.element;
    element.append_attribute("attr.name") = key.name;
    element.append_attribute("attr.type") = key.type;
}

std::string keyOf(const LinkFigure& figure) {
    return "figure " + figure.name;
}

}  // namespace

std::string graphmlText(const Network& network, Findings& findings,
                        const std::vector<LinkFigure>& figures) {
    noteLostAttributes(network, {.metric = true, .delay = true, .groups = true},
                       "GraphML", findings);
    noteMissingUnit(network.unit, "bit/s", findings);
    pugi::xml_document document;
    document.append_child(pugi::node_declaration).append_attribute("version") = "1.0";
    document.first_child().append_attribute("encoding") = "UTF-8";
    pugi::xml_node root = document.append_child("graphml");
    root.append_attribute("xmlns") = "http://graphml.graphdrawing.org/xmlns";
    for (const Key& key : kKeys) addKey(key, root);
    for (const LinkFigure& figure : figures)
        addKey({keyOf(figure).c_str(), "edge", figure.name.c_str(), "double"}, root);
    pugi::xml_node graph = root.append_child("graph");
    graph.append_attribute("edgedefault") = "directed";
    for (const Node& node : network.nodes) addNode(node, graph);
    for (const Link& link : network.links) {
        addEdge(link, graph);
        for (const LinkFigure& figure : figures)
            addData(graph.last_child(), keyOf(figure).c_str(),
                    numberText(figure.values[link.id]));
    }
    std::ostringstream text;
    document.save(text, " ");
    return text.str();
}

}  // namespace workbench
