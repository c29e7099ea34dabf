#include "commands/diff.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

#include "cli/lists.h"
#include "commands/class_table.h"
#include "commands/commands.h"
#include "commands/failures.h"
#include "plan_json.h"

namespace workbench {

namespace {

constexpr std::size_t kMost = 20;  // lines of each kind

void printWay(const char* what, const std::vector<std::string>& nodes, double stretch) {
    if (!nodes.empty())
        fmt::print("      {:<4} {} (stretch {:.2f})\n", what, fmt::join(nodes, " > "),
                   stretch);
}

void printChanges(const char* what, const std::vector<LspChange>& changes,
                  const std::string& unit) {
    fmt::print("  {:<20} {}\n", what, changes.size());
    for (std::size_t i = 0; i < std::min(kMost, changes.size()); i++) {
        const LspChange& one = changes[i];
        fmt::print("    LSP {}: {}, {} of class {}, level {}{}\n",
                   one.lspAfter >= 0 ? one.lspAfter : one.lspBefore, one.demand,
                   formatBandwidth(one.bandwidth, unit), one.trafficClass, one.level,
                   one.reason.empty() ? "" : "; " + one.reason);
        if (one.before == one.after) continue;
        printWay("from", one.before, one.stretchBefore);
        printWay("to", one.after, one.stretchAfter);
    }
    printMore(changes.size(), kMost);
}

// The largest change first.
void printLinks(std::vector<LinkChange> links) {
    fmt::print("  {:<20} {}\n", "links changed", links.size());
    if (links.empty()) return;
    std::ranges::stable_sort(links, {}, [](const LinkChange& link) {
        return -std::abs(link.after - link.before) /
               std::max({link.capacityBefore, link.capacityAfter, 1e-300});
    });
    fmt::print("    {:<40} {:>9} {:>9}   at worst {:>9} {:>9}\n", "", "before", "after",
               "before", "after");
    for (std::size_t i = 0; i < std::min(kMost, links.size()); i++)
        fmt::print("    {:<40} {:>9} {:>9}            {:>9} {:>9}\n", links[i].link,
                   percentText(links[i].before, links[i].capacityBefore),
                   percentText(links[i].after, links[i].capacityAfter),
                   percentText(links[i].worstBefore, links[i].capacityBefore),
                   percentText(links[i].worstAfter, links[i].capacityAfter));
    printMore(links.size(), kMost);
}

void printFigures(const char* when, const PlanFigures& figures, const std::string& unit) {
    fmt::print(
        "  {:<7} {} carried, {} protected; at worst {} lost{}; fullest {:.1f} %, "
        "{} overloads\n",
        when, formatBandwidth(figures.carried, unit),
        formatBandwidth(figures.isProtected, unit),
        formatBandwidth(figures.worstLost, unit),
        figures.worstFailure.empty() ? "" : " when " + figures.worstFailure + " fails",
        100.0 * figures.worstLoad, figures.overloads);
}

void printFate(const std::string& name, const std::string& level, const char* when,
               const Fate& fate) {
    fmt::print("    {:<12} {:>5}  {:<6} {:>9} {:>9} {:>9} {:>8}  {}\n", name, level, when,
               percentText(fate.bandwidthCarried, fate.bandwidthRequested),
               percentText(fate.bandwidthProtected, fate.bandwidthCarried),
               percentText(fate.worstLost, fate.bandwidthCarried),
               percentText(fate.reserved, fate.booked), stretchText(fate.stretch));
}

void printLevels(const std::vector<LevelChange>& levels) {
    fmt::print("  {:<14} level  {:<6} {:>9} {:>9} {:>9} {:>8}  stretch\n", "class", "",
               "carried", "protected", "at worst", "cost");
    for (const LevelChange& one : levels) {
        printFate(one.trafficClass, std::to_string(one.level), "before", one.before);
        printFate("", "", "after", one.after);
    }
}

int diffFiles(const std::string& first, const std::string& second, const Shared& shared) {
    const Plan before = readPlan(first);
    const PlanDiff diff = diffShown(before, readPlan(second), shared);
    if (shared.json)
        fmt::print("{}\n", toJson(diff).dump(1));
    else
        printDiff(diff, before.network.unit);
    return 0;
}

}  // namespace

PlanDiff diffShown(const Plan& before, const Plan& after, const Shared& shared) {
    Progress progress(shared, {{"failing"}});
    const AuditResult first = auditShown(before, &progress);
    const AuditResult second = auditShown(after, &progress);
    return diffPlans({before, first}, {after, second});
}

void printFigures(const PlanDiff& diff, const std::string& unit) {
    printFigures("before", diff.before, unit);
    printFigures("after", diff.after, unit);
    printLevels(diff.levels);
}

void printDiff(const PlanDiff& diff, const std::string& unit) {
    printFigures(diff, unit);
    printChanges("moved", diff.lsps.moved, unit);
    printChanges("up now", diff.lsps.gained, unit);
    printChanges("down now", diff.lsps.lost, unit);
    printChanges("no longer protected", diff.lsps.unprotected, unit);
    printChanges("protected now", diff.lsps.isProtected, unit);
    printChanges("resized", diff.lsps.resized, unit);
    printChanges("of another level", diff.lsps.otherLevel, unit);
    printLinks(diff.links);
}

void addDiff(CLI::App& app, Shared& shared) {
    CLI::App* cmd = app.add_subcommand("diff", "What is different between two plans");
    auto first = std::make_shared<std::string>();
    auto second = std::make_shared<std::string>();
    cmd->add_option("BEFORE", *first, "Plan")->required();
    cmd->add_option("AFTER", *second, "Plan")->required();
    addOutputOptions(*cmd, shared);
    cmd->footer(
        "Demands are the same if name, ends, class and level are, or all but the level\n"
        "where that leaves no doubt. Protected is what no failure of a cable or node\n"
        "takes down, but for that of its own ends; at worst is what one of them takes.\n"
        "Cost is what is reserved for backups against what the primaries book, stretch\n"
        "the length of a path by the links' metrics against the shortest.\n"
        "\n"
        "Example:\n"
        "  kavril diff plan.json better.json");
    onRun(*cmd, shared,
          [&shared, first, second] { return diffFiles(*first, *second, shared); });
}

}  // namespace workbench
