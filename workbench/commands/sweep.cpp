// kavril sweep: the same question for thousands of cases.
#include <fmt/format.h>

#include <filesystem>

#include "cli/error.h"
#include "cli/file.h"
#include "cli/lists.h"
#include "cli/progress.h"
#include "commands/commands.h"
#include "commands/options.h"
#include "engine/replan.h"
#include "plan_json.h"
#include "sweep/compute.h"
#include "sweep/database.h"
#include "sweep/hash.h"
#include "sweep/results.h"
#include "sweep/rows_json.h"
#include "sweep/sweep.h"

namespace workbench {

namespace {

using nlohmann::json;

struct Options {
    std::string study;   // or results
    std::string output;  // results, or the plan of a case
    std::string caseId;
    std::string costs;
    bool dryRun = false;
    bool retry = false;
    int jobs = 1;
    bool hasJobs = false;           // else a process among others has one
    json changes = json::object();  // of the study
    std::vector<std::string> failures;
    std::size_t random = 0;
    std::uint64_t seed = 1;
    std::string sets;
};

// As the study would say it: "none", {"of": ..}, {"of": .., "pairs": true}.
json failuresFrom(const Options& options) {
    std::vector<std::string> kinds = options.failures;
    const bool none = std::erase(kinds, "none") > 0;
    const bool pairs = std::erase(kinds, "pairs") > 0;
    if (kinds.empty() && (pairs || !none)) kinds = {"cables", "nodes"};
    json all = json::array();
    if (none) all.push_back("none");
    const auto add = [&](bool asPairs) {
        json choice = {{"of", kinds}, {"seed", options.seed}};
        if (asPairs) choice["pairs"] = true;
        if (options.random > 0) choice["random"] = options.random;
        all.push_back(choice);
    };
    if (pairs)
        add(true);
    else if (!kinds.empty())
        add(false);
    return all;
}

// What the options say replaces what the study's file says.
json changesFrom(const Options& options) {
    json changes = options.changes;
    if (!options.failures.empty() || options.random > 0)
        changes["failures"] = failuresFrom(options);
    if (!options.sets.empty()) {
        if (!changes.contains("networks"))
            throw UserError("--sets goes with --network; a study names sets itself");
        for (json& network : changes["networks"]) network["sets"] = options.sets;
    }
    return changes;
}

Study studyOf(const Options& options) {
    json changes = changesFrom(options);
    if (options.study.empty()) {
        changes["format"] = "kavril-study";
        return studyFrom(changes, "");
    }
    if (!isDatabase(options.study)) return readStudy(options.study, changes);
    if (!changes.empty())
        throw UserError(options.study +
                        " has its study in it; options that change it go with a study");
    return studyIn(options.study);
}

std::string durationText(double seconds) {
    if (seconds < 90.0) return fmt::format("{:.0f} s", seconds);
    if (seconds < 5400.0) return fmt::format("{:.0f} min", seconds / 60.0);
    return fmt::format("{:.1f} h", seconds / 3600.0);
}

int dryRun(const Grid& grid, const Options& options, const Shared& shared) {
    const SweepEstimate estimate = estimateSweep(grid, options.jobs, checkInterrupt);
    const double seconds = estimate.seconds / options.jobs;
    if (shared.json) {
        json out = {{"plans", estimate.plans},   {"cases", estimate.cases},
                    {"jobs", options.jobs},      {"seconds", seconds},
                    {"memory", estimate.memory}, {"results", estimate.results},
                    {"timed", estimate.timed}};
        if (!estimate.failure.empty()) out["failure"] = estimate.failure;
        fmt::print("{}\n", out.dump(2));
        return 0;
    }
    fmt::print("{} cases of {} plans\n", estimate.cases, estimate.plans);
    fmt::print("  {:<14} {} on {} threads, by {} cases that were timed\n", "time",
               durationText(seconds), options.jobs, estimate.timed);
    fmt::print("  {:<14} {:.0f} MB\n", "memory", estimate.memory / 1e6);
    fmt::print("  {:<14} {:.0f} MB\n", "results", estimate.results / 1e6);
    if (!estimate.failure.empty())
        fmt::print("  {:<14} {}\n", "a plan failed", estimate.failure);
    return 0;
}

constexpr const char* kWorst =
    "SELECT * FROM all_cases WHERE lost > 0 ORDER BY lost_share DESC, id LIMIT 10";

void printJson(const SweepOutcome& outcome, const std::string& results) {
    Database database = openResults(results);
    const json out = {{"results", results},
                      {"cases", outcome.cases},
                      {"before", outcome.before},
                      {"done", outcome.done},
                      {"failed", outcome.failed},
                      {"seconds", outcome.seconds},
                      {"plans", rowsJson(database.prepare("SELECT * FROM all_plans"))},
                      {"worst", rowsJson(database.prepare(kWorst))}};
    fmt::print("{}\n", out.dump(2));
}

void printSummary(const SweepOutcome& outcome, const std::string& results) {
    fmt::print("{}: {} cases", results, outcome.cases);
    if (outcome.before > 0) fmt::print(", {} of them there before", outcome.before);
    fmt::print("; {} done in {}\n", outcome.done, durationText(outcome.seconds));
    Database database = openResults(results);
    if (outcome.failed > 0) {
        fmt::print("  {:<14} {} cases, to be tried again with --retry\n", "failed",
                   outcome.failed);
        Statement reasons = database.prepare(
            "SELECT count(*), error FROM cases WHERE error IS NOT NULL GROUP BY error "
            "ORDER BY 1 DESC, error LIMIT 5");
        while (reasons.next())
            fmt::print("    {:8} {}\n", reasons.whole(0), reasons.text(1));
    }
    Statement overall = database.prepare(
        "SELECT count(*), count(CASE WHEN lost > 0 THEN 1 END), "
        "count(CASE WHEN overloads > 0 THEN 1 END) FROM cases WHERE error IS NULL");
    overall.next();
    fmt::print(
        "  {:<14} {} cases lose traffic that does not end there, {} overload a "
        "link\n",
        "of " + overall.text(0), overall.whole(1), overall.whole(2));
    Statement worst = database.prepare(
        "SELECT id, network, matrix, scale, failure, lost, lost_share FROM (" +
        std::string(kWorst) + ") LIMIT 5");
    while (worst.next())
        fmt::print("    {}  {:6.2f} % lost: {}, {} x {:g}, {}\n", worst.text(0),
                   100.0 * worst.number(6), worst.text(1), worst.text(2), worst.number(3),
                   worst.text(4));
}

int writeCase(const Grid& grid, const Options& options, const Shared& shared) {
    const auto ids = settingIds(grid);
    for (int i = 0; i < std::ssize(ids); i++) {
        const Setting& setting = grid.settings()[i];
        const GridNetwork& network = grid.networkOf(setting);
        for (const FailedSets failed : network.cases) {
            if (hashText(caseHash(ids[i], network, failed)) != options.caseId) continue;
            Computer computer(grid);
            const SharedPlan swept = computer.planOf(i, nullptr, checkInterrupt);
            if (!swept->error.empty()) throw UserError(swept->error);
            const std::string name = nameOf(network, failed);
            Plan plan = grid.replanningOf(setting) == Replanning::PLACE
                            ? planAfter(*swept->effects, failed, true)
                            : swept->plan;
            FailureSet down = swept->effects->together(failed);
            down.name = name;
            const bool isShown = failed.first >= 0 && plan.drained == Drained();
            if (isShown) plan.failureSets.push_back(std::move(down));
            writeFile(options.output, planText(plan));
            if (options.output != "-" && !shared.quiet)
                fmt::print("{}: {}, {} x {:g}; failed: {}\n", options.output,
                           network.name, grid.matrixName(setting),
                           grid.study().scales[setting.scale], name);
            return 0;
        }
    }
    throw UserError("the study has no case " + options.caseId +
                    "; have its files changed since?");
}

SweepOutcome runShown(const Grid& grid, const SweepOptions& options, Ranks* ranks,
                      const Shared& shared) {
    Progress progress(shared, {{"trying cases", 0}});
    bool isStarted = false;
    SweepOutcome seen;
    try {
        return runSweep(grid, options, ranks, [&](const SweepOutcome& soFar) {
            seen = soFar;
            if (!isStarted) {
                progress.start({{"trying cases", soFar.cases - soFar.before}});
                progress.sayEachMinute(shared);
                isStarted = true;
            }
            progress.reach(soFar.done);
        });
    } catch (const Interrupted&) {
        if (!shared.quiet)
            fmt::print(stderr,
                       "\nnote: {} of {} cases are in {}; start again to do the rest\n",
                       seen.before + seen.done, seen.cases, options.results);
        throw;
    }
}

int sweepFirst(const Options& options, const Shared& shared, Ranks* ranks) {
    const Study study = studyOf(options);
    const Grid grid(study, readNetworks(study));
    if (!options.caseId.empty()) return writeCase(grid, options, shared);
    if (options.dryRun) return dryRun(grid, options, shared);
    const std::string results = options.output.empty() ? options.study : options.output;
    const SweepOutcome outcome = runShown(grid,
                                          {.results = results,
                                           .jobs = options.jobs,
                                           .retry = options.retry,
                                           .costs = options.costs},
                                          ranks, shared);
    if (shared.json)
        printJson(outcome, results);
    else
        printSummary(outcome, results);
    return 0;
}

void checkOptions(const Options& options) {
    if (options.study.empty() && !options.changes.contains("networks"))
        throw UserError("expected a study, or --network");
    if (!options.caseId.empty() && options.output.empty())
        throw UserError("--case goes with -o, the plan to write");
    const bool isResults = !options.study.empty() && isDatabase(options.study);
    if (options.output.empty() && !options.dryRun && !isResults)
        throw UserError("expected -o, the file of the results");
    if (options.output == "-" && options.caseId.empty())
        throw UserError("results are a database, which cannot go to standard output");
}

// All processes are given the same command line; what only the first can know, whether
// files are there, only that one checks.
int sweep(Options options, const Shared& shared) {
    const std::unique_ptr<Ranks> ranks = Ranks::join();
    if (ranks != nullptr && ranks->size() > 1 && !options.hasJobs) options.jobs = 1;
    if (ranks == nullptr || ranks->size() == 1) {
        checkOptions(options);
        const int status = sweepFirst(options, shared, nullptr);
        if (ranks != nullptr) ranks->leave();
        return status;
    }
    if (ranks->rank() > 0) {
        helpSweep(ranks.get(), options.jobs);
        ranks->leave();
        return 0;
    }
    int status = 130;
    try {
        checkOptions(options);
        if (!options.caseId.empty() || options.dryRun)
            throw UserError("--case and --dry-run are for one process");
        status = sweepFirst(options, shared, ranks.get());
        ranks->leave();
        return status;
    } catch (const Interrupted&) {
    } catch (const std::exception& error) {
        fmt::print(stderr, "kavril: {}\n", error.what());
        status = 2;
    }
    ranks->abort(status);
    return status;
}

// "0.5,1,1.5" or "0.5:1.5:0.25", from, to and step.
json scalesFrom(const std::vector<std::string>& texts) {
    json scales = json::array();
    for (const std::string& text : texts) {
        const auto fields = fieldsOf(text, ':');
        const auto number = [&](std::size_t i) {
            return numberFrom(fields[i], "--scales", true);
        };
        if (fields.size() == 3)
            scales.push_back(
                {{"from", number(0)}, {"to", number(1)}, {"step", number(2)}});
        else if (fields.size() == 1)
            scales.push_back(number(0));
        else
            throw CLI::ValidationError(
                "--scales", fmt::format("'{}' is not a number or FROM:TO:STEP", text));
    }
    return scales;
}

void addStudyOptions(CLI::App* cmd, Options* options) {
    const std::string group = "Study";
    json* changes = &options->changes;
    // Each time it is given is one more of them.
    const auto addEach = [&](const char* name, const char* key, const char* type,
                             const char* text) {
        cmd->add_option_function<std::vector<std::string>>(
               name,
               [=](const std::vector<std::string>& given) { (*changes)[key] = given; },
               text)
            ->allow_extra_args(false)
            ->type_name(type)
            ->group(group);
    };
    const auto addList = [&](const char* name, const char* key, const char* type,
                             const char* text) {
        cmd->add_option_function<std::vector<std::string>>(
               name,
               [=](const std::vector<std::string>& given) { (*changes)[key] = given; },
               text)
            ->delimiter(',')
            ->allow_extra_args(false)
            ->type_name(type)
            ->group(group);
    };
    cmd->add_option_function<std::vector<std::string>>(
           "--network",
           [=](const std::vector<std::string>& files) {
               json& networks = (*changes)["networks"] = json::array();
               for (const std::string& file : files) networks.push_back({{"file", file}});
           },
           "Network file; several times for several")
        ->allow_extra_args(false)
        ->type_name("FILE")
        ->group(group);
    addEach(
        "--matrix", "matrices", "FILE",
        "Traffic matrix, or a pattern of names; several times for several [the one in "
        "the network file]");
    cmd->add_option("--sets", options->sets,
                    "File of risk groups and other failures, for --network")
        ->type_name("FILE")
        ->group(group);
    cmd->add_option_function<std::vector<std::string>>(
           "--scales",
           [=](const std::vector<std::string>& texts) {
               (*changes)["scales"] = scalesFrom(texts);
           },
           "Factors on every demand: 1,1.5,2 or FROM:TO:STEP [1]")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->type_name("FACTORS")
        ->group(group);
    addEach(
        "--classes", "classes", "CLASSES",
        "Classes as for place --class, NAME:LEVEL:SHARE,..; several times for several");
    addEach("--weights", "weights", "WEIGHTS",
            "Weights as for place, NAME=WEIGHT,..; several times for several [fortz=1]");
    addList("--protections", "protections", "KINDS",
            "Backups: some of none, local, global [local]");
    addList(
        "--replanning", "replanning", "KINDS",
        "What becomes of what is lost: backups (it stays lost) or place (it is placed "
        "again, the most important first) [backups]");
    cmd->add_option("--failures", options->failures,
                    "Cases: none, links, cables, nodes, groups, custom; with pairs every "
                    "two of the others named [none,cables,nodes]")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->type_name("KINDS")
        ->group(group);
    cmd->add_option("--random", options->random,
                    "So many failures, or pairs, drawn by chance")
        ->type_name("COUNT")
        ->group(group);
    cmd->add_option("--seed", options->seed, "Of the drawing [1]")
        ->type_name("NUMBER")
        ->group(group);
    addList("--survive", "survive", "KINDS", "As for place [cables,nodes]");
    cmd->add_option_function<std::uint64_t>(
           "--max-demands",
           [=](const std::uint64_t& most) { (*changes)["maxDemands"] = most; },
           "Take only so many demands from the front of each matrix, 0 for all")
        ->type_name("COUNT")
        ->group(group);
}

}  // namespace

void addSweep(CLI::App& app, Shared& shared) {
    CLI::App* cmd = app.add_subcommand(
        "sweep", "The same question for thousands of cases, on all cores and machines");
    auto options = std::make_shared<Options>();
    cmd->add_option("STUDY", options->study,
                    "Study (schema/study.schema.json), or results to go on with");
    addOutputFile(*cmd, &options->output,
                  "Results, a SQLite database; what is in it already is not done again");
    addStudyOptions(cmd, options.get());
    addJobsOption(*cmd, &options->jobs);
    cmd->add_flag("--dry-run", options->dryRun,
                  "Only say how many cases there are, and what they will take");
    cmd->add_flag("--retry", options->retry, "Try again what has failed");
    cmd->add_option("--case", options->caseId,
                    "Write the plan of a case to -o, with its failure as a named one")
        ->type_name("ID");
    cmd->add_option("--costs", options->costs, "Write what every batch took, as CSV")
        ->type_name("FILE");
    addOutputOptions(*cmd, shared);
    cmd->footer(
        "Every combination of networks, matrices, scales, classes, weights, kinds of\n"
        "protection and of replanning is a plan; every failure of every plan is a case.\n"
        "Rows appear as cases end. After Ctrl-C, or a crash, the same command does the\n"
        "rest. Options replace what the study says. Under mpirun the processes share\n"
        "the cases; each has --jobs threads, or one. docs/sweeps.md has the tables.\n"
        "\n"
        "Examples:\n"
        "  kavril sweep study.json -o results.db\n"
        "  kavril sweep --network geant.graph --matrix 'hourly/*.demands' \\\n"
        "      --scales 0.8:1.6:0.2 --failures none,cables,nodes -o results.db\n"
        "  kavril sweep study.json --dry-run\n"
        "  mpirun -n 8 kavril sweep study.json --jobs 4 -o results.db\n"
        "  kavril sweep results.db --case 3f2a90c1d4e5b677 -o plan.json\n"
        "  kavril report results.db -o sweep.html");
    onRun(*cmd, shared, [&shared, options, cmd] {
        options->hasJobs = cmd->count("--jobs") > 0;
        return sweep(*options, shared);
    });
}

}  // namespace workbench
