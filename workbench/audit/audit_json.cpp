#include "audit/audit_json.h"

namespace workbench {

using nlohmann::json;

namespace {

json toJson(const Load& load) {
    if (load.link < 0) return nullptr;
    return {{"link", load.link},
            {"trafficClass", load.trafficClass},
            {"bandwidth", load.bandwidth},
            {"capacity", load.capacity},
            {"share", load.share()}};
}

json toJson(const std::vector<Load>& loads) {
    json all = json::array();
    for (const Load& load : loads) all.push_back(toJson(load));
    return all;
}

json toJson(const Failure& failure, const Plan& plan) {
    json restored = json::array();
    for (const Restored& one : failure.restored)
        restored.push_back({{"lsp", one.lsp}, {"backup", one.backup}});
    json lost = json::array();
    for (const Lost& one : failure.lost)
        lost.push_back(
            {{"lsp", one.lsp}, {"cause", toText(one.cause)}, {"reason", one.reason}});
    return {{"kind", failure.isNode ? "node" : "link"},
            {"id", failure.id},
            {"name", failure.isNode ? plan.network.nodes[failure.id].name
                                    : linkName(plan.network, failure.id)},
            {"hit", failure.hit},
            {"restored", std::move(restored)},
            {"lost", std::move(lost)},
            {"fullest", toJson(failure.fullest)},
            {"overloads", toJson(failure.overloads)}};
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

json toJson(const AuditResult& result, const Plan& plan) {
    json failures = json::array();
    for (const Failure& failure : result.failures)
        failures.push_back(toJson(failure, plan));
    return {
        {"clean", result.isClean()},
        {"summary",
         {{"failures", result.failures.size()},
          {"hit", result.hit},
          {"restored", result.restored},
          {"lostEndsHere", result.lostEndsHere},
          {"lostUnprotected", result.lostUnprotected},
          {"lostProtected", result.lostBroken},
          {"overloadedFailures", result.overloadedFailures}}},
        {"problems", result.problems},
        {"withoutFailure",
         {{"fullest", toJson(result.fullest)}, {"overloads", toJson(result.overloads)}}},
        {"failures", std::move(failures)},
        {"tables", toJson(result.tables)}};
}

}  // namespace workbench
