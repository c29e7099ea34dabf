#include "commands/class_table.h"

#include <fmt/format.h>

#include "class_summary.h"

namespace workbench {

std::string percentText(double part, double whole) {
    return whole > 0.0 ? fmt::format("{:.1f} %", 100.0 * part / whole) : "-";
}

std::string stretchText(const Stretch& stretch) {
    if (stretch.lsps == 0) return "-";
    return fmt::format("{:.2f}, up to {:.2f}", stretch.mean(), stretch.maximum);
}

// What backups cost is the bandwidth kept for them against that of the primaries.
void printClasses(const Plan& plan) {
    const bool isProtected = plan.configuration.protection != Protection::NONE;
    fmt::print("  {:<14} level  requests  placed     offered     carried{}  stretch\n",
               "class", isProtected ? "  protected     cost" : "");
    for (const ClassSummary& sums : classSummaries(plan, plan.links)) {
        fmt::print("    {:<12} {:5} {:9} {:7} {:>11} {:>11}",
                   plan.configuration.classes[sums.trafficClass].name, sums.level,
                   sums.requested, sums.placed,
                   formatBandwidth(sums.offered, plan.network.unit),
                   percentText(sums.carried, sums.offered));
        if (isProtected)
            fmt::print("  {:>9} {:>8}", percentText(sums.carriedProtected, sums.carried),
                       percentText(sums.backup, sums.primary));
        fmt::print("  {}\n", stretchText(sums.stretch));
    }
}

nlohmann::json classesJson(const Plan& plan) {
    nlohmann::json all = nlohmann::json::array();
    for (const ClassSummary& sums : classSummaries(plan, plan.links))
        all.push_back({{"class", plan.configuration.classes[sums.trafficClass].name},
                       {"level", sums.level},
                       {"requested", sums.requested},
                       {"placed", sums.placed},
                       {"protected", sums.isProtected},
                       {"offered", sums.offered},
                       {"carried", sums.carried},
                       {"carriedProtected", sums.carriedProtected},
                       {"primary", sums.primary},
                       {"backup", sums.backup},
                       {"backupDedicated", sums.dedicated},
                       {"stretchMean", sums.stretch.mean()},
                       {"stretchMaximum", sums.stretch.maximum}});
    return all;
}

}  // namespace workbench
