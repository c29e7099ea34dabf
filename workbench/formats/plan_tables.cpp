#include "formats/plan_tables.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <numeric>

#include "class_summary.h"
#include "formats/units.h"
#include "formats/writers.h"
#include "graph/shortest.h"

namespace workbench {

namespace {

// In percent, to a thousandth.
std::string percentOf(double part, double whole) {
    return whole > 0.0 ? fmt::format("{:.3f}", 100.0 * part / whole) : "";
}

// Empty if a link of the path states no delay.
std::string delayText(const PlanLsp& lsp, const Network& network) {
    double delay = 0.0;
    for (std::size_t i = 0; i + 1 < lsp.path.size(); i++) {
        const int link = findLink(network, lsp.path[i], lsp.path[i + 1]);
        if (link < 0 || !network.links[link].delay) return "";
        delay += *network.links[link].delay;
    }
    return fmt::format("{:.9g}", delay);
}

std::string protectionText(const PlanLsp& lsp, const Plan& plan) {
    if (lsp.kind != LspKind::PRIMARY) return "";
    if (plan.configuration.protection == Protection::NONE) return "none asked for";
    const std::string& reason = plan.demands[lsp.demand].unprotected;
    return reason.empty() ? "protected" : reason;
}

std::string joined(const std::vector<std::string>& texts) {
    return fmt::format("{}", fmt::join(texts, ", "));
}

std::string limitText(double limit) {
    return limit > 0.0 ? numberText(limit) : "";
}

}  // namespace

std::vector<LinkUse> linkUses(const Plan& plan) {
    std::vector<LinkUse> uses;
    const auto add = [](const std::vector<LevelTable>& classes, double* sum) {
        for (const LevelTable& levels : classes)
            *sum = std::accumulate(levels.begin(), levels.end(), *sum);
    };
    for (const LinkTables& tables : plan.links) {
        LinkUse& use = uses.emplace_back();
        add(tables.primary, &use.primary);
        add(tables.reserved, &use.reserved);
    }
    return uses;
}

Table planLinks(const Plan& plan) {
    const std::string& unit = plan.network.unit;
    Table table = linkTable(plan.network);
    const std::vector<LinkUse> uses = linkUses(plan);
    for (const std::string& column :
         {withUnit("primaries", unit), withUnit("reserved", unit),
          std::string("primaries %"), std::string("reserved %")})
        table.columns.push_back(column);
    for (std::size_t i = 0; i < uses.size(); i++) {
        const double capacity = plan.network.links[i].capacity;
        for (const std::string& cell :
             {numberText(uses[i].primary), numberText(uses[i].reserved),
              percentOf(uses[i].primary, capacity),
              percentOf(uses[i].reserved, capacity)})
            table.rows[i].push_back(cell);
    }
    return table;
}

Table planLsps(const Plan& plan) {
    const Network& network = plan.network;
    Table table{{"id", "kind", "primary", "src", "dst", "class", "level",
                 withUnit("bandwidth", network.unit), "links", "delay", "stretch",
                 "protection", "path"},
                {}};
    const std::vector<double> stretch = stretches(plan);
    for (std::size_t i = 0; i < plan.lsps.size(); i++) {
        const PlanLsp& lsp = plan.lsps[i];
        table.rows.push_back(
            {std::to_string(lsp.id), toText(lsp.kind),
             lsp.primary < 0 ? "" : std::to_string(lsp.primary),
             network.nodes[lsp.path.front()].name, network.nodes[lsp.path.back()].name,
             plan.configuration.classes[lsp.trafficClass].name, std::to_string(lsp.level),
             numberText(lsp.bandwidth), std::to_string(lsp.path.size() - 1),
             delayText(lsp, network), fmt::format("{:.4f}", stretch[i]),
             protectionText(lsp, plan), pathName(network, lsp.path)});
    }
    return table;
}

Table planDemands(const Plan& plan) {
    const Network& network = plan.network;
    Table table{{"src", "dst", withUnit("bandwidth", network.unit), "class", "level",
                 "avoid", "max delay", "max hops", "name", "outcome", "lsp", "reason",
                 "unprotected", "exposed", "backups beyond"},
                {}};
    for (const PlanDemand& demand : plan.demands)
        table.rows.push_back(
            {network.nodes[demand.src].name, network.nodes[demand.dst].name,
             numberText(demand.bandwidth),
             plan.configuration.classes[demand.trafficClass].name,
             std::to_string(demand.level), limitText(demand.avoid),
             limitText(demand.maxDelay), limitText(demand.maxHops), demand.name,
             toText(demand.outcome), demand.lsp < 0 ? "" : std::to_string(demand.lsp),
             demand.reason, demand.unprotected, joined(demand.exposed),
             joined(demand.beyond)});
    return table;
}

Table planClasses(const Plan& plan) {
    const std::string& unit = plan.network.unit;
    Table table{{"class", "level", "requests", "placed", "protected",
                 withUnit("offered", unit), withUnit("carried", unit),
                 withUnit("protected", unit), withUnit("primaries", unit),
                 withUnit("backups", unit), withUnit("backups unshared", unit),
                 "cost of protection %", "mean stretch", "maximum stretch"},
                {}};
    for (const ClassSummary& sums : classSummaries(plan, plan.links))
        table.rows.push_back({plan.configuration.classes[sums.trafficClass].name,
                              std::to_string(sums.level), std::to_string(sums.requested),
                              std::to_string(sums.placed),
                              std::to_string(sums.isProtected), numberText(sums.offered),
                              numberText(sums.carried), numberText(sums.carriedProtected),
                              numberText(sums.primary), numberText(sums.backup),
                              numberText(sums.dedicated),
                              percentOf(sums.backup, sums.primary),
                              fmt::format("{:.4f}", sums.stretch.mean()),
                              fmt::format("{:.4f}", sums.stretch.maximum)});
    return table;
}

}  // namespace workbench
