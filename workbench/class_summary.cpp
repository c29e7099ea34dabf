#include "class_summary.h"

#include <map>
#include <tuple>

namespace workbench {

namespace {

using Key = std::pair<int, int>;  // class and level
using Sums = std::map<Key, ClassSummary>;

void addDemands(const Plan& plan, Sums* all) {
    const bool wanted = plan.configuration.protection != Protection::NONE;
    for (const PlanDemand& demand : plan.demands) {
        ClassSummary& sums = (*all)[{demand.trafficClass, demand.level}];
        sums.requested++;
        sums.offered += demand.bandwidth;
        if (demand.lsp < 0) continue;
        sums.placed++;
        sums.carried += demand.bandwidth;
        if (!wanted || !demand.unprotected.empty()) continue;
        sums.isProtected++;
        sums.carriedProtected += demand.bandwidth;
    }
}

void addStretch(const Plan& plan, Sums* all) {
    const std::vector<double> stretch = stretches(plan);
    for (std::size_t i = 0; i < plan.lsps.size(); i++) {
        const PlanLsp& lsp = plan.lsps[i];
        const Key key = {lsp.trafficClass, plan.demands[lsp.demand].level};
        if (lsp.kind == LspKind::PRIMARY) (*all)[key].stretch.add(lsp.id, stretch[i]);
    }
}

// What the links of a class book for backups, at one level or (-1) at all.
double bookedForBackups(const std::vector<LinkTables>& booked, int trafficClass,
                        int level) {
    double sum = 0.0;
    for (const LinkTables& link : booked)
        for (int p = 0; p < kPlanLevels; p++)
            if (level < 0 || level == p)
                sum += link.reserved[trafficClass][p] - link.primary[trafficClass][p];
    return sum;
}

// Backups are booked at a level of their own. Where those of several levels share it, its
// cost is theirs in proportion to what they would take alone. What a failure frees of the
// primaries lowers the cost at their level, to which no backup belongs: that is
// everybody's in proportion.
void addBackups(const Plan& plan, const std::vector<LinkTables>& booked, Sums* all) {
    std::map<Key, std::map<int, double>>
        alone;  // by class and level booked, of each level
    for (const PlanLsp& lsp : plan.lsps) {
        if (lsp.kind == LspKind::PRIMARY) continue;
        const double taken = lsp.bandwidth * static_cast<double>(lsp.path.size() - 1);
        const int level = plan.demands[lsp.demand].level;
        (*all)[{lsp.trafficClass, level}].dedicated += taken;
        alone[{lsp.trafficClass, lsp.level}][level] += taken;
    }
    std::map<int, double> sums;  // by class
    for (const auto& [cell, byLevel] : alone) {
        const double reserved = bookedForBackups(booked, cell.first, cell.second);
        sums[cell.first] += reserved;
        double taken = 0.0;
        for (const auto& [level, part] : byLevel) taken += part;
        for (const auto& [level, part] : byLevel)
            if (taken > 0.0)
                (*all)[{cell.first, level}].backup += reserved * part / taken;
    }
    for (auto& [key, summary] : *all)
        if (const double sum = sums[key.first]; sum > 0.0)
            summary.backup *= bookedForBackups(booked, key.first, -1) / sum;
}

}  // namespace

std::vector<ClassSummary> classSummaries(const Plan& plan,
                                         const std::vector<LinkTables>& booked) {
    Sums all;
    addDemands(plan, &all);
    addStretch(plan, &all);
    addBackups(plan, booked, &all);
    std::vector<ClassSummary> list;
    for (auto& [key, sums] : all) {
        std::tie(sums.trafficClass, sums.level) = key;
        for (const LinkTables& link : booked)
            sums.primary += link.primary[key.first][key.second];
        list.push_back(sums);
    }
    return list;
}

}  // namespace workbench
