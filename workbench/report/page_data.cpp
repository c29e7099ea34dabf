#include "report/page_data.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <nlohmann/json.hpp>
#include <unordered_map>

#include "plan_json.h"
#include "report/layout.h"

namespace workbench {

using nlohmann::json;

namespace {

// Where a primary and its backups stand in the page's list.
struct Positions {
    std::unordered_map<int, int> primary;  // by LSP id
    std::unordered_map<int, int> backup;   // by LSP id, among those of its primary
};

// Whole numbers of a unit that no screen resolves.
json spotsOf(const std::vector<Point>& points) {
    double unit = 0.0;
    for (const Point& point : points)
        unit = std::max({unit, std::abs(point.x), std::abs(point.y)});
    if (unit <= 0.0) unit = 1.0;
    json spots = json::array();
    for (const Point& point : points)
        spots.push_back(
            {std::round(point.x / unit * 1e5), std::round(point.y / unit * 1e5)});
    return spots;
}

// `spot` is left out where the file has no positions to speak of.
json nodesOf(const Network& network) {
    const json fromFile = spotsOf(placesFromFile(network));
    const json computed = spotsOf(computedPlaces(network));
    json nodes = json::array();
    for (std::size_t i = 0; i < network.nodes.size(); i++) {
        nodes.push_back({{"name", network.nodes[i].name}, {"computed", computed[i]}});
        if (!fromFile.empty()) nodes[i]["spot"] = fromFile[i];
    }
    return nodes;
}

json linksOf(const Plan& plan) {
    json links = json::array();
    for (std::size_t i = 0; i < plan.links.size(); i++) {
        const LinkTables& tables = plan.links[i];
        links.push_back({{"a", plan.network.links[i].src},
                         {"b", plan.network.links[i].dst},
                         {"cap", tables.capacity},
                         {"pri", tables.primary},
                         {"res", tables.reserved}});
    }
    return links;
}

json primaryOf(const PlanLsp& lsp, const Plan& plan) {
    return {{"id", lsp.id},
            {"path", lsp.path},
            {"class", lsp.trafficClass},
            {"level", lsp.level},
            {"bw", lsp.bandwidth},
            {"note", plan.demands[lsp.demand].unprotected},
            {"backups", json::array()}};
}

// A plan has its LSPs in the order of their ids, a primary before its backups.
json lspsOf(const Plan& plan, Positions* positions) {
    json lsps = json::array();
    for (const PlanLsp& lsp : plan.lsps) {
        if (lsp.kind == LspKind::PRIMARY) {
            positions->primary[lsp.id] = static_cast<int>(lsps.size());
            lsps.push_back(primaryOf(lsp, plan));
            continue;
        }
        const auto primary = positions->primary.find(lsp.primary);
        if (primary == positions->primary.end()) continue;
        json& backups = lsps[primary->second]["backups"];
        positions->backup[lsp.id] = static_cast<int>(backups.size());
        backups.push_back({{"path", lsp.path},
                           {"guardedLinks", lsp.protectedLinks},
                           {"guardedNodes", lsp.protectedNodes}});
    }
    return lsps;
}

json loadOf(const Load& load) {
    if (load.link < 0) return nullptr;
    return {{"link", load.link}, {"class", load.trafficClass}, {"share", load.share()}};
}

// Reasons repeat: each is stored once and named by its position.
class Reasons {
  public:
    int positionOf(const std::string& reason) {
        const auto [found, isNew] = known_.try_emplace(reason, known_.size());
        if (isNew) list_.push_back(reason);
        return static_cast<int>(found->second);
    }
    const json& list() const { return list_; }

  private:
    std::map<std::string, std::size_t> known_;
    json list_ = json::array();
};

json failureOf(const Failure& failure, const Positions& positions, Reasons* reasons) {
    json restored = json::array();
    for (const Restored& one : failure.restored)
        restored.push_back(
            {positions.primary.at(one.lsp), positions.backup.at(one.backups.front())});
    json lost = json::array();
    for (const Lost& one : failure.lost)
        lost.push_back({positions.primary.at(one.lsp), toText(one.cause),
                        reasons->positionOf(one.reason)});
    json overloads = json::array();
    for (const Load& load : failure.overloads) overloads.push_back(loadOf(load));
    const FailureSet& set = failure.set;
    return {set.nodes.empty() ? json::array({"link", set.links.front()})
                              : json::array({"node", set.nodes.front()}),
            {"name", set.name},
            {"kind", toText(set.kind)},
            {"links", set.links},
            {"nodes", set.nodes},
            {"hit", failure.hit.size()},
            {"restored", std::move(restored)},
            {"lost", std::move(lost)},
            {"fullest", loadOf(failure.fullest)},
            {"overloads", std::move(overloads)}};
}

json auditOf(const AuditResult& audit) {
    return {{"clean", audit.isClean()},
            {"hit", audit.hit},
            {"restored", audit.restored},
            {"lostEndsHere", audit.lostEndsHere},
            {"lostUnprotected", audit.lostUnprotected},
            {"lostProtected", audit.lostBroken},
            {"overloadedFailures", audit.overloadedFailures},
            {"overloadsBefore", audit.overloads.size()},
            {"problems", audit.problems.size()},
            {"cells", audit.tables.cells},
            {"differing", audit.tables.differing.size()}};
}

json notPlacedOf(const Plan& plan) {
    json demands = json::array();
    for (const PlanDemand& demand : plan.demands)
        if (demand.lsp < 0)
            demands.push_back({{"from", demand.src},
                               {"to", demand.dst},
                               {"class", demand.trafficClass},
                               {"level", demand.level},
                               {"bw", demand.bandwidth},
                               {"outcome", toText(demand.outcome)},
                               {"reason", demand.reason}});
    return demands;
}

// A name may hold the end of a script element.
std::string withoutMarkup(const json& data) {
    const std::string plain = data.dump(-1, ' ', false, json::error_handler_t::replace);
    std::string text;
    text.reserve(plain.size());
    for (char c : plain)
        if (c == '<')
            text += "\\u003c";
        else
            text += c;
    return text;
}

}  // namespace

std::string pageData(const Plan& plan, const AuditResult& audit) {
    Positions positions;
    Reasons reasons;
    json data = {{"title", plan.network.name},
                 {"version", KAVRIL_VERSION},
                 {"unit", plan.network.unit},
                 {"levels", kPlanLevels}};
    for (const TrafficClass& one : plan.configuration.classes)
        data["classes"].push_back(one.name);
    data["configuration"] = toJson(plan.configuration);
    data["summary"] = toJson(plan.summary);
    data["audit"] = auditOf(audit);
    data["nodes"] = nodesOf(plan.network);
    data["links"] = linksOf(plan);
    data["lsps"] = lspsOf(plan, &positions);
    data["notPlaced"] = notPlacedOf(plan);
    data["failures"] = json::array();
    for (const Failure& failure : audit.failures)
        data["failures"].push_back(failureOf(failure, positions, &reasons));
    data["reasons"] = reasons.list();
    return withoutMarkup(data);
}

}  // namespace workbench
