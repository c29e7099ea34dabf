#include "audit/audit_json.h"

namespace workbench {

using nlohmann::json;

json toJson(const Load& load) {
    if (load.link < 0) return nullptr;
    return {{"link", load.link},
            {"trafficClass", load.trafficClass},
            {"bandwidth", load.bandwidth},
            {"capacity", load.capacity},
            {"share", load.share()}};
}

json toJson(const Fate& fate) {
    json out = {{"requested", fate.requested},
                {"carried", fate.carried},
                {"protected", fate.isProtected},
                {"bandwidthRequested", fate.bandwidthRequested},
                {"bandwidthCarried", fate.bandwidthCarried},
                {"bandwidthProtected", fate.bandwidthProtected},
                {"bandwidthBackups", fate.bandwidthBackups},
                {"booked", fate.booked},
                {"reserved", fate.reserved},
                {"stretchMean", fate.stretch.mean()},
                {"stretchMaximum", fate.stretch.maximum},
                {"worstLost", fate.worstLost},
                {"worstFailure", fate.worstFailure}};
    if (fate.lowestAvailability) out["lowestAvailability"] = *fate.lowestAvailability;
    if (fate.meanAvailability) out["meanAvailability"] = *fate.meanAvailability;
    return out;
}

json toJson(const Fate& fate, const Plan& plan) {
    json out = toJson(fate);
    if (fate.trafficClass >= 0)
        out["trafficClass"] = plan.configuration.classes[fate.trafficClass].name;
    if (fate.level >= 0) out["level"] = fate.level;
    return out;
}

json toJson(const std::vector<Fate>& fates, const Plan& plan) {
    json all = json::array();
    for (const Fate& fate : fates) all.push_back(toJson(fate, plan));
    return all;
}

namespace {

json toJson(const std::vector<Load>& loads) {
    json all = json::array();
    for (const Load& load : loads) all.push_back(toJson(load));
    return all;
}

json toJson(const Failure& failure) {
    json restored = json::array();
    for (const Restored& one : failure.restored)
        restored.push_back(
            {{"lsp", one.lsp}, {"backups", one.backups}, {"stretch", one.stretch}});
    json lost = json::array();
    for (const Lost& one : failure.lost)
        lost.push_back(
            {{"lsp", one.lsp}, {"cause", toText(one.cause)}, {"reason", one.reason}});
    json out = {{"kind", toText(failure.set.kind)},
                {"name", failure.set.name},
                {"links", failure.set.links},
                {"nodes", failure.set.nodes},
                {"claimed", failure.claimed},
                {"hit", failure.hit},
                {"restored", std::move(restored)},
                {"lost", std::move(lost)},
                {"bandwidthLost", failure.bandwidthLost},
                {"bandwidthEndsHere", failure.bandwidthEndsHere},
                {"fullest", toJson(failure.fullest)},
                {"overloads", toJson(failure.overloads)}};
    if (failure.set.probability) out["probability"] = *failure.set.probability;
    return out;
}

json toJson(const Verdict& verdict, const Plan& plan) {
    return {{"all", toJson(verdict.all, plan)},
            {"classes", toJson(verdict.classes, plan)},
            {"levels", toJson(verdict.levels, plan)},
            {"worstLoad", verdict.worstLoad},
            {"overloads", verdict.overloads}};
}

json availabilityOf(const Plan& plan, const AuditResult& result) {
    json all = json::array();
    const std::vector<double> up = availabilities(plan, result);
    for (std::size_t i = 0; i < plan.lsps.size(); i++)
        if (plan.lsps[i].kind == LspKind::PRIMARY)
            all.push_back({{"lsp", plan.lsps[i].id}, {"availability", up[i]}});
    return all;
}

json toJson(const TableCheck& tables) {
    json differing = json::array();
    for (const CellDifference& one : tables.differing) {
        json cell = {{"link", one.link},
                     {"table", one.table},
                     {"trafficClass", one.trafficClass},
                     {"level", one.level},
                     {"inPlan", one.inPlan},
                     {"recomputed", one.recomputed}};
        if (one.failedLink >= 0) cell["failedLink"] = one.failedLink;
        differing.push_back(std::move(cell));
    }
    return {{"cells", tables.cells},
            {"exact", tables.exact},
            {"withinRounding", tables.rounding},
            {"differing", std::move(differing)}};
}

}  // namespace

json toJson(const AuditResult& result, const Verdict& verdict, const Plan& plan) {
    json failures = json::array();
    for (const Failure& failure : result.failures) failures.push_back(toJson(failure));
    json worst = json::array();
    for (const WorstLoad& one : result.worst) {
        worst.push_back(toJson(one.load));
        worst.back()["failure"] = one.failure;
    }
    json out = {
        {"clean", result.isClean()},
        {"verdict", toJson(verdict, plan)},
        {"summary",
         {{"failures", result.failures.size()},
          {"hit", result.hit},
          {"restored", result.restored},
          {"lostEndsHere", result.lostEndsHere},
          {"lostUnprotected", result.lostUnprotected},
          {"lostNotCovered", result.lostNotCovered},
          {"lostProtected", result.lostBroken},
          {"overloadedFailures", result.overloadedFailures},
          {"overloadedClaimed", result.overloadedClaimed}}},
        {"problems", result.problems},
        {"withoutFailure",
         {{"fullest", toJson(result.fullest)}, {"overloads", toJson(result.overloads)}}},
        {"failures", std::move(failures)},
        {"worst", std::move(worst)},
        {"tables", toJson(result.tables)}};
    if (verdict.all.meanAvailability) out["availability"] = availabilityOf(plan, result);
    return out;
}

}  // namespace workbench
