#include "report/page_data.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <nlohmann/json.hpp>
#include <unordered_map>

#include "audit/diff.h"
#include "audit/verdict.h"
#include "graph/shortest.h"
#include "plan_json.h"
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

// A plan has its LSPs in the order of their ids, a primary before its backups.
Positions positionsIn(const Plan& plan) {
    Positions positions;
    std::unordered_map<int, int> nbBackups;
    for (const PlanLsp& lsp : plan.lsps) {
        positions.plan[lsp.id] = positions.plan.size();
        if (lsp.kind == LspKind::PRIMARY)
            positions.primary[lsp.id] = static_cast<int>(positions.primary.size());
        else if (positions.primary.contains(lsp.primary))
            positions.backup[lsp.id] = nbBackups[lsp.primary]++;
    }
    return positions;
}

json nodesOf(const Plan& plan) {
    json nodes = json::array();
    for (const Node& node : plan.network.nodes) nodes.push_back({{"name", node.name}});
    for (const int node : plan.drained.nodes) nodes[node]["drained"] = true;
    return nodes;
}

// What the LSPs book, whatever the plan's own tables say: so all figures of the page are
// of one truth. The audit tells of the difference.
json linksOf(const Plan& plan, const AuditResult& audit) {
    json links = json::array();
    for (std::size_t i = 0; i < audit.booked.size(); i++) {
        const LinkTables& tables = audit.booked[i];
        links.push_back({{"a", plan.network.links[i].src},
                         {"b", plan.network.links[i].dst},
                         {"cap", tables.capacity},
                         {"pri", tables.primary},
                         {"res", tables.reserved}});
        if (isDrained(plan, static_cast<int>(i))) links.back()["drained"] = true;
    }
    return links;
}

// With what there is to say of it.
json primaryOf(const PlanLsp& lsp, double stretch, const Plan& plan) {
    const PlanDemand& demand = plan.demands[lsp.demand];
    json one = {{"id", lsp.id},
                {"path", lsp.path},
                {"class", lsp.trafficClass},
                {"level", lsp.level},
                {"bw", lsp.bandwidth},
                {"stretch", std::round(1e4 * stretch) / 1e4},
                {"backups", json::array()}};
    if (!demand.name.empty()) one["demand"] = demand.name;
    if (!demand.unprotected.empty()) one["note"] = demand.unprotected;
    if (!demand.exposed.empty()) one["exposed"] = demand.exposed;
    if (!demand.beyond.empty()) one["beyond"] = demand.beyond;
    return one;
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

json lspsOf(const Plan& plan, const AuditResult& audit, const Positions& positions) {
    const std::vector<double> stretch = stretches(plan);
    const std::vector<double> up = availabilities(plan, audit);
    const bool isKnown = knowsProbabilities(audit);
    json lsps = json::array();
    for (std::size_t at = 0; at < plan.lsps.size(); at++) {
        const PlanLsp& lsp = plan.lsps[at];
        if (lsp.kind == LspKind::PRIMARY) {
            lsps.push_back(primaryOf(lsp, stretch[at], plan));
            if (isKnown) lsps.back()["up"] = up[at];
        } else if (const auto primary = positions.primary.find(lsp.primary);
                   primary != positions.primary.end()) {
            lsps[primary->second]["backups"].push_back(
                backupOf(lsp, plan.lsps[positions.plan.at(lsp.primary)]));
        }
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
    json out = {{"kind", toText(set.kind)},
                {"name", set.name},
                {"links", set.links},
                {"nodes", set.nodes},
                {"hit", failure.hit.size()},
                {"restored", std::move(restored)},
                {"lost", std::move(lost)},
                {"fullest", loadOf(failure.fullest)},
                {"overloads", std::move(overloads)}};
    if (set.probability) out["probability"] = *set.probability;
    return out;
}

// The lot of a class and level, or of all traffic, as the audit's verdict has it.
json lotOf(const Fate& fate) {
    json lot = {{"class", fate.trafficClass},
                {"level", fate.level},
                {"offered", fate.bandwidthRequested},
                {"carried", fate.bandwidthCarried},
                {"safe", fate.bandwidthProtected},
                {"worst", fate.worstLost},
                {"booked", fate.booked},
                {"backups", fate.reserved},
                {"stretch", fate.stretch.mean()},
                {"longest", fate.stretch.maximum}};
    if (fate.meanAvailability) lot["up"] = *fate.meanAvailability;
    if (fate.lowestAvailability) lot["lowest"] = *fate.lowestAvailability;
    return lot;
}

json lotsOf(const Plan& plan, const AuditResult& audit) {
    const Verdict verdict = verdictOf(plan, audit);
    json levels = json::array();
    for (const Fate& fate : verdict.levels) levels.push_back(lotOf(fate));
    return {{"all", lotOf(verdict.all)}, {"levels", std::move(levels)}};
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

}  // namespace

json changesOf(const Plan& planBefore, const Plan& planAfter) {
    const LspChanges changes = compareLsps(planBefore, planAfter);
    const Positions before = positionsIn(planBefore);
    const Positions after = positionsIn(planAfter);
    const std::pair<const char*, const std::vector<LspChange>&> kinds[] = {
        {"moved", changes.moved},
        {"gained", changes.gained},
        {"lost", changes.lost},
        {"newly unprotected", changes.unprotected},
        {"newly protected", changes.isProtected},
        {"resized", changes.resized},
        {"other level", changes.otherLevel}};
    std::map<std::pair<int, int>, json> whatOf;  // by their ids
    for (const auto& [what, list] : kinds)
        for (const LspChange& one : list)
            whatOf[{one.lspAfter, one.lspBefore}].push_back(what);
    const auto positionIn = [](const Positions& positions, int lsp) {
        const auto at = positions.primary.find(lsp);
        return at == positions.primary.end() ? json() : json(at->second);
    };
    json all = json::array();
    for (const auto& [ids, what] : whatOf)
        all.push_back({{"after", positionIn(after, ids.first)},
                       {"before", positionIn(before, ids.second)},
                       {"what", what}});
    return all;
}

json planData(const Audited& one) {
    const auto& [file, plan, audit, asked] = one;
    const Positions positions = positionsIn(plan);
    Reasons reasons;
    json data = {{"title", plan.network.name},
                 {"version", KAVRIL_VERSION},
                 {"unit", plan.network.unit},
                 {"levels", kPlanLevels}};
    for (const TrafficClass& one : plan.configuration.classes)
        data["classes"].push_back(one.name);
    data["configuration"] = toJson(plan.configuration);
    data["audit"] = auditOf(audit);
    data["nodes"] = nodesOf(plan);
    data["links"] = linksOf(plan, audit);
    data["lsps"] = lspsOf(plan, audit, positions);
    data["lots"] = lotsOf(plan, audit);
    data["notPlaced"] = notPlacedOf(plan);
    data["failures"] = json::array();
    Reach reach(plan.network);
    for (const Failure& failure : audit.failures)
        data["failures"].push_back(failureOf(failure, plan, positions, &reach, &reasons));
    if (asked >= 0) data["asked"] = asked;
    data["reasons"] = reasons.list();
    data["worst"] = worstOf(plan, audit);
    return data;
}

}  // namespace workbench
