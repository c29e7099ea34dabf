#include "commands/diff.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

#include "commands/commands.h"
#include "plan_json.h"

namespace workbench {

namespace {

constexpr std::size_t kMost = 20;  // lines of each kind

void printMore(std::size_t all) {
    if (all > kMost) fmt::print("    and {} more\n", all - kMost);
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
        if (!one.before.empty())
            fmt::print("      from {}\n", fmt::join(one.before, " > "));
        if (!one.after.empty())
            fmt::print("      to   {}\n", fmt::join(one.after, " > "));
    }
    printMore(changes.size());
}

std::string share(double load, double capacity) {
    return capacity > 0.0 ? fmt::format("{:.1f} %", 100.0 * load / capacity) : "-";
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
                   share(links[i].before, links[i].capacityBefore),
                   share(links[i].after, links[i].capacityAfter),
                   share(links[i].worstBefore, links[i].capacityBefore),
                   share(links[i].worstAfter, links[i].capacityAfter));
    printMore(links.size());
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

int diffFiles(const std::string& first, const std::string& second, const Shared& shared) {
    const Plan before = readPlan(first);
    const PlanDiff diff = diffPlans(before, readPlan(second));
    if (shared.json)
        fmt::print("{}\n", toJson(diff).dump(1));
    else
        printDiff(diff, before.network.unit);
    return 0;
}

}  // namespace

void printDiff(const PlanDiff& diff, const std::string& unit) {
    printFigures("before", diff.before, unit);
    printFigures("after", diff.after, unit);
    printChanges("moved", diff.moved, unit);
    printChanges("up now", diff.gained, unit);
    printChanges("down now", diff.lost, unit);
    printChanges("no longer protected", diff.unprotected, unit);
    printChanges("protected now", diff.isProtected, unit);
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
        "Demands are the same if name, ends, class and level are. Protected is what no\n"
        "failure of a cable or node takes down, but for that of its own ends.\n"
        "\n"
        "Example:\n"
        "  kavril diff plan.json better.json");
    onRun(*cmd, shared,
          [&shared, first, second] { return diffFiles(*first, *second, shared); });
}

}  // namespace workbench
