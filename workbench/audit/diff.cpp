#include "audit/diff.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <deque>
#include <map>
#include <numeric>
#include <string_view>
#include <tuple>

#include "audit/audit_json.h"

namespace workbench {

using nlohmann::json;

namespace {

// One demand of a plan, by names, which are the plan's.
struct State {
    const PlanDemand* demand = nullptr;
    const PlanLsp* lsp = nullptr;
    std::vector<std::string_view> path;
    double stretch = 0.0;
};

// Name, ends, class, level, and a number among those with the same.
using Key = std::tuple<std::string_view, std::string_view, std::string_view,
                       std::string_view, int, int>;
constexpr std::size_t kLevel = 4;
constexpr std::size_t kNumber = 5;

const std::string& classOf(const Plan& plan, int trafficClass) {
    return plan.configuration.classes[trafficClass].name;
}

std::map<Key, State> statesOf(const Plan& plan) {
    std::map<int, const PlanLsp*> lspOf;
    for (const PlanLsp& lsp : plan.lsps) lspOf[lsp.id] = &lsp;
    ShortestPaths shortest(plan.network);
    std::map<Key, int> seen;
    std::map<Key, State> states;
    for (const PlanDemand& demand : plan.demands) {
        Key key = {demand.name,
                   plan.network.nodes[demand.src].name,
                   plan.network.nodes[demand.dst].name,
                   classOf(plan, demand.trafficClass),
                   demand.level,
                   0};
        std::get<kNumber>(key) = seen[key]++;
        State& state = states[key];
        state.demand = &demand;
        const auto lsp = lspOf.find(demand.lsp);
        if (lsp == lspOf.end()) continue;
        state.lsp = lsp->second;
        state.stretch = shortest.stretch(state.lsp->path);
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
    change.demand = fmt::format("{} > {}", src, dst);
    if (!name.empty()) change.demand += fmt::format(" ({})", name);
    change.trafficClass = oa;
    change.level = level;
    change.bandwidth = known.demand->bandwidth;
    change.lspBefore = before.lsp == nullptr ? -1 : before.lsp->id;
    change.lspAfter = after.lsp == nullptr ? -1 : after.lsp->id;
    change.before.assign(before.path.begin(), before.path.end());
    change.after.assign(after.path.begin(), after.path.end());
    change.stretchBefore = before.stretch;
    change.stretchAfter = after.stretch;
    if (after.demand != nullptr)
        change.reason =
            after.lsp == nullptr ? after.demand->reason : after.demand->unprotected;
    return change;
}

// A demand in both plans, or in one of them.
struct Both {
    Key key;
    State before;
    State after;
};

// By their keys; what is left over in both plans is paired without regard to its level.
std::vector<Both> sideBySide(const std::map<Key, State>& first,
                             const std::map<Key, State>& second) {
    const auto without = [](Key key) {
        std::get<kLevel>(key) = std::get<kNumber>(key) = 0;
        return key;
    };
    std::map<Key, std::deque<Key>> left;  // of the first
    for (const auto& [key, state] : first)
        if (!second.contains(key)) left[without(key)].push_back(key);
    std::map<Key, Both> all;
    for (const auto& [key, state] : second) {
        Both& both = all[key] = {key, {}, state};
        std::deque<Key>& others = left[without(key)];
        if (first.contains(key)) {
            both.before = first.at(key);
        } else if (!others.empty()) {
            both.before = first.at(others.front());
            others.pop_front();
        }
    }
    for (const auto& [ignored, keys] : left)
        for (const Key& key : keys) all[key] = {key, first.at(key), {}};
    std::vector<Both> list;
    for (auto& [key, both] : all) list.push_back(std::move(both));
    return list;
}

using Links = std::map<std::pair<std::string, std::string>, LinkChange>;

// Its worst loads become those of one side of the comparison.
void addLinks(const Plan& plan, const AuditResult& result, bool isAfter, Links* links) {
    for (const auto& [worst, failure] : result.worst) {
        const LevelTable& booked = result.booked[worst.link].primary[worst.trafficClass];
        const double load = std::accumulate(booked.begin(), booked.end(), 0.0);
        const std::string name = linkName(plan.network, worst.link);
        const std::string& oa = classOf(plan, worst.trafficClass);
        LinkChange& link = (*links)[{name, oa}];
        link.link = name;
        link.trafficClass = oa;
        (isAfter ? link.after : link.before) = load;
        (isAfter ? link.worstAfter : link.worstBefore) = worst.bandwidth;
        (isAfter ? link.capacityAfter : link.capacityBefore) = worst.capacity;
    }
}

bool differ(double a, double b, double scale) {
    return std::abs(a - b) > kRounding * scale;
}

PlanFigures figuresOf(const Verdict& verdict, const AuditResult& result) {
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

std::vector<LevelChange> compareLevels(const Plan& before, const Verdict& first,
                                       const Plan& after, const Verdict& second) {
    std::map<std::pair<std::string, int>, LevelChange> levels;
    const auto add = [&](const Plan& plan, const Verdict& verdict,
                         Fate LevelChange::*side) {
        for (const Fate& fate : verdict.levels) {
            const std::string& oa = classOf(plan, fate.trafficClass);
            LevelChange& change = levels[{oa, fate.level}];
            change.trafficClass = oa;
            change.level = fate.level;
            change.*side = fate;
        }
    };
    add(before, first, &LevelChange::before);
    add(after, second, &LevelChange::after);
    std::vector<LevelChange> list;
    for (auto& [key, change] : levels) list.push_back(std::move(change));
    std::ranges::stable_sort(list, {}, &LevelChange::level);
    return list;
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
                       {"stretchBefore", one.stretchBefore},
                       {"stretchAfter", one.stretchAfter},
                       {"reason", one.reason}});
    return all;
}

json toJson(const PlanFigures& figures) {
    return {{"carried", figures.carried},     {"protected", figures.isProtected},
            {"worstLost", figures.worstLost}, {"worstFailure", figures.worstFailure},
            {"worstLoad", figures.worstLoad}, {"overloads", figures.overloads}};
}

}  // namespace

LspChanges compareLsps(const Plan& before, const Plan& after) {
    LspChanges changes;
    for (const Both& both : sideBySide(statesOf(before), statesOf(after))) {
        const State& was = both.before;
        const State& is = both.after;
        if (was.lsp == nullptr && is.lsp == nullptr) continue;
        const LspChange change = changeOf(both.key, was, is);
        if (was.lsp == nullptr)
            changes.gained.push_back(change);
        else if (is.lsp == nullptr)
            changes.lost.push_back(change);
        if (was.lsp == nullptr || is.lsp == nullptr) continue;
        if (was.path != is.path) changes.moved.push_back(change);
        if (was.lsp->bandwidth != is.lsp->bandwidth) changes.resized.push_back(change);
        if (was.lsp->level != is.lsp->level) changes.otherLevel.push_back(change);
        if (isProtected(before, was) && !isProtected(after, is))
            changes.unprotected.push_back(change);
        if (!isProtected(before, was) && isProtected(after, is))
            changes.isProtected.push_back(change);
    }
    return changes;
}

PlanDiff diffPlans(const AuditedPlan& before, const AuditedPlan& after) {
    PlanDiff diff;
    diff.lsps = compareLsps(before.plan, after.plan);
    const Verdict first = verdictOf(before.plan, before.audit);
    const Verdict second = verdictOf(after.plan, after.audit);
    diff.levels = compareLevels(before.plan, first, after.plan, second);
    diff.before = figuresOf(first, before.audit);
    diff.after = figuresOf(second, after.audit);
    Links links;
    addLinks(before.plan, before.audit, false, &links);
    addLinks(after.plan, after.audit, true, &links);
    for (const auto& [key, link] : links) {
        const double scale = std::max(link.capacityBefore, link.capacityAfter);
        if (differ(link.before, link.after, scale) ||
            differ(link.worstBefore, link.worstAfter, scale) ||
            differ(link.capacityBefore, link.capacityAfter, scale))
            diff.links.push_back(link);
    }
    return diff;
}

json toJson(const std::vector<LevelChange>& levels) {
    json all = json::array();
    for (const LevelChange& one : levels)
        all.push_back({{"trafficClass", one.trafficClass},
                       {"level", one.level},
                       {"before", toJson(one.before)},
                       {"after", toJson(one.after)}});
    return all;
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
    return {{"moved", toJson(diff.lsps.moved)},
            {"gained", toJson(diff.lsps.gained)},
            {"lost", toJson(diff.lsps.lost)},
            {"newlyUnprotected", toJson(diff.lsps.unprotected)},
            {"newlyProtected", toJson(diff.lsps.isProtected)},
            {"resized", toJson(diff.lsps.resized)},
            {"otherLevel", toJson(diff.lsps.otherLevel)},
            {"levels", toJson(diff.levels)},
            {"links", std::move(links)},
            {"before", toJson(diff.before)},
            {"after", toJson(diff.after)}};
}

}  // namespace workbench
