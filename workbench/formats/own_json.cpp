#include <fmt/format.h>

#include <cmath>

#include "cli/error.h"
#include "formats/json_lines.h"
#include "formats/network_json.h"
#include "formats/tidy.h"
#include "formats/units.h"

namespace workbench {

using nlohmann::json;

namespace {

// Members of one object, with messages that say where it stands.
class Members {
  public:
    Members(const json& object, const std::string& file, int parentLine, std::string what)
        : object_(object), file_(file), what_(std::move(what)) {
        line_ = lineOf(object);
        if (!object.is_object()) {
            line_ = parentLine;
            fail("an object", object);
        }
    }

    int line() const { return line_; }

    bool has(const char* key) const { return object_.contains(key); }

    const json& at(const char* key) const {
        if (!has(key))
            throw InputError(file_, line_,
                             fmt::format("expected \"{}\" in {}", key, what_));
        return object_[key];
    }

    std::string text(const char* key) const {
        if (!has(key)) return "";
        if (!object_[key].is_string())
            fail(fmt::format("a text as \"{}\"", key), object_[key]);
        return object_[key];
    }

    std::optional<double> number(const char* key, double least) const {
        if (!has(key)) return std::nullopt;
        const json& value = object_[key];
        if (!value.is_number() || !std::isfinite(value.get<double>()) ||
            value.get<double>() < least)
            fail(std::isfinite(least)
                     ? fmt::format("a number of at least {} as \"{}\"", least, key)
                     : fmt::format("a number as \"{}\"", key),
                 value);
        return value.get<double>();
    }

    bool flag(const char* key) const {
        if (!has(key)) return false;
        if (!object_[key].is_boolean())
            fail(fmt::format("true or false as \"{}\"", key), object_[key]);
        return object_[key];
    }

    // A node by name or number.
    NodeRef node(const char* key) const {
        const json& value = at(key);
        if (value.is_string()) return {.id = value.get<std::string>()};
        if (value.is_number_unsigned() && value.get<std::uint64_t>() < 1u << 30)
            return {.id = "", .number = value.get<int>()};
        fail(fmt::format("the name or number of a node as \"{}\"", key), value);
    }

    const json& list(const char* key) const {
        const json& value = at(key);
        if (!value.is_array()) fail(fmt::format("a list as \"{}\"", key), value);
        return value;
    }

    std::vector<std::string> texts(const char* key) const {
        if (!has(key)) return {};
        for (const json& text : list(key))
            if (!text.is_string()) fail(fmt::format("texts in \"{}\"", key), text);
        return object_[key];
    }

    [[noreturn]] void fail(const std::string& expected, const json& got) const {
        const std::string text =
            got.is_object() ? "an object"
                            : got.dump(-1, ' ', false, json::error_handler_t::replace);
        throw InputError(
            file_, line_,
            fmt::format("expected {} in {}, got {:.40}", expected, what_, text));
    }

  private:
    const json& object_;
    const std::string& file_;
    std::string what_;
    int line_;
};

// Takes the unit's name into the draft; returns the factor of the file's bandwidths.
double unitOf(const Members& root, Draft* draft) {
    const std::string name = root.text("unit");
    if (name.empty()) return 1;
    const auto factor = parseUnit(name);
    if (!factor) root.fail("a unit such as \"Mbit/s\"", name);
    draft->unit = kMbitName;
    return *factor;
}

std::optional<double> scaled(std::optional<double> value, double factor) {
    return value ? std::optional(inMbit(*value, factor)) : std::nullopt;
}

void addNode(const Members& node, Draft* draft) {
    const std::string name = node.at("name").is_string() ? node.text("name") : "";
    if (name.empty()) node.fail("a name", node.at("name"));
    const auto number = static_cast<double>(draft->nodes.size());
    if (node.number("id", 0).value_or(number) != number)
        node.fail(fmt::format("id {} (nodes are numbered from 0)", number),
                  node.at("id"));
    std::optional<Position> position;
    if (node.has("x") || node.has("y")) {
        node.at("x");
        node.at("y");
        position = {*node.number("x", -HUGE_VAL), *node.number("y", -HUGE_VAL)};
    }
    draft->nodes.push_back({name, name, position, node.line()});
}

void addLink(const Members& link, double unit, Draft* draft) {
    draft->links.push_back(
        {.name = link.text("name"),
         .src = link.node("src"),
         .dst = link.node("dst"),
         .capacity = scaled(link.number("capacity", 0), unit),
         .modules = {},
         .way = link.flag("undirected") ? Way::Undirected : Way::Directed,
         .colour = static_cast<int>(
             std::min(link.number("colour", 0).value_or(0), 2147483647.0)),
         .metric = link.number("metric", -HUGE_VAL),
         .delay = link.number("delay", 0),
         .line = link.line(),
         .groups = link.texts("groups")});
}

void addDemand(const Members& demand, double unit, Draft* draft) {
    demand.at("bandwidth");
    draft->demands.push_back({.name = demand.text("name"),
                              .src = demand.node("src"),
                              .dst = demand.node("dst"),
                              .bandwidth = inMbit(*demand.number("bandwidth", 0), unit),
                              .line = demand.line()});
}

// Calls add with the members of every object in a list of the root.
template <class Add>
void forEach(const Members& root, const char* key, const std::string& file, Add add) {
    int line = root.line();
    for (const json& element : root.list(key)) {
        const Members members(element, file, line,
                              fmt::format("an element of \"{}\"", key));
        line = members.line();
        add(members);
    }
}

Draft networkDraft(const json& json, const std::string& file) {
    Draft draft{.file = file, .hasNetwork = true};
    const Members root(json, file, 1, "the network");
    draft.name = root.text("name");
    draft.geographic = root.flag("geographic");
    const double unit = unitOf(root, &draft);
    forEach(root, "nodes", file, [&](const Members& node) { addNode(node, &draft); });
    forEach(root, "links", file,
            [&](const Members& link) { addLink(link, unit, &draft); });
    return draft;
}

Draft demandsDraft(const json& json, const std::string& file) {
    Draft draft{.file = file, .hasDemands = true};
    const Members root(json, file, 1, "the demands");
    draft.name = root.text("name");
    const double unit = unitOf(root, &draft);
    forEach(root, "demands", file,
            [&](const Members& demand) { addDemand(demand, unit, &draft); });
    return draft;
}

}  // namespace

Draft parseOwnJson(const Source& source) {
    const json root = parseWithLines(source);
    const Members members(root, source.file, 1, "the file");
    const std::string format = members.text("format");
    if (members.number("version", 1).value_or(1) != 1)
        members.fail("version 1", members.at("version"));
    if (format == "kavril-network") return networkDraft(root, source.file);
    if (format == "kavril-demands") return demandsDraft(root, source.file);
    if (format == "kavril-plan") return networkDraft(members.at("network"), source.file);
    throw InputError(source.file, members.line(),
                     "expected \"format\": \"kavril-network\", \"kavril-demands\" or "
                     "\"kavril-plan\"");
}

json toJson(const Network& network) {
    json result = {{"format", "kavril-network"}, {"version", 1},
                   {"name", network.name},       {"geographic", network.geographic},
                   {"nodes", json::array()},     {"links", json::array()}};
    if (!network.unit.empty()) result["unit"] = network.unit;
    for (const Node& node : network.nodes) {
        json& entry = result["nodes"].emplace_back();
        entry = {{"id", node.id}, {"name", node.name}};
        if (node.position) entry["x"] = node.position->x;
        if (node.position) entry["y"] = node.position->y;
    }
    for (const Link& link : network.links) {
        json& entry = result["links"].emplace_back();
        entry = {{"id", link.id},
                 {"src", link.src},
                 {"dst", link.dst},
                 {"capacity", link.capacity}};
        if (link.colour != 0) entry["colour"] = link.colour;
        if (link.metric) entry["metric"] = *link.metric;
        if (link.delay) entry["delay"] = *link.delay;
        if (!link.name.empty()) entry["name"] = link.name;
        if (!link.groups.empty()) entry["groups"] = link.groups;
    }
    return result;
}

json toJson(const Demands& demands, const Network& network) {
    json result = {{"format", "kavril-demands"},
                   {"version", 1},
                   {"name", demands.name},
                   {"demands", json::array()}};
    if (!demands.unit.empty()) result["unit"] = demands.unit;
    for (const Demand& demand : demands.demands) {
        json& entry = result["demands"].emplace_back();
        entry = {{"src", network.nodes[demand.src].name},
                 {"dst", network.nodes[demand.dst].name},
                 {"bandwidth", demand.bandwidth}};
        if (!demand.name.empty()) entry["name"] = demand.name;
    }
    return result;
}

Network networkFromJson(const json& json) {
    Findings findings;
    Network network = tidyNetwork(networkDraft(json, "network"), {}, findings);
    for (const Finding& finding : findings)
        if (finding.kind != FindingKind::SeparateComponents)
            throw UserError(fmt::format("{} ({})", finding.text, keyOf(finding.kind)));
    return network;
}

}  // namespace workbench
