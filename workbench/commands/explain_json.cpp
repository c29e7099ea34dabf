#include "commands/explain_json.h"

namespace workbench {

using nlohmann::json;

namespace {

json toJson(const Path& path) {
    if (!path.found) return nullptr;
    return {{"nodes", path.nodes}, {"score", path.score}};
}

json scoresJson(const std::vector<ScoredLink>& links) {
    json all = json::array();
    for (const ScoredLink& link : links) {
        json parts;
        for (std::size_t i = 0; i < link.parts.size(); i++)
            parts[kWeightNames[i].name] = link.parts[i];
        all.push_back(
            {{"link", link.link}, {"score", link.score}, {"parts", std::move(parts)}});
    }
    return all;
}

json requestJson(const Request& request, const Plan& plan) {
    return {{"src", request.src},
            {"dst", request.dst},
            {"bandwidth", request.bandwidth},
            {"class", plan.configuration.classes[request.trafficClass].name},
            {"level", request.level},
            {"avoidedColours", request.avoidColours}};
}

}  // namespace

json toJson(const Explanation& explanation, const Request& request, const Plan& plan) {
    json detours = json::array();
    for (const Detour& detour : explanation.detours)
        detours.push_back(
            {{"withoutLink", detour.withoutLink}, {"path", toJson(detour.path)}});
    json refusals = json::array();
    for (const Refusal& refusal : explanation.refusals)
        refusals.push_back({{"link", refusal.link},
                            {"colour", refusal.colour},
                            {"missing", refusal.missing}});
    json giveWay = json::array();
    for (const GiveWay& link : explanation.giveWay)
        giveWay.push_back(
            {{"link", link.link}, {"missing", link.missing}, {"lsps", link.lsps}});
    return {{"request", requestJson(request, plan)},
            {"path", toJson(explanation.path)},
            {"links", scoresJson(explanation.links)},
            {"detours", std::move(detours)},
            {"refusals", std::move(refusals)},
            {"cut", explanation.cut},
            {"largest", explanation.largest},
            {"largestWithPreemption", explanation.largestWithPreemption},
            {"preempting",
             {{"path", toJson(explanation.preempting)},
              {"giveWay", std::move(giveWay)},
              {"preempted", explanation.preempted}}}};
}

}  // namespace workbench
