#include "plan_json.h"

#include <algorithm>
#include <array>
#include <limits>

#include "cli/error.h"
#include "cli/file.h"
#include "formats/json_lines.h"
#include "formats/network_json.h"

namespace workbench {

using nlohmann::json;

// By their names; an unknown one is an error.
template <class Enum>
requires std::is_enum_v<Enum>
void enumFromJson(const json& from, const std::vector<Enum>& values, Enum* to) {
    const auto text = from.get<std::string>();
    std::string names;
    for (Enum value : values) {
        if (text == toText(value)) {
            *to = value;
            return;
        }
        names += (names.empty() ? "" : ", ") + std::string(toText(value));
    }
    throw UserError("expected one of " + names + ", got \"" + text + "\"");
}

// The JSON library turns any number into any other.
void requireInteger(const json& value, const std::string& name) {
    constexpr auto kMost = std::numeric_limits<int>::max();
    if (!value.is_number_integer() || value < -1 || value > kMost)
        throw UserError("expected a whole number as \"" + name + "\", got " +
                        value.dump(-1, ' ', false, json::error_handler_t::replace));
}

void requireIntegers(const json& record) {
    for (const char* name :
         {"id", "src", "dst", "trafficClass", "level", "lsp", "demand", "primary", "path",
          "protectedLinks", "protectedNodes", "avoid", "maxHops", "maxDemands"}) {
        if (!record.contains(name)) continue;
        if (!record[name].is_array())
            requireInteger(record[name], name);
        else
            for (const json& value : record[name]) requireInteger(value, name);
    }
}

void to_json(json& to, const Protection& from) {
    to = toText(from);
}
void from_json(const json& from, Protection& to) {
    enumFromJson(from, {Protection::NONE, Protection::LOCAL, Protection::GLOBAL}, &to);
}

void to_json(json& to, const Routing& from) {
    to = toText(from);
}
void from_json(const json& from, Routing& to) {
    enumFromJson(from, {Routing::ADMITTED, Routing::SHORTEST_PATH}, &to);
}

void to_json(json& to, const Order& from) {
    to = toText(from);
}
void from_json(const json& from, Order& to) {
    enumFromJson(from, {Order::GIVEN, Order::LARGEST, Order::SHUFFLED}, &to);
}

void to_json(json& to, const Outcome& from) {
    to = toText(from);
}
void from_json(const json& from, Outcome& to) {
    enumFromJson(
        from, {Outcome::PLACED, Outcome::REFUSED, Outcome::REPLACED, Outcome::PREEMPTED},
        &to);
}

void to_json(json& to, const LspKind& from) {
    to = toText(from);
}
void from_json(const json& from, LspKind& to) {
    enumFromJson(from, {LspKind::PRIMARY, LspKind::LOCAL_BACKUP, LspKind::GLOBAL_BACKUP},
                 &to);
}

void to_json(json& to, const FailureKind& from) {
    to = toText(from);
}
void from_json(const json& from, FailureKind& to) {
    enumFromJson(from,
                 {FailureKind::LINK, FailureKind::CABLE, FailureKind::NODE,
                  FailureKind::GROUP, FailureKind::PAIR, FailureKind::CUSTOM},
                 &to);
}

// Members that older plans do not have.
template <class Value>
void getIfThere(const json& from, const char* key, Value* value) {
    if (from.contains(key)) from[key].get_to(*value);
}

void to_json(json& to, const FailureSet& from) {
    to = {{"kind", from.kind},
          {"name", from.name},
          {"links", from.links},
          {"nodes", from.nodes}};
    if (from.probability) to["probability"] = *from.probability;
}
void from_json(const json& from, FailureSet& to) {
    from.at("kind").get_to(to.kind);
    from.at("name").get_to(to.name);
    from.at("links").get_to(to.links);
    from.at("nodes").get_to(to.nodes);
    if (from.contains("probability")) to.probability = from["probability"].get<double>();
}
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Drained, nodes, links)

void to_json(json& to, const FailureCell& from) {
    to = json::array({from.trafficClass, from.level, from.failedLink, from.bandwidth});
}
void from_json(const json& from, FailureCell& to) {
    requireInteger(from.at(0), "class");
    requireInteger(from.at(1), "level");
    requireInteger(from.at(2), "link");
    from.at(0).get_to(to.trafficClass);
    from.at(1).get_to(to.level);
    from.at(2).get_to(to.failedLink);
    from.at(3).get_to(to.bandwidth);
}

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(TrafficClass, name, capacityShare)
void to_json(json& to, const TrafficPart& from) {
    to = {{"trafficClass", from.trafficClass},
          {"level", from.level},
          {"share", from.share}};
}
void from_json(const json& from, TrafficPart& to) {
    requireIntegers(from);
    from.at("trafficClass").get_to(to.trafficClass);
    from.at("level").get_to(to.level);
    from.at("share").get_to(to.share);
}
void to_json(json& to, const Weights& from) {
    for (const WeightName& name : kWeightNames) to[name.name] = from.*name.weight;
}
void from_json(const json& from, Weights& to) {
    for (const WeightName& name : kWeightNames)
        from.at(name.name).get_to(to.*name.weight);
}

void to_json(json& to, const Configuration& from) {
    to = {{"classes", from.classes},       {"parts", from.parts},
          {"weights", from.weights},       {"protection", from.protection},
          {"survive", from.survive},       {"order", from.order},
          {"preempt", from.preempt},       {"scale", from.scale},
          {"maxDemands", from.maxDemands}, {"seed", from.seed}};
    if (from.routing != Routing::ADMITTED) to["routing"] = from.routing;
}
void from_json(const json& from, Configuration& to) {
    from.at("classes").get_to(to.classes);
    from.at("parts").get_to(to.parts);
    from.at("weights").get_to(to.weights);
    from.at("protection").get_to(to.protection);
    to.survive.clear();
    getIfThere(from, "survive", &to.survive);
    getIfThere(from, "routing", &to.routing);
    from.at("order").get_to(to.order);
    from.at("preempt").get_to(to.preempt);
    from.at("scale").get_to(to.scale);
    from.at("maxDemands").get_to(to.maxDemands);
    from.at("seed").get_to(to.seed);
}

void to_json(json& to, const PlanDemand& from) {
    to = {{"name", from.name},       {"src", from.src},
          {"dst", from.dst},         {"trafficClass", from.trafficClass},
          {"level", from.level},     {"bandwidth", from.bandwidth},
          {"outcome", from.outcome}, {"lsp", from.lsp},
          {"reason", from.reason},   {"unprotected", from.unprotected}};
    // Few demands have limits.
    if (from.avoid != 0) to["avoid"] = from.avoid;
    if (from.maxDelay > 0.0) to["maxDelay"] = from.maxDelay;
    if (from.maxHops > 0) to["maxHops"] = from.maxHops;
    if (!from.exposed.empty()) to["exposed"] = from.exposed;
    if (!from.route.empty()) to["route"] = from.route;
    if (!from.beyond.empty()) to["beyond"] = from.beyond;
}
void from_json(const json& from, PlanDemand& to) {
    from.at("name").get_to(to.name);
    from.at("src").get_to(to.src);
    from.at("dst").get_to(to.dst);
    from.at("trafficClass").get_to(to.trafficClass);
    from.at("level").get_to(to.level);
    from.at("bandwidth").get_to(to.bandwidth);
    from.at("outcome").get_to(to.outcome);
    from.at("lsp").get_to(to.lsp);
    from.at("reason").get_to(to.reason);
    from.at("unprotected").get_to(to.unprotected);
    to.avoid = from.value("avoid", 0);
    to.maxDelay = from.value("maxDelay", 0.0);
    to.maxHops = from.value("maxHops", 0);
    getIfThere(from, "exposed", &to.exposed);
    getIfThere(from, "route", &to.route);
    getIfThere(from, "beyond", &to.beyond);
}
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(PlanLsp, id, demand, kind, primary, path, trafficClass,
                                   level, bandwidth, protectedLinks, protectedNodes)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(LinkTables, capacity, primary, reserved, backup, freed)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Shares, mean, percentile95, maximum)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Summary, requested, placed, refused, preempted,
                                   replaced, unprotected, backups, offered, carried,
                                   reserved, primary, backupShared, backupDedicated)

namespace {

// Every element on a line of its own, so that plans can be compared line by line.
void appendList(const char* name, const json& list, std::string* text) {
    *text += std::string(",\n\"") + name + "\": [";
    const char* separator = "\n";
    for (const json& element : list) {
        *text += separator + element.dump();
        separator = ",\n";
    }
    *text += "\n]";
}

// The parts of a plan as they are read, with messages that say where they stand.
class PlanReader {
  public:
    PlanReader(std::string file, json root)
        : file_(std::move(file)), root_(std::move(root)) {}

    // All but LSPs and tables.
    Plan readHead() {
        Plan plan;
        if (!root_.contains("format") || root_["format"] != kPlanFormat)
            fail(root_, "a plan, an object with \"format\": \"kavril-plan\"");
        if (root_.value("version", json(kPlanVersion)) != kPlanVersion)
            fail(root_, "a plan of version 1");
        plan.network = networkFromJson(member("network"), file_);
        plan.configuration = read<Configuration>(member("configuration"));
        if (root_.contains("failureSets")) readList("failureSets", &plan.failureSets);
        if (root_.contains("drained")) plan.drained = read<Drained>(root_["drained"]);
        readList("demands", &plan.demands);
        checkConfiguration(plan.configuration);
        checkFailureSets(plan);
        checkDemands(plan);
        return plan;
    }

    Plan readAll() {
        Plan plan = readHead();
        readList("lsps", &plan.lsps);
        readList("links", &plan.links);
        checkLsps(plan);
        checkTables(plan);
        // What stands in the file may be of before somebody edited it.
        plan.summary = summarise(plan);
        return plan;
    }

  private:
    [[noreturn]] void fail(const json& at, const std::string& expected) const {
        throw InputError(file_, lineOf(at), "expected " + expected);
    }

    const json& member(const char* name) const {
        if (!root_.contains(name))
            fail(root_, std::string("\"") + name + "\" in the plan");
        return root_[name];
    }

    template <class Record>
    Record read(const json& from) const try {
        if (!from.is_object()) fail(root_, "objects only in the lists of the plan");
        if constexpr (!std::is_same_v<Record, LinkTables>) requireIntegers(from);
        return from.get<Record>();
    } catch (const json::exception& error) {
        throw InputError(file_, lineOf(from), plainMessage(error));
    } catch (const InputError&) {
        throw;
    } catch (const UserError& error) {
        throw InputError(file_, lineOf(from), error.what());
    }

    template <class Record>
    void readList(const char* name, std::vector<Record>* to) const {
        const json& list = member(name);
        if (!list.is_array()) fail(root_, std::string("a list as \"") + name + "\"");
        for (const json& element : list) to->push_back(read<Record>(element));
    }

    void check(bool holds, const char* list, std::size_t index,
               const std::string& expected) const {
        if (!holds)
            fail(member(list)[index],
                 expected + " in element " + std::to_string(index) + " of " + list);
    }

    void checkConfiguration(const Configuration& configuration) const {
        const std::size_t classes = configuration.classes.size();
        const json& at = member("configuration");
        if (classes < 1 || classes > kPlanClasses) fail(at, "1 to 8 classes");
        for (const TrafficPart& part : configuration.parts)
            if (!isIndex(part.trafficClass, classes) || !isIndex(part.level, kPlanLevels))
                fail(at, "classes and levels that are there in \"parts\"");
    }

    void checkFailureSets(const Plan& plan) const {
        const std::size_t nodes = plan.network.nodes.size();
        const std::size_t links = plan.network.links.size();
        for (std::size_t i = 0; i < plan.failureSets.size(); i++)
            check(areIndexes(plan.failureSets[i].links, links) &&
                      areIndexes(plan.failureSets[i].nodes, nodes),
                  "failureSets", i, "links and nodes that are there");
        if (!areIndexes(plan.drained.links, links) ||
            !areIndexes(plan.drained.nodes, nodes))
            fail(root_["drained"], "links and nodes that are there in \"drained\"");
    }

    void checkDemands(const Plan& plan) const {
        const std::size_t nodes = plan.network.nodes.size();
        const std::size_t classes = plan.configuration.classes.size();
        for (std::size_t i = 0; i < plan.demands.size(); i++) {
            const PlanDemand& demand = plan.demands[i];
            check(isIndex(demand.src, nodes) && isIndex(demand.dst, nodes) &&
                      areIndexes(demand.route, nodes) &&
                      isIndex(demand.trafficClass, classes) &&
                      isIndex(demand.level, kPlanLevels) && isBandwidth(demand.bandwidth),
                  "demands", i, "nodes, a class, a level and a bandwidth that can be");
        }
    }

    void checkLsps(const Plan& plan) const {
        const std::size_t nodes = plan.network.nodes.size();
        const std::size_t links = plan.network.links.size();
        for (std::size_t i = 0; i < plan.lsps.size(); i++) {
            const PlanLsp& lsp = plan.lsps[i];
            bool holds = lsp.id >= 0 && !lsp.path.empty() &&
                         isIndex(lsp.demand, plan.demands.size()) &&
                         isIndex(lsp.trafficClass, plan.configuration.classes.size()) &&
                         isIndex(lsp.level, kPlanLevels) && isBandwidth(lsp.bandwidth);
            holds = holds && areIndexes(lsp.path, nodes) &&
                    areIndexes(lsp.protectedNodes, nodes) &&
                    areIndexes(lsp.protectedLinks, links);
            check(holds, "lsps", i,
                  "an id, a demand, nodes, links, a class, a level and a bandwidth that "
                  "can be");
        }
    }

    void checkTables(const Plan& plan) const {
        const std::size_t classes = plan.configuration.classes.size();
        if (plan.links.size() != plan.network.links.size())
            fail(root_, "as many elements of links as the network has links");
        for (std::size_t i = 0; i < plan.links.size(); i++) {
            const LinkTables& link = plan.links[i];
            bool holds = link.capacity.size() == classes &&
                         link.primary.size() == classes &&
                         link.reserved.size() == classes;
            for (const auto* cells : {&link.backup, &link.freed})
                for (const FailureCell& cell : *cells)
                    holds = holds && isIndex(cell.trafficClass, classes) &&
                            isIndex(cell.level, kPlanLevels) &&
                            isIndex(cell.failedLink, plan.links.size());
            check(holds, "links", i,
                  "a table per class, and classes, levels and links "
                  "that are there");
        }
    }

    static bool isIndex(int value, std::size_t size) {
        return value >= 0 && static_cast<std::size_t>(value) < size;
    }
    static bool areIndexes(const std::vector<int>& values, std::size_t size) {
        return std::ranges::all_of(values,
                                   [size](int value) { return isIndex(value, size); });
    }
    static bool isBandwidth(double value) {
        return value >= 0.0 && value <= kMostBandwidth;
    }

    std::string file_;
    json root_;
};

}  // namespace

json headOf(const Plan& plan) {
    json head = {{"format", kPlanFormat},
                 {"version", kPlanVersion},
                 {"configuration", plan.configuration},
                 {"network", toJson(plan.network)},
                 {"demands", plan.demands}};
    if (plan.drained != Drained()) head["drained"] = plan.drained;
    if (!plan.failureSets.empty()) head["failureSets"] = plan.failureSets;
    return head;
}

std::string planText(const Plan& plan) {
    const json head = headOf(plan);
    std::string text = "{\"format\": \"" + std::string(kPlanFormat) +
                       "\",\n\"version\": " + std::to_string(kPlanVersion) +
                       ",\n\"summary\": " + json(plan.summary).dump();
    for (const std::string name : {"configuration", "network", "drained"})
        if (head.contains(name)) text += ",\n\"" + name + "\": " + head[name].dump();
    for (const char* name : {"failureSets", "demands"})
        if (head.contains(name)) appendList(name, head[name], &text);
    appendList("lsps", plan.lsps, &text);
    appendList("links", plan.links, &text);
    return text + "\n}\n";
}

Plan planFromHead(const json& head) {
    return PlanReader("the plan", head).readHead();
}

Plan readPlan(const std::string& fileName) {
    const Source source = sourceOf(fileName, readFile(fileName));
    const std::string_view kBlanks = " \t\r\n";
    const auto first = source.text.find_first_not_of(kBlanks);
    if (first == std::string::npos || source.text[first] != '{')
        throw InputError(fileName, first == std::string::npos ? 0 : 1,
                         "expected a plan, as kavril place writes it with -o");
    return PlanReader(source.file, parseWithLines(source)).readAll();
}

json toJson(const Configuration& configuration) {
    return configuration;
}
json toJson(const Summary& summary) {
    return summary;
}
json toJson(const PlanDemand& demand) {
    return demand;
}
json toJson(const PlanLsp& lsp) {
    return lsp;
}

}  // namespace workbench
