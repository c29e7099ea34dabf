#include "engine/steps.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <map>

#include "cli/error.h"
#include "cli/file.h"
#include "cli/progress.h"
#include "commands/commands.h"
#include "commands/diff.h"
#include "commands/promises.h"
#include "plan_json.h"

namespace workbench {

namespace {

struct Options {
    std::string plan;
    std::string output;
    Steps steps;
    std::string backTo;
};

// Demands of files among those to add; the names of the files go from the steps.
std::vector<PlanDemand> demandsFromFiles(const Plan& plan, Steps* steps) {
    Configuration configuration = plan.configuration;
    configuration.maxDemands = 0;
    std::vector<PlanDemand> all;
    std::erase_if(steps->add, [&](const std::string& text) {
        if (!std::filesystem::exists(text)) return false;
        Findings findings;
        const Demands demands = readDemands(text, plan.network, findings);
        const auto more = requestsOf(demands.demands, configuration);
        all.insert(all.end(), more.begin(), more.end());
        return true;
    });
    return all;
}

// Routes and drained parts as they were in another plan of the same network.
void goBack(const Plan& plan, const Plan& old, Change* change) {
    if (old.network.links.size() != plan.network.links.size())
        throw UserError("--back-to: the plans are not of one network");
    change->drained = old.drained;
    std::map<int, const PlanLsp*> lspOf;
    for (const PlanLsp& lsp : old.lsps) lspOf[lsp.id] = &lsp;
    for (std::size_t i = 0; i < plan.demands.size() && i < old.demands.size(); i++) {
        const PlanDemand& was = old.demands[i];
        const auto lsp = lspOf.find(was.lsp);
        if (was.src == plan.demands[i].src && was.dst == plan.demands[i].dst &&
            lsp != lspOf.end())
            change->paths.push_back({static_cast<int>(i), lsp->second->path});
    }
}

Change changeFrom(const Plan& plan, Options options) {
    const std::vector<PlanDemand> more = demandsFromFiles(plan, &options.steps);
    Change change = changeFrom(plan, options.steps);
    change.add.insert(change.add.end(), more.begin(), more.end());
    if (!options.backTo.empty()) goBack(plan, readPlan(options.backTo), &change);
    return change;
}

// A failure alone changes nothing else; a call without steps tries what is not up.
Taken takeShown(Plan* plan, const Options& options, const Shared& shared) {
    Progress progress(shared, {{"changing"}});
    const Watch watch = {.stage =
                             [&](const char* what, std::size_t total) {
                                 progress.start({{what, total}});
                             },
                         .step = [&] { progress.advance(); }};
    const Steps& steps = options.steps;
    if (!steps.fail.empty() && !steps.areChange() && options.backTo.empty())
        return takeSteps(plan, steps, watch);
    return takeSteps(plan, steps, changeFrom(*plan, options), watch);
}

void printRecovery(const Recovery& recovery, const std::string& unit) {
    const auto line = [&](const char* what, const Count& count) {
        fmt::print("    {:<18} {:>6} LSPs, {}\n", what, count.lsps,
                   formatBandwidth(count.bandwidth, unit));
    };
    fmt::print("  when {} fails\n", recovery.failed.name);
    line("on backups", recovery.hit.restored);
    line("lost", recovery.hit.lost);
    line("placed again", recovery.again);
    line("ended there", recovery.hit.ended);
    line("displaced", recovery.displaced);
}

int changePlan(const Options& options, const Shared& shared) {
    const Plan before = readWorkingPlan(options.plan);
    Plan after = before;
    const Taken taken = takeShown(&after, options, shared);
    noteTakenBack(taken.takenBack, shared);
    if (!options.output.empty()) writeFile(options.output, planText(after));
    if (options.output == "-") return 0;
    const PlanDiff diff = diffShown(before, after, shared);
    if (shared.json) {
        nlohmann::json out = toJson(diff);
        if (taken.recovery) out["failed"] = toJson(*taken.recovery);
        fmt::print("{}\n", out.dump(1));
        return 0;
    }
    fmt::print("{}\n", after.network.name);
    if (taken.recovery) printRecovery(*taken.recovery, after.network.unit);
    printDiff(diff, after.network.unit);
    if (!options.steps.drain.empty() && !options.output.empty())
        fmt::print("Way back: kavril change {} --back-to {} -o FILE\n", options.output,
                   options.plan);
    return 0;
}

void addList(CLI::App* cmd, const char* name, Steps::Texts* texts, const char* type,
             const char* text) {
    cmd->add_option(name, *texts, text)->allow_extra_args(false)->type_name(type);
}

}  // namespace

void addChange(CLI::App& app, Shared& shared) {
    CLI::App* cmd = app.add_subcommand(
        "change", "Change a running plan; what does not have to move stays");
    auto options = std::make_shared<Options>();
    cmd->add_option("PLAN", options->plan, "Plan")->required();
    addOutputFile(*cmd, &options->output, "Write the changed plan");
    addList(cmd, "--drain", &options->steps.drain, "NAME",
            "Take a node, link (A > B) or cable (A - B) out of service for a while");
    addList(cmd, "--undrain", &options->steps.undrain, "NAME",
            "Put it back into service");
    cmd->add_option("--back-to", options->backTo,
                    "Routes and drained parts as in this plan, where they fit")
        ->type_name("PLAN");
    addList(cmd, "--add", &options->steps.add, "DEMAND",
            "New demand, 'A > B=2.5G', with :CLASS or :CLASS:LEVEL; or a file of them");
    addList(cmd, "--remove", &options->steps.remove, "LSP",
            "Remove a demand, by the id of its LSP or by its name");
    addList(cmd, "--scale", &options->steps.scale, "FACTOR",
            "Every demand times this, or one: LSP=FACTOR; factors are multiplied");
    addList(cmd, "--level", &options->steps.level, "LSP=LEVEL",
            "New preemption level, 0 is the most important");
    cmd->add_option("--protection", options->steps.protection,
                    "Other backups for all LSPs: none, local or global")
        ->type_name("KIND");
    addList(cmd, "--capacity", &options->steps.capacity, "LINK=BANDWIDTH",
            "New capacity of a link or cable");
    addList(cmd, "--link", &options->steps.link, "ENDS:BANDWIDTH",
            "New cable 'A - B:10G', or 'A > B:10G' for one direction");
    addList(cmd, "--without", &options->steps.without, "LINK",
            "Remove a link or cable for good");
    addList(cmd, "--route", &options->steps.route, "LSP=NODES",
            "Lead an LSP over these nodes, parted by commas, and keep it there");
    addList(cmd, "--lock", &options->steps.lock, "LSP",
            "Keep an LSP on the path that it has");
    addList(cmd, "--unlock", &options->steps.unlock, "LSP", "Let it move again");
    addList(cmd, "--fail", &options->steps.fail, "NAME",
            "These fail at once, after the changes: nodes, links, cables, risk groups; "
            "the lost are placed again");
    options->steps.replan = true;
    addOutputOptions(*cmd, shared);
    cmd->footer(
        "LSPs move, with their ids, that cross what is gone, drained or too small now;\n"
        "then demands are tried that were not up, and LSPs protected that were not.\n"
        "What fits nowhere is taken down and listed with the reason. LSPs of another\n"
        "bandwidth or level stay where they fit and get new backups. All options but\n"
        "--protection and --back-to can be repeated.\n"
        "\n"
        "What fails is drained. LSPs with a backup run on it, without backups of their\n"
        "own; those that are lost are placed again, the most important first, and take\n"
        "the place of less important ones if the plan was placed with preemption.\n"
        "\n"
        "Examples:\n"
        "  kavril change plan.json --drain Koeln -o night.json\n"
        "  kavril change night.json --back-to plan.json -o morning.json\n"
        "  kavril change plan.json --add \"Berlin > Essen=2.5G\" --capacity \"Ulm - "
        "Bonn=40G\"\n"
        "  kavril change plan.json --scale 1.2 --fail \"Essen - Koeln\" --fail Bonn -o "
        "after.json");
    onRun(*cmd, shared, [&shared, options] { return changePlan(*options, shared); });
}

}  // namespace workbench
