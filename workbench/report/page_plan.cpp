#include "report/page_plan.h"

#include <algorithm>
#include <map>

#include "plan_json.h"

namespace workbench {

using nlohmann::json;

namespace {

// Numbers that grow, or nearly so, are packed best by what lies between them.
void appendStep(int value, int* last, json* steps) {
    steps->push_back(value - *last);
    *last = value;
}

// Of a demand, what the page shows of its LSP, too.
json membersShown(const json& one) {
    json members = {{"name", one.value("demand", "")},
                    {"src", one.at("path").front()},
                    {"dst", one.at("path").back()},
                    {"trafficClass", one.at("class")},
                    {"level", one.at("level")},
                    {"bandwidth", one.at("bw")},
                    {"lsp", one.at("id")},
                    {"unprotected", one.value("note", "")}};
    for (const char* name : {"exposed", "beyond"})
        if (one.contains(name)) members[name] = one[name];
    return members;
}

class Lsps {
  public:
    explicit Lsps(const Network& network) {
        for (const Link& link : network.links) linkOf_[{link.src, link.dst}] = link.id;
    }

    static PlanLsp primaryFrom(const json& one, int demand) {
        PlanLsp lsp;
        lsp.id = one.at("id");
        lsp.demand = demand;
        lsp.path = one.at("path").get<std::vector<int>>();
        lsp.trafficClass = one.at("class");
        lsp.level = one.at("level");
        lsp.bandwidth = one.at("bw");
        return lsp;
    }

    // It guards all of its primary unless the page says otherwise.
    PlanLsp backupFrom(const json& one, const PlanLsp& primary, int id, int level,
                       bool isGlobal) const {
        PlanLsp lsp = primary;
        lsp.id = id;
        lsp.level = level;
        lsp.kind = isGlobal ? LspKind::GLOBAL_BACKUP : LspKind::LOCAL_BACKUP;
        lsp.primary = primary.id;
        lsp.path = one.at("path").get<std::vector<int>>();
        lsp.protectedLinks = one.contains("guardedLinks")
                                 ? one["guardedLinks"].get<std::vector<int>>()
                                 : linksOf(primary.path);
        lsp.protectedNodes = one.contains("guardedNodes")
                                 ? one["guardedNodes"].get<std::vector<int>>()
                                 : innerNodes(primary.path);
        return lsp;
    }

  private:
    // -1 where there is no link: such a plan has no rest.
    std::vector<int> linksOf(const std::vector<int>& path) const {
        std::vector<int> links;
        for (std::size_t hop = 0; hop + 1 < path.size(); hop++) {
            const auto at = linkOf_.find({path[hop], path[hop + 1]});
            links.push_back(at == linkOf_.end() ? -1 : at->second);
        }
        return links;
    }

    static std::vector<int> innerNodes(const std::vector<int>& path) {
        if (path.size() < 3) return {};
        return {path.begin() + 1, path.end() - 1};
    }

    std::map<std::pair<int, int>, int> linkOf_;  // by its ends
};

FailureSet afterChange(const FailureSet& set, const Network& was, const Network& is) {
    FailureSet after = set;
    after.links.clear();
    for (const int link : set.links) {
        const int now = findLink(is, was.links.at(link).src, was.links.at(link).dst);
        if (now >= 0) after.links.push_back(now);
    }
    return after;
}

}  // namespace

PagePlan pagePlanFrom(const json& data, const json& rest) {
    const json& shown = data.at("lsps");
    std::vector<int> demandOf;
    int demand = 0;
    for (const json& step : rest.at("demands"))
        demandOf.push_back(demand += step.get<int>());
    json head = rest.at("plan");
    for (std::size_t i = 0; i < shown.size(); i++) {
        json& its = head.at("demands").at(static_cast<std::size_t>(demandOf.at(i)));
        const json members = membersShown(shown[i]);
        for (const auto& [name, value] : members.items())
            if (!its.contains(name)) its[name] = value;
    }

    PagePlan page;
    page.plan = planFromHead(head);
    page.wanted = {rest.at("kinds"), rest.at("mtbf"), rest.at("mttr")};
    page.sets = rest.at("sets").get<std::vector<FailureSet>>();
    const Lsps lsps(page.plan.network);
    std::size_t nbBackups = 0;
    int backup = 0;
    for (std::size_t i = 0; i < shown.size(); i++) {
        const PlanLsp primary = Lsps::primaryFrom(shown[i], demandOf[i]);
        page.plan.lsps.push_back(primary);
        for (const json& of : shown[i].at("backups")) {
            backup += rest.at("backups").at(nbBackups).get<int>();
            const int level = rest.at("levels").at(nbBackups);
            const bool isGlobal = rest.at("global").at(nbBackups) == 1;
            page.plan.lsps.push_back(
                lsps.backupFrom(of, primary, backup, level, isGlobal));
            nbBackups++;
        }
    }
    std::ranges::sort(page.plan.lsps, {}, &PlanLsp::id);
    return page;
}

json restOf(const PagePlan& page, const json& data) {
    std::map<int, std::vector<const PlanLsp*>> backupsOf;
    for (const PlanLsp& lsp : page.plan.lsps)
        if (lsp.kind != LspKind::PRIMARY) backupsOf[lsp.primary].push_back(&lsp);
    json head = headOf(page.plan);
    json demands = json::array();
    json backups = json::array();
    json levels = json::array();
    json global = json::array();
    int demand = 0;
    int backup = 0;
    for (const PlanLsp& lsp : page.plan.lsps) {
        if (lsp.kind != LspKind::PRIMARY) continue;
        json& its = head["demands"][static_cast<std::size_t>(lsp.demand)];
        const json members = membersShown(data["lsps"][demands.size()]);
        for (const auto& [name, value] : members.items())
            if (its.contains(name) && its[name] == value) its.erase(name);
        appendStep(lsp.demand, &demand, &demands);
        for (const PlanLsp* one : backupsOf[lsp.id]) {
            appendStep(one->id, &backup, &backups);
            levels.push_back(one->level);
            global.push_back(one->kind == LspKind::GLOBAL_BACKUP ? 1 : 0);
        }
    }
    const json rest = {{"plan", std::move(head)},  {"demands", demands},
                       {"backups", backups},       {"levels", levels},
                       {"global", global},         {"kinds", page.wanted.kinds},
                       {"mtbf", page.wanted.mtbf}, {"mttr", page.wanted.mttr},
                       {"sets", page.sets}};
    // As it is read: from a text, whose numbers have other types.
    const PagePlan back = pagePlanFrom(data, json::parse(rest.dump()));
    const bool isSame =
        back.plan.lsps == page.plan.lsps && back.plan.demands == page.plan.demands;
    return isSame ? rest : json();
}

std::vector<FailureSet> failuresAfter(const PagePlan& page, const Plan& changed) {
    Plan plan = changed;
    for (const FailureSet& set : page.sets)
        plan.failureSets.push_back(afterChange(set, page.plan.network, changed.network));
    return failuresFor(page.wanted, plan);
}

}  // namespace workbench
