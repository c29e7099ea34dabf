#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <map>

#include "audit/failure_sets.h"
#include "class_summary.h"
#include "cli/error.h"
#include "cli/file.h"
#include "cli/lists.h"
#include "cli/progress.h"
#include "commands/class_table.h"
#include "commands/commands.h"
#include "commands/options.h"
#include "commands/promises.h"
#include "engine/baseline.h"
#include "engine/place.h"
#include "graph/shortest.h"
#include "plan_json.h"

namespace workbench {

namespace {

using nlohmann::json;

struct Options {
    std::string network;
    std::string demands;
    std::string plan;
    std::string sets;
    Routing routing = Routing::ADMITTED;
};

// Nearest rank, in milliseconds.
double percentile(std::vector<double> seconds, double part) {
    if (seconds.empty()) return 0.0;
    std::sort(seconds.begin(), seconds.end());
    const auto rank =
        static_cast<std::size_t>(std::ceil(part * static_cast<double>(seconds.size())));
    return 1000.0 * seconds[std::max<std::size_t>(rank, 1) - 1];
}

using Counts = std::map<std::string, int>;

Counts reasonsOf(const Plan& plan, std::string PlanDemand::*reason) {
    Counts counts;
    for (const PlanDemand& demand : plan.demands)
        if (!(demand.*reason).empty()) counts[demand.*reason]++;
    return counts;
}

// LSPs whose backups do not keep to a limit that they keep to themselves.
Counts beyondLimits(const Plan& plan) {
    Counts counts;
    for (const PlanDemand& demand : plan.demands)
        for (const std::string& what : demand.beyond) counts[what]++;
    return counts;
}

json timesJson(const std::vector<double>& seconds) {
    return {{"count", seconds.size()},
            {"medianMs", percentile(seconds, 0.5)},
            {"percentile99Ms", percentile(seconds, 0.99)}};
}

Stretch stretchOf(const Plan& plan) {
    Stretch stretch;
    for (const ClassSummary& sums : classSummaries(plan, plan.links))
        stretch.add(sums.stretch);
    return stretch;
}

json baselineJson(const Plan& plan) {
    const Baseline baseline = baselineOf(plan);
    return {{"carried", baseline.carried},
            {"maximum", baseline.shares.maximum},
            {"mean", baseline.shares.mean},
            {"overloadedLinks", baseline.overloaded},
            {"fullest", baseline.fullest < 0 ? json() : json(baseline.fullest)}};
}

json stretchJson(const Plan& plan) {
    const Stretch stretch = stretchOf(plan);
    return {{"mean", stretch.mean()},
            {"maximum", stretch.maximum},
            {"lsp", stretch.longest < 0 ? json() : json(stretch.longest)}};
}

void printJson(const Plan& plan, const PlaceTimes& times, const Findings& findings,
               const Shared& shared) {
    json out = {{"unit", plan.network.unit},
                {"summary", toJson(plan.summary)},
                {"classes", classesJson(plan)},
                {"shortestPaths", baselineJson(plan)},
                {"stretch", stretchJson(plan)},
                {"configuration", toJson(plan.configuration)},
                {"refusedBecause", reasonsOf(plan, &PlanDemand::reason)},
                {"unprotectedBecause", reasonsOf(plan, &PlanDemand::unprotected)},
                {"backupsBeyond", beyondLimits(plan)},
                {"times",
                 {{"request", timesJson(times.requests)},
                  {"protection", timesJson(times.protections)}}},
                {"findings", findingsJson(findings, shared)}};
    fmt::print("{}\n", out.dump(2));
}

// The most frequent first.
void printReasons(const char* what, const Counts& counts) {
    std::vector<std::pair<std::string, int>> sorted(counts.begin(), counts.end());
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const auto& a, const auto& b) { return a.second > b.second; });
    constexpr std::size_t kMost = 8;
    for (std::size_t i = 0; i < std::min(kMost, sorted.size()); i++)
        fmt::print("    {:6} {}: {}\n", sorted[i].second, what, sorted[i].first);
    printMore(sorted.size(), kMost, 11);
}

std::string kindsText(const std::vector<FailureKind>& kinds) {
    std::string text;
    for (const FailureKind kind : kinds) text += std::string(", ") + toText(kind);
    return text;
}

void printTimes(const char* what, const std::vector<double>& seconds) {
    if (!seconds.empty())
        fmt::print("  {:<14} {} in all; median {:.3g} ms, 99th percentile {:.3g} ms\n",
                   what, seconds.size(), percentile(seconds, 0.5),
                   percentile(seconds, 0.99));
}

void printShares(const char* what, const Shares& shares) {
    fmt::print("  {:<14} mean {:.1f} %, 95th percentile {:.1f} %, maximum {:.1f} %\n",
               what, 100.0 * shares.mean, 100.0 * shares.percentile95,
               100.0 * shares.maximum);
}

void printBaseline(const Plan& plan) {
    const Stretch stretch = stretchOf(plan);
    if (stretch.longest >= 0)
        fmt::print("  {:<14} mean {:.3f}, maximum {:.3f} (LSP {}) of the shortest path\n",
                   "stretch", stretch.mean(), stretch.maximum, stretch.longest);
    const Baseline baseline = baselineOf(plan);
    if (baseline.fullest >= 0)
        fmt::print(
            "  {:<14} all demands on them: {} at {:.1f} %, {} links above their "
            "capacity\n",
            "shortest paths", linkName(plan.network, baseline.fullest),
            100.0 * baseline.shares.maximum, baseline.overloaded);
}

void printSummary(const Plan& plan, const PlaceTimes& times) {
    const Summary& s = plan.summary;
    const std::string& unit = plan.network.unit;
    if (plan.configuration.routing == Routing::SHORTEST_PATH)
        fmt::print("{}: {} requests on their shortest paths, whatever room there is\n",
                   plan.network.name, s.requested);
    else
        fmt::print("{}: {} requests, protection {}\n", plan.network.name, s.requested,
                   toText(plan.configuration.protection));
    fmt::print("  {:<14} {} at once, {} again after preemption\n", "placed", s.placed,
               s.replaced);
    fmt::print("  {:<14} {}; preempted and not placed again: {}\n", "refused", s.refused,
               s.preempted);
    printReasons("refused", reasonsOf(plan, &PlanDemand::reason));
    fmt::print("  {:<14} {} offered, {} carried ({:.1f} %)\n", "bandwidth",
               formatBandwidth(s.offered, unit), formatBandwidth(s.carried, unit),
               s.offered > 0.0 ? 100.0 * s.carried / s.offered : 100.0);
    printShares("primaries", s.primary);
    printShares("reserved", s.reserved);
    if (plan.configuration.protection != Protection::NONE) {
        fmt::print("  {:<14} {}; LSPs without protection: {}\n", "backups", s.backups,
                   s.unprotected);
        printReasons("unprotected", reasonsOf(plan, &PlanDemand::unprotected));
        fmt::print(
            "  {:<14} {} LSPs do not survive all of: link{}\n", "exposed",
            std::ranges::count_if(
                plan.demands, [](const PlanDemand& one) { return !one.exposed.empty(); }),
            kindsText(plan.configuration.survive));
        printReasons("of the LSPs have backups beyond their", beyondLimits(plan));
        fmt::print(
            "  {:<14} {} reserved for backups, {} without sharing ({:.1f} %)\n",
            "sharing", formatBandwidth(s.backupShared, unit),
            formatBandwidth(s.backupDedicated, unit),
            s.backupDedicated > 0.0 ? 100.0 * s.backupShared / s.backupDedicated : 100.0);
    }
    printClasses(plan);
    printBaseline(plan);
    printTimes("requests", times.requests);
    printTimes("protecting", times.protections);
}

void run(Routing routing, const Shared& shared, Plan* plan, PlaceTimes* times) {
    const std::size_t requests = plan->demands.size();
    const bool isProtected = plan->configuration.protection != Protection::NONE;
    if (isProtected && routing != Routing::ADMITTED)
        throw UserError("--baseline has no backups: leave --protection out");
    Progress progress(
        shared, {{"placing", requests}, {"protecting", isProtected ? requests : 0}});
    const Step step = [&progress] { progress.advance(); };
    if (routing == Routing::SHORTEST_PATH)
        runBaseline(plan, step);
    else
        runPlan(plan, step, times);
}

int place(const Options& options, const Shared& shared) {
    const auto [network, demands, findings] =
        readMatrix(options.network, options.demands, shared);
    Plan plan = newPlan(network, demands.demands,
                        withClassesOf(demands.demands, shared.configuration));
    if (!options.sets.empty()) plan.failureSets = readFailureSets(options.sets, plan);
    PlaceTimes times;
    run(options.routing, shared, &plan, &times);
    checkPromises(&plan, shared);
    if (!options.plan.empty()) writeFile(options.plan, planText(plan));
    if (options.plan == "-") return 0;
    if (shared.json)
        printJson(plan, times, findings, shared);
    else
        printSummary(plan, times);
    return 0;
}

}  // namespace

void addPlace(CLI::App& app, Shared& shared) {
    CLI::App* cmd = app.add_subcommand(
        "place", "Place a traffic matrix request by request, and protect it");
    auto options = std::make_shared<Options>();
    addMatrixArguments(*cmd, &options->network, &options->demands);
    addOutputFile(*cmd, &options->plan,
                  "Write the plan: network, LSPs and the bandwidth tables of every link");
    addReadingOptions(*cmd, shared);
    addPlacementOptions(*cmd, shared);
    addProtectionOption(*cmd, shared);
    addSurviveOption(*cmd, &shared.configuration);
    addChoice<Routing>(
        *cmd, "--baseline", &options->routing,
        {{toText(Routing::SHORTEST_PATH), Routing::SHORTEST_PATH}},
        "A plan to compare with instead: shortest-path puts every demand on "
        "its shortest path by the links' metrics, whatever room there is")
        ->type_name("KIND")
        ->group("Placement");
    cmd->add_option("--sets", options->sets,
                    "File of risk groups and other failures to survive")
        ->type_name("FILE")
        ->group("Placement");
    addOutputOptions(*cmd, shared);
    cmd->footer(
        "Requests are made one by one, as they would come in. LSPs that are preempted\n"
        "are requested again at once. When all requests are done the LSPs are\n"
        "protected, the most important first, without preemption; an LSP of which one\n"
        "link cannot be protected, or whose backups would overload a link in a failure\n"
        "to survive, stays without backups. Where no backup avoids all that fails at\n"
        "once, the plan notes what the LSP is exposed to. A demand may have its own\n"
        "class, level and limits (see docs/formats.md); a request whose path breaks a\n"
        "limit is refused. Backups keep to the limits and colours too where they can;\n"
        "the plan notes where they do not. In the end all that the plan claims to\n"
        "survive is failed on paper, and what does not hold is taken back.\n"
        "\n"
        "Examples:\n"
        "  kavril place germany50.xml -o plan.json\n"
        "  kavril place rf1239.graph rf1239.demands --max-demands 1000 \\\n"
        "      --protection local -o plan.json\n"
        "  kavril place abilene.xml --class voice:0:0.2,data:3:0.8 --order largest\n"
        "  kavril place germany50.xml --baseline shortest-path -o igp.json");
    onRun(*cmd, shared, [&shared, options] { return place(*options, shared); });
}

}  // namespace workbench
