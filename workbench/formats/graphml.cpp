// GraphML as the Topology Zoo writes it: attributes are declared by <key> lines and told
// apart by name, for their ids differ from file to file.
#include <fmt/format.h>

#include <map>

#include "formats/groups.h"
#include "formats/units.h"
#include "formats/xml.h"

namespace workbench {

namespace {

class GraphmlParser {
  public:
    explicit GraphmlParser(const Source& source) : xml_(source) {
        draft_.file = source.file;
        draft_.hasNetwork = true;
        draft_.unit = kMbitName;
        draft_.geographic = true;
    }

    Draft run() {
        const pugi::xml_node root = xml_.root();
        for (const pugi::xml_node key : root.children("key"))
            keyOf_[{key.attribute("for").as_string(),
                    key.attribute("attr.name").as_string()}] = xml_.attribute(key, "id");
        const pugi::xml_node graph = root.child("graph");
        if (!graph) xml_.fail(root, "<graph>");
        for (const pugi::xml_node node : graph.children("node")) addNode(node);
        const std::string direction =
            graph.attribute("edgedefault").as_string("undirected");
        for (const pugi::xml_node edge : graph.children("edge"))
            addEdge(edge, direction == "directed");
        return std::move(draft_);
    }

  private:
    // The <data> of an element with this name, empty if there is none.
    pugi::xml_node data(pugi::xml_node element, const char* name) const {
        auto key = keyOf_.find({element.name(), name});
        if (key == keyOf_.end()) key = keyOf_.find({"all", name});
        if (key == keyOf_.end()) return {};
        return element.find_child_by_attribute("data", "key", key->second.c_str());
    }

    std::string text(pugi::xml_node element, const char* name) const {
        return textOf(data(element, name));
    }

    std::optional<double> number(pugi::xml_node element, const char* name) const {
        const pugi::xml_node found = data(element, name);
        const std::string value = textOf(found);
        if (value.empty()) return std::nullopt;
        const auto result = parseNumber(value);
        if (!result)
            xml_.fail(found, fmt::format("a number as {}, got '{}'", name, value));
        return result;
    }

    std::optional<double> atLeastZero(pugi::xml_node element, const char* name) const {
        const auto value = number(element, name);
        if (value && *value < 0)
            xml_.fail(data(element, name),
                      fmt::format("a number of at least 0 as {}, got {}", name, *value));
        return value;
    }

    void addNode(pugi::xml_node node) {
        const std::string id = xml_.attribute(node, "id");
        std::string name = text(node, "label");
        // A made-up node of a link with many ends; its label says just "None".
        if (number(node, "hyperedge").value_or(0) != 0) name = "hyperedge " + id;
        std::optional<Position> position;
        const auto longitude = number(node, "Longitude");
        const auto latitude = number(node, "Latitude");
        if (longitude && latitude) position = {*longitude, *latitude};
        draft_.nodes.push_back({id, name, position, xml_.line(node)});
    }

    // LinkSpeedRaw is bit/s; the others say the same in words.
    std::optional<double> capacity(pugi::xml_node edge) const {
        std::optional<double> value = atLeastZero(edge, "LinkSpeedRaw");
        if (value) value = inMbit(*value, kBit);
        if (!value) {
            const auto unit = parseUnit(text(edge, "LinkSpeedUnits"));
            const auto speed = parseNumber(text(edge, "LinkSpeed"));
            if (speed && unit) value = inMbit(*speed, *unit);
        }
        if (!value) {
            const std::string label = text(edge, "LinkLabel");
            if (!parseNumber(label)) value = parseBandwidth(label, kMbit);
        }
        return value && *value > 0 ? value : std::nullopt;
    }

    void addEdge(pugi::xml_node edge, bool directed) {
        directed = edge.attribute("directed").as_bool(directed);
        std::string name = edge.attribute("id").as_string();
        if (name.empty()) name = text(edge, "id");
        const int line = xml_.line(edge);
        draft_.links.push_back({.name = name,
                                .src = {xml_.attribute(edge, "source")},
                                .dst = {xml_.attribute(edge, "target")},
                                .capacity = capacity(edge),
                                .modules = {},
                                .way = directed ? Way::Directed : Way::Undirected,
                                .colour = 0,
                                .metric = atLeastZero(edge, "Metric"),
                                .delay = atLeastZero(edge, "Delay"),
                                .line = line,
                                .groups = groupsOf(text(edge, "groups"))});
    }

    XmlFile xml_;
    Draft draft_;
    std::map<std::pair<std::string, std::string>, std::string> keyOf_;
};

}  // namespace

Draft parseGraphml(const Source& source) {
    return GraphmlParser(source).run();
}

}  // namespace workbench
