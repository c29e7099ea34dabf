#include "audit/diff.h"

#include <cmath>
#include <algorithm>
#include <map>
#include <tuple>

#include "audit/routes.h"
#include "audit/verdict.h"

namespace workbench {

using nlohmann::json;

namespace {

// One demand of a plan, by names.
struct State {
    const PlanDemand* demand = nullptr;
    const PlanLsp* lsp = nullptr;
    std::vector<std::string> path;
};

using Key = std::tuple<std::string, std::string, std::string, std::string, int, int>;

const std::string& classOf(const Plan& plan, int trafficClass) {
    return plan.configuration.classes[trafficClass].name;
}

std::map<Key, State> statesOf(const Plan& plan) {
    std::map<int, const PlanLsp*> lspOf;
    for (const PlanLsp& lsp : plan.lsps) lspOf[lsp.id] = &lsp;
    std::map<Key, int> seen;
    std::map<Key, State> states;
    for (const PlanDemand& demand : plan.demands) {
        Key key = {demand.name,
                   plan.network.nodes[demand.src].name,
                   plan.network.nodes[demand.dst].name,
                   classOf(plan, demand.trafficClass),
                   demand.level,
                   0};
        std::get<5>(key) = seen[key]++;
        State& state = states[key];
        state.demand = &demand;
        const auto lsp = lspOf.find(demand.lsp);
        if (lsp == lspOf.end()) continue;
        state.lsp = lsp->second;
        for (int node : state.lsp->path)
            state.path.push_back(plan.network.nodes[node].name);
    }
    return states;
}

bool isProtected(const Plan& plan, const State& state) {
    return plan.configuration.protection != Protection::NONE && state.lsp != nullptr &&
           state.demand->unprotected.empty();
}

LspChange changeOf(const Key& key, const State& before, const State& after) {
    const auto& [name, src, dst, oa, level, number] = key;
    const State& known = after.demand != nullptr ? after : before;
    LspChange change;
    change.demand = src + " > " + dst + (name.empty() ? "" : " (" + name + ")");
    change.trafficClass = oa;
    change.level = level;
    change.bandwidth = known.demand->bandwidth;
    change.lspBefore = before.lsp == nullptr ? -1 : before.lsp->id;
    change.lspAfter = after.lsp == nullptr ? -1 : after.lsp->id;
    change.before = before.path;
    change.after = after.path;
    if (after.demand != nullptr)
        change.reason =
            after.lsp == nullptr ? after.demand->reason : after.demand->unprotected;
    return change;
}

void compareLsps(const Plan& before, const Plan& after, PlanDiff* diff) {
    const auto first = statesOf(before);
    const auto second = statesOf(after);
    std::map<Key, State> all = first;
    all.insert(second.begin(), second.end());
    const State none;
    for (const auto& [key, ignored] : all) {
        const auto a = first.find(key);
        const auto b = second.find(key);
        const State& was = a == first.end() ? none : a->second;
        const State& is = b == second.end() ? none : b->second;
        if (was.lsp == nullptr && is.lsp == nullptr) continue;
        const LspChange change = changeOf(key, was, is);
        if (was.lsp == nullptr)
            diff->gained.push_back(change);
        else if (is.lsp == nullptr)
            diff->lost.push_back(change);
        else if (was.path != is.path)
            diff->moved.push_back(change);
        if (was.lsp == nullptr || is.lsp == nullptr) continue;
        if (isProtected(before, was) && !isProtected(after, is))
            diff->unprotected.push_back(change);
        if (!isProtected(before, was) && isProtected(after, is))
            diff->isProtected.push_back(change);
    }
}

std::vector<double> loadsOf(const Plan& plan, std::size_t cells) {
    std::vector<std::string> problems;
    const Routes routes(plan, &problems);
    std::vector<double> loads(cells, 0.0);
    const std::size_t classes = plan.configuration.classes.size();
    for (const Route& route : routes.all())
        if (route.lsp->kind == LspKind::PRIMARY)
            for (int link : route.links)
                loads[link * classes + route.lsp->trafficClass] += route.lsp->bandwidth;
    return loads;
}

using Links = std::map<std::pair<std::string, std::string>, LinkChange>;

// Its worst loads become those of one side of the comparison.
void addLinks(const Plan& plan, const AuditResult& result, bool isAfter, Links* links) {
    const std::vector<double> loads = loadsOf(plan, result.worst.size());
    for (std::size_t cell = 0; cell < result.worst.size(); cell++) {
        const Load& worst = result.worst[cell].load;
        const std::string name = linkName(plan.network, worst.link);
        const std::string& oa = classOf(plan, worst.trafficClass);
        LinkChange& link = (*links)[{name, oa}];
        link.link = name;
        link.trafficClass = oa;
        (isAfter ? link.after : link.before) = loads[cell];
        (isAfter ? link.worstAfter : link.worstBefore) = worst.bandwidth;
        (isAfter ? link.capacityAfter : link.capacityBefore) = worst.capacity;
    }
}

bool differ(double a, double b, double scale) {
    return std::abs(a - b) > kRounding * scale;
}

PlanFigures figuresOf(const Plan& plan, const AuditResult& result) {
    const Verdict verdict = verdictOf(plan, result);
    PlanFigures figures;
    figures.carried = verdict.all.bandwidthCarried;
    figures.isProtected = verdict.all.bandwidthProtected;
    figures.worstLost = verdict.all.worstLost;
    if (verdict.all.worstFailure >= 0)
        figures.worstFailure = result.failures[verdict.all.worstFailure].set.name;
    figures.worstLoad = verdict.worstLoad;
    figures.overloads = verdict.overloads;
    return figures;
}

json toJson(const std::vector<LspChange>& changes) {
    json all = json::array();
    for (const LspChange& one : changes)
        all.push_back({{"demand", one.demand},
                       {"trafficClass", one.trafficClass},
                       {"level", one.level},
                       {"bandwidth", one.bandwidth},
                       {"lspBefore", one.lspBefore},
                       {"lspAfter", one.lspAfter},
                       {"before", one.before},
                       {"after", one.after},
                       {"reason", one.reason}});
    return all;
}

json toJson(const PlanFigures& figures) {
    return {{"carried", figures.carried},     {"protected", figures.isProtected},
            {"worstLost", figures.worstLost}, {"worstFailure", figures.worstFailure},
            {"worstLoad", figures.worstLoad}, {"overloads", figures.overloads}};
}

}  // namespace

PlanDiff diffPlans(const Plan& before, const Plan& after) {
    PlanDiff diff;
    compareLsps(before, after, &diff);
    const AuditResult first = audit(before);
    const AuditResult second = audit(after);
    diff.before = figuresOf(before, first);
    diff.after = figuresOf(after, second);
    Links links;
    addLinks(before, first, false, &links);
    addLinks(after, second, true, &links);
    for (const auto& [key, link] : links) {
        const double scale = std::max(link.capacityBefore, link.capacityAfter);
        if (differ(link.before, link.after, scale) ||
            differ(link.worstBefore, link.worstAfter, scale) ||
            differ(link.capacityBefore, link.capacityAfter, scale))
            diff.links.push_back(link);
    }
    return diff;
}

json toJson(const PlanDiff& diff) {
    json links = json::array();
    for (const LinkChange& one : diff.links)
        links.push_back({{"link", one.link},
                         {"trafficClass", one.trafficClass},
                         {"before", one.before},
                         {"after", one.after},
                         {"worstBefore", one.worstBefore},
                         {"worstAfter", one.worstAfter},
                         {"capacityBefore", one.capacityBefore},
                         {"capacityAfter", one.capacityAfter}});
    return {{"moved", toJson(diff.moved)},
            {"gained", toJson(diff.gained)},
            {"lost", toJson(diff.lost)},
            {"newlyUnprotected", toJson(diff.unprotected)},
            {"newlyProtected", toJson(diff.isProtected)},
            {"links", std::move(links)},
            {"before", toJson(diff.before)},
            {"after", toJson(diff.after)}};
}

}  // namespace workbench
