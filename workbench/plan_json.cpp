#include "plan_json.h"

#include <algorithm>

#include "cli/error.h"
#include "cli/file.h"
#include "formats/network_json.h"

namespace workbench {

using nlohmann::json;

// By their names; an unknown one is an error.
template <class Enum>
requires std::is_enum_v<Enum>
void enumFromJson(const json& from, const std::vector<Enum>& values, Enum* to) {
    const auto& text = from.get_ref<const std::string&>();
    std::string names;
    for (Enum value : values) {
        if (text == toText(value)) {
            *to = value;
            return;
        }
        names += (names.empty() ? "" : ", ") + std::string(toText(value));
    }
    throw UserError("\"" + text + "\" is none of " + names);
}

void to_json(json& to, const Protection& from) {
    to = toText(from);
}
void from_json(const json& from, Protection& to) {
    enumFromJson(from, {Protection::NONE, Protection::LOCAL, Protection::GLOBAL}, &to);
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
    from.at(0).get_to(to.trafficClass);
    from.at(1).get_to(to.level);
    from.at(2).get_to(to.failedLink);
    from.at(3).get_to(to.bandwidth);
}

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(TrafficClass, name, capacityShare)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(TrafficPart, trafficClass, level, share)
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
}
void from_json(const json& from, Configuration& to) {
    from.at("classes").get_to(to.classes);
    from.at("parts").get_to(to.parts);
    from.at("weights").get_to(to.weights);
    from.at("protection").get_to(to.protection);
    to.survive.clear();
    getIfThere(from, "survive", &to.survive);
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

void check(bool holds, const std::string& what) {
    if (!holds) throw UserError(what);
}

bool isIndex(int value, std::size_t size) {
    return value >= 0 && static_cast<std::size_t>(value) < size;
}

bool areIndexes(const std::vector<int>& values, std::size_t size) {
    return std::ranges::all_of(values,
                               [size](int value) { return isIndex(value, size); });
}

void checkFailureSets(const Plan& plan) {
    const std::size_t nodes = plan.network.nodes.size();
    const std::size_t links = plan.network.links.size();
    for (const FailureSet& set : plan.failureSets)
        check(areIndexes(set.links, links) && areIndexes(set.nodes, nodes),
              "failure " + set.name + " has a link or node that is not there");
    check(areIndexes(plan.drained.links, links) && areIndexes(plan.drained.nodes, nodes),
          "a link or node is drained that is not there");
}

void checkConfiguration(const Configuration& configuration) {
    const std::size_t classes = configuration.classes.size();
    check(classes >= 1 && classes <= kPlanClasses, "1 to 8 classes expected");
    for (const TrafficPart& part : configuration.parts)
        check(isIndex(part.trafficClass, classes) && isIndex(part.level, kPlanLevels),
              "a part of the demands has a class or level that is not there");
}

void checkDemands(const Plan& plan) {
    const std::size_t nodes = plan.network.nodes.size();
    const std::size_t classes = plan.configuration.classes.size();
    for (std::size_t i = 0; i < plan.demands.size(); i++) {
        const PlanDemand& demand = plan.demands[i];
        check(isIndex(demand.src, nodes) && isIndex(demand.dst, nodes) &&
                  areIndexes(demand.route, nodes) &&
                  isIndex(demand.trafficClass, classes) &&
                  isIndex(demand.level, kPlanLevels),
              "demand " + std::to_string(i) +
                  " has a node, class or level that is not there");
    }
}

void checkLsps(const Plan& plan) {
    const std::size_t nodes = plan.network.nodes.size();
    const std::size_t links = plan.network.links.size();
    for (const PlanLsp& lsp : plan.lsps) {
        bool holds = lsp.id >= 0 && isIndex(lsp.demand, plan.demands.size()) &&
                     isIndex(lsp.trafficClass, plan.configuration.classes.size()) &&
                     isIndex(lsp.level, kPlanLevels);
        holds = holds && areIndexes(lsp.path, nodes) &&
                areIndexes(lsp.protectedNodes, nodes) &&
                areIndexes(lsp.protectedLinks, links);
        check(holds, "LSP " + std::to_string(lsp.id) +
                         " has a demand, node, link, class or level that is not there");
    }
}

void checkTables(const Plan& plan) {
    const std::size_t classes = plan.configuration.classes.size();
    check(plan.links.size() == plan.network.links.size(),
          "as many tables as links expected");
    for (std::size_t i = 0; i < plan.links.size(); i++) {
        const LinkTables& link = plan.links[i];
        bool holds = link.capacity.size() == classes && link.primary.size() == classes &&
                     link.reserved.size() == classes;
        for (const auto* cells : {&link.backup, &link.freed})
            for (const FailureCell& cell : *cells)
                holds = holds && isIndex(cell.trafficClass, classes) &&
                        isIndex(cell.level, kPlanLevels) &&
                        isIndex(cell.failedLink, plan.links.size());
        check(holds, "the tables of link " + std::to_string(i) +
                         " have a class, level or link that is not there");
    }
}

Plan planFrom(const json& root) {
    check(root.is_object() && root.value("format", "") == kPlanFormat,
          "a plan expected: an object with \"format\": \"kavril-plan\"");
    check(root.at("version") == kPlanVersion, "a plan of version 1 expected");
    Plan plan;
    plan.network = networkFromJson(root.at("network"));
    root.at("configuration").get_to(plan.configuration);
    getIfThere(root, "failureSets", &plan.failureSets);
    getIfThere(root, "drained", &plan.drained);
    root.at("demands").get_to(plan.demands);
    root.at("lsps").get_to(plan.lsps);
    root.at("links").get_to(plan.links);
    root.at("summary").get_to(plan.summary);
    checkConfiguration(plan.configuration);
    checkFailureSets(plan);
    checkDemands(plan);
    checkLsps(plan);
    checkTables(plan);
    return plan;
}

}  // namespace

std::string planText(const Plan& plan) {
    std::string text = "{\"format\": \"" + std::string(kPlanFormat) +
                       "\",\n\"version\": " + std::to_string(kPlanVersion) +
                       ",\n\"summary\": " + json(plan.summary).dump() +
                       ",\n\"configuration\": " + json(plan.configuration).dump() +
                       ",\n\"network\": " + toJson(plan.network).dump();
    if (plan.drained != Drained()) text += ",\n\"drained\": " + json(plan.drained).dump();
    if (!plan.failureSets.empty()) appendList("failureSets", plan.failureSets, &text);
    appendList("demands", plan.demands, &text);
    appendList("lsps", plan.lsps, &text);
    appendList("links", plan.links, &text);
    return text + "\n}\n";
}

Plan readPlan(const std::string& fileName) {
    try {
        return planFrom(json::parse(readFile(fileName)));
    } catch (const json::exception& error) {
        throw UserError(fileName + ": " + error.what());
    } catch (const UserError& error) {
        throw UserError(fileName + ": " + error.what());
    }
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
