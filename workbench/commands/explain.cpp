#include "engine/explain.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

#include "cli/error.h"
#include "cli/lists.h"
#include "commands/commands.h"
#include "commands/explain_json.h"
#include "names.h"
#include "plan_json.h"

namespace workbench {

namespace {

struct Options {
    std::string plan;
    std::string src;
    std::string dst;
    double bandwidth = 0.0;
    std::string trafficClass;
    int level = -1;
    int avoid = 0;
};

constexpr std::size_t kMost = 12;  // lines of each kind

Request requestOf(const Options& options, const Plan& plan) {
    Request request;
    request.src = nodeNamed(plan.network, options.src);
    request.dst = nodeNamed(plan.network, options.dst);
    if (request.src == request.dst) throw UserError("--from and --to are one node");
    request.bandwidth = options.bandwidth;
    if (!options.trafficClass.empty())
        request.trafficClass =
            classNamed(plan.configuration.classes, options.trafficClass);
    request.level = options.level >= 0
                        ? options.level
                        : usualLevel(plan.configuration, request.trafficClass);
    // Colours of links are bit masks, the library compares them whole.
    for (const Link& link : plan.network.links)
        if ((link.colour & options.avoid) != 0 &&
            std::ranges::count(request.avoidColours, link.colour) == 0)
            request.avoidColours.push_back(link.colour);
    return request;
}

void printScores(const Explanation& explanation, const Plan& plan) {
    for (const ScoredLink& link : explanation.links) {
        std::string parts;
        for (std::size_t i = 0; i < link.parts.size(); i++)
            if (plan.configuration.weights.*kWeightNames[i].weight != 0.0)
                parts += fmt::format("{}{} {:.6g}", parts.empty() ? "" : ", ",
                                     kWeightNames[i].name, link.parts[i]);
        fmt::print("    {:<40} {:>12.6g}  {}\n", linkName(plan.network, link.link),
                   link.score, parts);
    }
}

void printPath(const Explanation& explanation, const Plan& plan) {
    const Path& path = explanation.path;
    fmt::print("Path: {}\n  score {:.6g}, by link:\n", pathName(plan.network, path.nodes),
               path.score);
    printScores(explanation, plan);
    fmt::print("  the best path without\n");
    for (const Detour& detour : explanation.detours)
        fmt::print("    {:<40} {}\n", linkName(plan.network, detour.withoutLink),
                   detour.path.found
                       ? fmt::format("{:.6g} ({:+.6g}): {}", detour.path.score,
                                     detour.path.score - path.score,
                                     pathName(plan.network, detour.path.nodes))
                       : "does not exist");
}

std::string missingText(const Refusal& refusal, const Plan& plan) {
    std::string what = refusal.colour ? "has a colour to avoid" : "";
    for (std::size_t oa = 0; oa < refusal.missing.size(); oa++)
        if (refusal.missing[oa] > 0.0)
            what += fmt::format("{}{} of class {} missing", what.empty() ? "" : ", ",
                                formatBandwidth(refusal.missing[oa], plan.network.unit),
                                plan.configuration.classes[oa].name);
    return what;
}

void printRefusals(const Explanation& explanation, const Plan& plan) {
    const auto& refusals = explanation.refusals;
    fmt::print("{} links refuse the request\n", refusals.size());
    for (std::size_t i = 0; i < std::min(kMost, refusals.size()); i++)
        fmt::print("    {:<40} {}\n", linkName(plan.network, refusals[i].link),
                   missingText(refusals[i], plan));
    printMore(refusals.size(), kMost);
}

void printCut(const Explanation& explanation, const Plan& plan) {
    const auto& cut = explanation.cut;
    if (cut.empty()) {
        fmt::print("No links lead from one end to the other\n");
        return;
    }
    if (explanation.path.found)
        fmt::print("The loss of {} links would cut the ends apart\n", cut.size());
    else
        fmt::print("{} links cut the ends apart; one at least needs room\n", cut.size());
    for (std::size_t i = 0; i < std::min(kMost, cut.size()); i++) {
        const auto refusal =
            std::ranges::find(explanation.refusals, cut[i], &Refusal::link);
        const std::string name = linkName(plan.network, cut[i]);
        if (refusal == explanation.refusals.end())
            fmt::print("    {}\n", name);
        else
            fmt::print("    {:<40} {}\n", name, missingText(*refusal, plan));
    }
    printMore(cut.size(), kMost);
}

void printDryRun(const Explanation& explanation, const Plan& plan) {
    const std::string& unit = plan.network.unit;
    if (!explanation.preempting.found) {
        fmt::print("With preemption there is no path either\n");
        return;
    }
    fmt::print("With preemption: {}\n",
               pathName(plan.network, explanation.preempting.nodes));
    if (explanation.giveWay.empty()) fmt::print("  nobody has to give way\n");
    for (const GiveWay& link : explanation.giveWay)
        fmt::print("    {:<40} {} missing, LSPs that give way: {}\n",
                   linkName(plan.network, link.link), formatBandwidth(link.missing, unit),
                   fmt::join(link.lsps, ", "));
    if (!explanation.preempted.empty())
        fmt::print("  with their backups {} LSPs would go\n",
                   explanation.preempted.size());
}

void print(const Request& request, const Explanation& explanation, const Plan& plan) {
    const std::string& unit = plan.network.unit;
    fmt::print("{} > {}, {} of class {} at level {}\n",
               plan.network.nodes[request.src].name, plan.network.nodes[request.dst].name,
               formatBandwidth(request.bandwidth, unit),
               plan.configuration.classes[request.trafficClass].name, request.level);
    if (explanation.path.found)
        printPath(explanation, plan);
    else
        fmt::print("No path\n");
    printRefusals(explanation, plan);
    printCut(explanation, plan);
    fmt::print("Largest bandwidth that passes: {}, with preemption {}\n",
               formatBandwidth(explanation.largest, unit),
               formatBandwidth(explanation.largestWithPreemption, unit));
    printDryRun(explanation, plan);
}

int explainRequest(const Options& options, const Shared& shared) {
    const Plan plan = readPlan(options.plan);
    const Request request = requestOf(options, plan);
    Engine engine(plan);
    engine.load(plan.lsps);
    const Explanation explanation = explain(&engine, request);
    if (shared.json)
        fmt::print("{}\n", toJson(explanation, request, plan).dump(1));
    else
        print(request, explanation, plan);
    return 0;
}

}  // namespace

void addExplain(CLI::App& app, Shared& shared) {
    CLI::App* cmd = app.add_subcommand(
        "explain", "Why a request gets its path, or none, and who would give way");
    auto options = std::make_shared<Options>();
    cmd->add_option("PLAN", options->plan, "Plan written by place")->required();
    cmd->add_option("--from", options->src, "Node where the LSP starts")->required();
    cmd->add_option("--to", options->dst, "Node where it ends")->required();
    cmd->add_option_function<std::string>(
           "--bandwidth",
           [options](const std::string& text) {
               options->bandwidth = bandwidthFrom(text, "--bandwidth");
           },
           "In the plan's unit unless it ends in k, M, G or T")
        ->required();
    cmd->add_option("--class", options->trafficClass, "Class [the plan's first]");
    cmd->add_option("--level", options->level, "Preemption level [the class's own]")
        ->check(CLI::Range(0, kPlanLevels - 1));
    cmd->add_option("--avoid", options->avoid,
                    "Avoid links whose colour has one of these bits [0]");
    addOutputOptions(*cmd, shared);
    cmd->footer(
        "Nothing is changed: the request is tried on a copy of the plan.\n"
        "\n"
        "Examples:\n"
        "  kavril explain plan.json --from Berlin --to Muenchen --bandwidth 400\n"
        "  kavril explain plan.json --from 3 --to 17 --bandwidth 2.5G --level 0 --json");
    onRun(*cmd, shared, [&shared, options] { return explainRequest(*options, shared); });
}

}  // namespace workbench
