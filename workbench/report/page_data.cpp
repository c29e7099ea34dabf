#include "report/page_data.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <nlohmann/json.hpp>
#include <tuple>
#include <unordered_map>

#include "audit/recompute.h"
#include "audit/routes.h"
#include "graph/shortest.h"
#include "plan_json.h"
#include "report/layout.h"
#include "report/reach.h"

namespace workbench {

using nlohmann::json;

namespace {

// Where a primary and its backups stand in the page's list.
struct Positions {
    std::unordered_map<int, int> primary;       // by LSP id
    std::unordered_map<int, int> backup;        // by LSP id, among those of its primary
    std::unordered_map<int, std::size_t> plan;  // by LSP id, in the plan
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

json nodesOf(const Network& network) {
    json nodes = json::array();
    for (const Node& node : network.nodes) nodes.push_back({{"name", node.name}});
    return nodes;
}

// `spot` is left out where the file has no positions to speak of.
void placeNodes(const Network& network, json* nodes) {
    const json fromFile = spotsOf(placesFromFile(network));
    const json computed = spotsOf(computedPlaces(network));
    for (std::size_t i = 0; i < nodes->size(); i++) {
        (*nodes)[i]["computed"] = computed[i];
        if (!fromFile.empty()) (*nodes)[i]["spot"] = fromFile[i];
    }
}

// What the LSPs book, whatever the plan's own tables say: so all figures of the page are
// of one truth. The audit tells of the difference.
json linksOf(const Plan& plan) {
    std::vector<std::string> problems;
    const Routes routes(plan, &problems);
    const std::vector<LinkTables> booked = recomputeTables(plan, routes);
    json links = json::array();
    for (std::size_t i = 0; i < booked.size(); i++) {
        const LinkTables& tables = booked[i];
        links.push_back({{"a", plan.network.links[i].src},
                         {"b", plan.network.links[i].dst},
                         {"cap", tables.capacity},
                         {"pri", tables.primary},
                         {"res", tables.reserved}});
    }
    return links;
}

json primaryOf(const PlanLsp& lsp, double stretch, const Plan& plan) {
    return {{"id", lsp.id},
            {"path", lsp.path},
            {"class", lsp.trafficClass},
            {"level", lsp.level},
            {"bw", lsp.bandwidth},
            {"stretch", std::round(1e4 * stretch) / 1e4},
            {"demand", plan.demands[lsp.demand].name},
            {"note", plan.demands[lsp.demand].unprotected},
            {"backups", json::array()}};
}

// Which of those of the same name, ends, class and level a demand is: this makes it the
// same in two plans.
std::vector<int> ranksOf(const std::vector<PlanDemand>& demands) {
    std::map<std::tuple<std::string, int, int, int, int>, int> seen;
    std::vector<int> ranks;
    for (const PlanDemand& one : demands)
        ranks.push_back(
            seen[{one.name, one.src, one.dst, one.trafficClass, one.level}]++);
    return ranks;
}

// What a backup guards is left out where it is all of its primary, links or inner nodes:
// long paths with global backups make large pages.
json backupOf(const PlanLsp& backup, const PlanLsp& primary) {
    json one = {{"path", backup.path}};
    if (backup.protectedLinks.size() + 1 != primary.path.size())
        one["guardedLinks"] = backup.protectedLinks;
    if (backup.protectedNodes.size() + 2 != primary.path.size())
        one["guardedNodes"] = backup.protectedNodes;
    return one;
}

// A plan has its LSPs in the order of their ids, a primary before its backups.
json lspsOf(const Plan& plan, Positions* positions) {
    const std::vector<double> stretch = stretches(plan);
    const std::vector<int> nth = ranksOf(plan.demands);
    json lsps = json::array();
    for (const PlanLsp& lsp : plan.lsps) {
        positions->plan[lsp.id] = positions->plan.size();
        if (lsp.kind == LspKind::PRIMARY) {
            positions->primary[lsp.id] = static_cast<int>(lsps.size());
            lsps.push_back(primaryOf(lsp, stretch[positions->plan.at(lsp.id)], plan));
            if (nth[lsp.demand] > 0) lsps.back()["nth"] = nth[lsp.demand];
            continue;
        }
        const auto primary = positions->primary.find(lsp.primary);
        if (primary == positions->primary.end()) continue;
        json& backups = lsps[primary->second]["backups"];
        positions->backup[lsp.id] = static_cast<int>(backups.size());
        backups.push_back(backupOf(lsp, plan.lsps[positions->plan.at(lsp.primary)]));
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

// Lost with no way left is no backup's fault.
const char* causeOf(const Lost& lost, const PlanLsp& lsp, Reach* reach) {
    if (lost.cause != LossCause::ENDS_HERE &&
        !reach->joins(lsp.path.front(), lsp.path.back()))
        return "cut off";
    return toText(lost.cause);
}

// By the distance to the LSP before, and over its first backup unless others are named: a
// failure of a large network restores thousands.
json restoredOf(int distance, const std::vector<int>& backups) {
    if (backups == std::vector{0}) return distance;
    return {distance, backups};
}

json failureOf(const Failure& failure, const Plan& plan, const Positions& positions,
               Reach* reach, Reasons* reasons) {
    reach->setDown(failure.set.links, failure.set.nodes);
    json restored = json::array();
    int last = 0;
    for (const Restored& one : failure.restored) {
        const int primary = positions.primary.at(one.lsp);
        std::vector<int> backups;
        for (int backup : one.backups) backups.push_back(positions.backup.at(backup));
        restored.push_back(restoredOf(primary - last, backups));
        last = primary;
    }
    json lost = json::array();
    for (const Lost& one : failure.lost)
        lost.push_back({positions.primary.at(one.lsp),
                        causeOf(one, plan.lsps[positions.plan.at(one.lsp)], reach),
                        reasons->positionOf(one.reason)});
    json overloads = json::array();
    for (const Load& load : failure.overloads) overloads.push_back(loadOf(load));
    const FailureSet& set = failure.set;
    return {{"kind", toText(set.kind)},
            {"name", set.name},
            {"links", set.links},
            {"nodes", set.nodes},
            {"hit", failure.hit.size()},
            {"restored", std::move(restored)},
            {"lost", std::move(lost)},
            {"fullest", loadOf(failure.fullest)},
            {"overloads", std::move(overloads)}};
}

// Of every link and class the highest load and the failure that it takes, -1 for none.
json worstOf(const Plan& plan, const AuditResult& audit) {
    const std::size_t nbClasses = plan.configuration.classes.size();
    json links = json::array();
    for (std::size_t cell = 0; cell < audit.worst.size(); cell++) {
        if (cell % nbClasses == 0) links.push_back(json::array());
        const WorstLoad& worst = audit.worst[cell];
        links.back().push_back({worst.load.bandwidth, worst.failure});
    }
    return links;
}

json auditOf(const AuditResult& audit) {
    return {{"clean", audit.isClean()},
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

// All but where the nodes are drawn.
json planData(const Plan& plan, const AuditResult& audit) {
    Positions positions;
    Reasons reasons;
    json data = {{"title", plan.network.name},
                 {"version", KAVRIL_VERSION},
                 {"unit", plan.network.unit},
                 {"levels", kPlanLevels}};
    for (const TrafficClass& one : plan.configuration.classes)
        data["classes"].push_back(one.name);
    data["configuration"] = toJson(plan.configuration);
    data["audit"] = auditOf(audit);
    data["nodes"] = nodesOf(plan.network);
    data["links"] = linksOf(plan);
    data["lsps"] = lspsOf(plan, &positions);
    data["notPlaced"] = notPlacedOf(plan);
    data["failures"] = json::array();
    Reach reach(plan.network);
    for (const Failure& failure : audit.failures)
        data["failures"].push_back(failureOf(failure, plan, positions, &reach, &reasons));
    data["reasons"] = reasons.list();
    data["worst"] = worstOf(plan, audit);
    return data;
}

}  // namespace

std::string pageData(const Audited& now, const Audited* before) {
    json data = planData(now.plan, now.audit);
    placeNodes(now.plan.network, &data["nodes"]);
    if (before != nullptr) {
        data["before"] = planData(before->plan, before->audit);
        data["before"]["file"] = before->file;
    }
    return withoutMarkup(data);
}

}  // namespace workbench
