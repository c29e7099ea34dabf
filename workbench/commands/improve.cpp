#include "engine/improve.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>

#include "cli/file.h"
#include "cli/lists.h"
#include "cli/progress.h"
#include "commands/commands.h"
#include "commands/diff.h"
#include "commands/options.h"
#include "commands/promises.h"
#include "graph/shortest.h"
#include "plan_json.h"

namespace workbench {

namespace {

using nlohmann::json;

struct Options {
    std::string plan;
    std::string output;
    int rounds = 0;
    int jobs = 1;
};

json toJson(const Move& move, ShortestPaths* shortest) {
    return {{"round", move.round},
            {"demand", move.demand},
            {"lsp", move.lsp},
            {"before", move.before},
            {"after", move.after},
            {"stretchBefore", shortest->stretch(move.before)},
            {"stretchAfter", shortest->stretch(move.after)},
            {"gain", move.gain}};
}

json toJson(const Improvement& result, const PlanDiff& diff, const Plan& plan) {
    ShortestPaths shortest(plan.network);
    json moves = json::array();
    for (const Move& move : result.moves) moves.push_back(toJson(move, &shortest));
    return {{"scoreBefore", result.scoreBefore},
            {"scoreAfter", result.scoreAfter},
            {"rounds", result.rounds},
            {"finished", result.finished},
            {"keptForProtection", result.keptForProtection},
            {"levels", toJson(diff.levels)},
            {"moves", std::move(moves)}};
}

void printMoves(const Improvement& result, const Plan& plan) {
    constexpr std::size_t kMost = 20;
    ShortestPaths shortest(plan.network);
    const auto way = [&](const std::vector<int>& path) {
        return fmt::format("{} (stretch {:.2f})", pathName(plan.network, path),
                           shortest.stretch(path));
    };
    for (std::size_t i = 0; i < std::min(kMost, result.moves.size()); i++) {
        const Move& move = result.moves[i];
        fmt::print("  LSP {}, score less {:.5g}\n    from {}\n    to   {}\n", move.lsp,
                   move.gain, way(move.before), way(move.after));
    }
    printMore(result.moves.size(), kMost, 2);
}

void printResult(const Improvement& result, const Summary& before, const Plan& after,
                 const PlanDiff& diff) {
    printMoves(result, after);
    const double gain = result.scoreBefore - result.scoreAfter;
    fmt::print("{}: {} LSPs moved in {} rounds{}\n", after.network.name,
               result.moves.size(), result.rounds,
               result.finished ? ", the last of which changed nothing" : "");
    fmt::print("  {:<14} {:.8g}, was {:.8g} ({:.2f} % less)\n", "total score",
               result.scoreAfter, result.scoreBefore,
               result.scoreBefore > 0.0 ? 100.0 * gain / result.scoreBefore : 0.0);
    fmt::print("  {:<14} maximum {:.1f} %, was {:.1f} %; mean {:.1f} %, was {:.1f} %\n",
               "primaries", 100.0 * after.summary.primary.maximum,
               100.0 * before.primary.maximum, 100.0 * after.summary.primary.mean,
               100.0 * before.primary.mean);
    if (result.keptForProtection > 0)
        fmt::print("  {:<14} {} times: protection would have been lost\n", "not moved",
                   result.keptForProtection);
    printFigures(diff, after.network.unit);
}

int improvePlan(const Options& options, const Shared& shared) {
    const Plan before = readWorkingPlan(options.plan);
    Plan plan = before;
    Improvement result;
    {
        const std::size_t demands = plan.demands.size();
        std::size_t steps = 0;
        Progress progress(shared, {{"improving, round 1", demands}});
        result = improve(&plan, options.rounds, options.jobs, [&] {
            progress.advance();
            if (++steps % demands == 0 &&
                steps / demands != static_cast<std::size_t>(options.rounds))
                progress.start(
                    {{fmt::format("improving, round {}", steps / demands + 1), demands}});
        });
    }
    checkPromises(&plan, shared);
    if (!options.output.empty()) writeFile(options.output, planText(plan));
    if (options.output == "-") return 0;
    const PlanDiff diff = diffShown(before, plan, shared);
    if (shared.json)
        fmt::print("{}\n", toJson(result, diff, plan).dump(1));
    else
        printResult(result, before.summary, plan, diff);
    return 0;
}

}  // namespace

void addImprove(CLI::App& app, Shared& shared) {
    CLI::App* cmd =
        app.add_subcommand("improve", "Move the LSPs of a plan to better paths");
    auto options = std::make_shared<Options>();
    cmd->add_option("PLAN", options->plan, "Plan written by place")->required();
    addOutputFile(*cmd, &options->output, "Write the better plan");
    cmd->add_option("--rounds", options->rounds,
                    "Rounds over all LSPs at most, 0 until one changes nothing [0]")
        ->check(CLI::Range(0, std::numeric_limits<int>::max()));
    addJobsOption(*cmd, &options->jobs);
    addOutputOptions(*cmd, shared);
    cmd->footer(
        "LSPs are requested again one by one, with the weights of the plan. One that\n"
        "finds a better path moves there, with its id and new backups, if the total\n"
        "score falls: the sum over all links of what the criteria of the path score\n"
        "measure. Protection is never given up for it, and LSPs with a route of their\n"
        "own stay.\n"
        "\n"
        "Examples:\n"
        "  kavril improve plan.json -o better.json\n"
        "  kavril improve plan.json --rounds 1 --json");
    onRun(*cmd, shared, [&shared, options] { return improvePlan(*options, shared); });
}

}  // namespace workbench
