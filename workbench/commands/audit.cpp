#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <map>

#include "audit/audit_json.h"
#include "audit/failure_sets.h"
#include "audit/verdict.h"
#include "cli/error.h"
#include "cli/lists.h"
#include "commands/class_table.h"
#include "commands/commands.h"
#include "commands/failures.h"
#include "plan_json.h"

namespace workbench {

namespace {

constexpr std::size_t kMost = 10;  // lines of each kind

struct Options {
    std::string plan;
    FailureOptions failures;
    std::vector<std::string> fail;
    std::vector<std::string> requirements;
    bool eachFailure = false;
    bool eachLink = false;
};

std::string text(const Load& load, const Plan& plan) {
    const std::string& unit = plan.network.unit;
    if (load.link < 0) return "no load";
    return fmt::format("{} at {:.1f} %, {} of {} of class {}",
                       linkName(plan.network, load.link), 100.0 * load.share(),
                       formatBandwidth(load.bandwidth, unit),
                       formatBandwidth(load.capacity, unit),
                       plan.configuration.classes[load.trafficClass].name);
}

std::string nameOf(const FailureSet& set) {
    return std::string(toText(set.kind)) + " " + set.name;
}

double percent(double part, double whole) {
    return whole > 0.0 ? 100.0 * part / whole : 100.0;
}

void printProblems(const AuditResult& result) {
    if (result.problems.empty()) return;
    fmt::print("  not in order: {}\n", result.problems.size());
    for (std::size_t i = 0; i < std::min(kMost, result.problems.size()); i++)
        fmt::print("      {}\n", result.problems[i]);
    printMore(result.problems.size(), kMost, 6);
}

void printBroken(const AuditResult& result) {
    std::size_t shown = 0;
    for (const Failure& failure : result.failures)
        for (const Lost& lost : failure.lost)
            if (lost.cause == LossCause::BROKEN && shown++ < kMost)
                fmt::print("      LSP {} when {} fails: {}\n", lost.lsp,
                           nameOf(failure.set), lost.reason);
    printMore(shown, kMost, 6);
}

void printOverloads(const AuditResult& result, const Plan& plan) {
    for (std::size_t i = 0; i < std::min(kMost, result.overloads.size()); i++)
        fmt::print("      with nothing failed: {}\n", text(result.overloads[i], plan));
    std::size_t shown = 0;
    for (const Failure& failure : result.failures)
        for (const Load& load : failure.overloads)
            if (shown++ < kMost)
                fmt::print("      when {} fails: {}\n", nameOf(failure.set),
                           text(load, plan));
    printMore(shown, kMost, 6);
}

void printTables(const TableCheck& tables, const Plan& plan) {
    fmt::print("  {:<14} {} cells: {} exact, {} within rounding, {} different\n",
               "tables", tables.cells, tables.exact, tables.rounding,
               tables.differing.size());
    for (std::size_t i = 0; i < std::min(kMost, tables.differing.size()); i++) {
        const CellDifference& cell = tables.differing[i];
        fmt::print("      {}, {}, class {}, level {}{}: {} in the plan, {} by its LSPs\n",
                   linkName(plan.network, cell.link), cell.table,
                   plan.configuration.classes[cell.trafficClass].name, cell.level,
                   cell.failedLink < 0
                       ? ""
                       : ", failure of " + linkName(plan.network, cell.failedLink),
                   cell.inPlan, cell.recomputed);
    }
    printMore(tables.differing.size(), kMost, 6);
}

std::string availability(const Fate& fate) {
    if (!fate.meanAvailability) return {};
    return fmt::format("{:.5f} % ({:.5f} % at worst)", 100.0 * *fate.meanAvailability,
                       100.0 * *fate.lowestAvailability);
}

std::string worstOf(const Fate& fate, const AuditResult& result, const Plan& plan) {
    if (fate.worstFailure < 0) return "nothing";
    return fmt::format("{} ({:.1f} %), {}",
                       formatBandwidth(fate.worstLost, plan.network.unit),
                       percent(fate.worstLost, fate.bandwidthCarried),
                       nameOf(result.failures[fate.worstFailure].set));
}

void printFate(const std::string& name, const Fate& fate, const AuditResult& result,
               const Plan& plan) {
    fmt::print("  {:<14} {:>9} {:>9} {:>8}  {:<16}  {}   {}\n", name,
               percentText(fate.bandwidthCarried, fate.bandwidthRequested),
               percentText(fate.bandwidthProtected, fate.bandwidthCarried),
               percentText(fate.reserved, fate.booked), stretchText(fate.stretch),
               worstOf(fate, result, plan), availability(fate));
}

void printFates(const AuditResult& result, const Verdict& verdict, const Plan& plan) {
    fmt::print("  {:<14} {:>9} {:>9} {:>8}  {:<16}  lost at worst{}\n", "class",
               "carried", "protected", "cost", "stretch",
               verdict.all.meanAvailability ? "   availability" : "");
    for (const Fate& fate : verdict.classes) {
        const std::string name = plan.configuration.classes[fate.trafficClass].name;
        printFate(name, fate, result, plan);
        for (const Fate& level : verdict.levels)
            if (level.trafficClass == fate.trafficClass && verdict.levels.size() > 1)
                printFate(fmt::format("  level {}", level.level), level, result, plan);
    }
}

void printFailures(const AuditResult& result, const Plan& plan) {
    fmt::print("  {:<40} {:>5} {:>8} {:<16} {:>5} {:>14}   fullest\n", "failure", "hit",
               "restored", " stretch", "lost", "bandwidth");
    for (const Failure& failure : result.failures)
        fmt::print("  {:<40} {:>5} {:>8}  {:<15} {:>5} {:>14}   {}\n",
                   nameOf(failure.set), failure.hit.size(), failure.restored.size(),
                   stretchText(stretchOf(failure)), failure.lost.size(),
                   formatBandwidth(failure.bandwidthLost + failure.bandwidthEndsHere,
                                   plan.network.unit),
                   text(failure.fullest, plan));
}

void printLinks(const AuditResult& result, const Plan& plan) {
    fmt::print("  worst load of each link\n");
    for (const WorstLoad& worst : result.worst)
        fmt::print("    {}, {}\n", text(worst.load, plan),
                   worst.failure < 0
                       ? "with nothing failed"
                       : "when " + nameOf(result.failures[worst.failure].set) + " fails");
}

// Every LSP that the one failure hits.
void printCase(const Failure& failure, const Plan& plan) {
    std::map<int, std::string> outcomes;
    for (const Restored& one : failure.restored)
        outcomes[one.lsp] = fmt::format("restored by {}, stretch {:.2f}",
                                        fmt::join(one.backups, ", "), one.stretch);
    for (const Lost& one : failure.lost)
        outcomes[one.lsp] = fmt::format("lost, {}", one.reason);
    for (const PlanLsp& lsp : plan.lsps)
        if (const auto at = outcomes.find(lsp.id); at != outcomes.end())
            fmt::print("    LSP {:<6} {} > {}, {}: {}\n", lsp.id,
                       plan.network.nodes[lsp.path.front()].name,
                       plan.network.nodes[lsp.path.back()].name,
                       formatBandwidth(lsp.bandwidth, plan.network.unit), at->second);
}

// In an hour of the failure that costs most.
void printWorstHour(const Verdict& verdict, const Plan& plan) {
    if (verdict.all.worstFailure < 0 || plan.network.unit != "Mbit/s") return;
    fmt::print("  {:<14} {:.4g} GByte in an hour of it\n", "",
               verdict.all.worstLost * 3600.0 / 8000.0);
}

std::string verdictText(const AuditResult& result, const Verdict& verdict) {
    if (!result.isClean()) return "Not all promises hold.";
    const Fate& all = verdict.all;
    const double survives = percent(all.bandwidthProtected, all.bandwidthRequested);
    if (!result.isRoomPromised && !result.overloads.empty())
        return fmt::format(
            "A baseline: {} links are above their capacity with nothing failed, so not "
            "all "
            "of its traffic gets through.",
            result.overloads.size());
    if (result.failures.empty()) return "No failure was tried.";
    return fmt::format(
        "{:.1f} % of the requested bandwidth is carried and survives each of the {} "
        "failures{}.",
        survives, result.failures.size(),
        result.overloadedFailures > 0
            ? fmt::format(", of which {} overload a link", result.overloadedFailures)
            : "");
}

void printResult(const AuditResult& result, const Verdict& verdict, const Plan& plan,
                 const Options& options) {
    const Fate& all = verdict.all;
    const std::string& unit = plan.network.unit;
    fmt::print("{}: {} failures\n", plan.network.name, result.failures.size());
    printProblems(result);
    fmt::print("  {:<14} {:.1f} %: {} of {}, {} of {} LSPs\n", "carried",
               percent(all.bandwidthCarried, all.bandwidthRequested),
               formatBandwidth(all.bandwidthCarried, unit),
               formatBandwidth(all.bandwidthRequested, unit), all.carried, all.requested);
    fmt::print("  {:<14} {:.1f} % of that: {}, {} LSPs\n", "protected",
               percent(all.bandwidthProtected, all.bandwidthCarried),
               formatBandwidth(all.bandwidthProtected, unit), all.isProtected);
    fmt::print("  {:<14} {}\n", "lost at worst", worstOf(all, result, plan));
    printWorstHour(verdict, plan);
    if (all.meanAvailability) fmt::print("  {:<14} {}\n", "available", availability(all));
    fmt::print(
        "  {:<14} {} times an LSP, {} restored; lost: {} that end there, {} "
        "unprotected, {} not covered, {} against the promise\n",
        "hit", result.hit, result.restored, result.lostEndsHere, result.lostUnprotected,
        result.lostNotCovered, result.lostBroken);
    printBroken(result);
    fmt::print("  {:<14} {} failures end with a link above its capacity\n", "overload",
               result.overloadedFailures);
    printOverloads(result, plan);
    fmt::print("  {:<14} {}, with nothing failed\n", "fullest",
               text(result.fullest, plan));
    const auto worst = std::ranges::max_element(
        result.failures, {}, [](const Failure& one) { return one.fullest.share(); });
    if (worst != result.failures.end())
        fmt::print("  {:<14} {}, when {} fails\n", "", text(worst->fullest, plan),
                   nameOf(worst->set));
    printFates(result, verdict, plan);
    if (options.eachFailure) printFailures(result, plan);
    if (options.eachLink) printLinks(result, plan);
    if (!options.fail.empty()) printCase(result.failures.front(), plan);
    printTables(result.tables, plan);
    fmt::print("{}\n", verdictText(result, verdict));
}

nlohmann::json toJson(const Requirement& wanted, const std::string& whyNot) {
    nlohmann::json out = {{"requirement", wanted.text}, {"holds", whyNot.empty()}};
    if (!whyNot.empty()) out["because"] = whyNot;
    return out;
}

int auditPlan(const Options& options, const Shared& shared) {
    std::vector<Requirement> wishes;
    for (const std::string& text : options.requirements)
        wishes.push_back(requirementFrom(text));
    Plan plan = readPlan(options.plan);
    readSets(options.failures, &plan);
    const std::vector<FailureSet> failures =
        options.fail.empty() ? failuresFor(options.failures.wanted, plan)
                             : std::vector{failureNamed(plan, options.fail)};
    AuditResult result;
    {
        Progress progress(shared, {{"failing"}});
        result = auditShown(plan, failures, &progress);
    }
    const Verdict verdict = verdictOf(plan, result);
    bool holds = result.isClean();
    nlohmann::json requirements = nlohmann::json::array();
    for (const Requirement& wanted : wishes) {
        const std::string why = whyNot(wanted, plan, verdict);
        holds = holds && why.empty();
        requirements.push_back(toJson(wanted, why));
    }
    if (shared.json) {
        nlohmann::json out = toJson(result, verdict, plan);
        out["requirements"] = std::move(requirements);
        fmt::print("{}\n", out.dump(1));
        return holds ? 0 : 1;
    }
    printResult(result, verdict, plan, options);
    for (const auto& one : requirements)
        if (!one["holds"])
            fmt::print("Required {}: {}\n", one["requirement"].get<std::string>(),
                       one["because"].get<std::string>());
    return holds ? 0 : 1;
}

void addOptions(CLI::App* cmd, Options* options) {
    cmd->add_option("PLAN", options->plan, "Plan written by place")->required();
    addFailureOptions(*cmd, &options->failures);
    cmd->add_option("--fail", options->fail,
                    "Try one case: nodes, links (A > B), cables (A - B) and groups that "
                    "fail at once; lists every LSP that it hits")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->type_name("NAMES");
    cmd->add_option("--require", options->requirements,
                    "Exit with status 1 unless all hold. Of the bandwidth, "
                    "FIGURE[:CLASS[:LEVEL]]: "
                    "carried, protected (at least), lost (at most, in one failure); "
                    "availability of "
                    "the worst LSP; of the network: load (at most), overload (failures)")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->type_name("FIGURE=LIMIT");
    cmd->add_flag("--each", options->eachFailure, "A line for every failure");
    cmd->add_flag("--links", options->eachLink,
                  "The worst load of every link and what causes it");
}

}  // namespace

void addAudit(CLI::App& app, Shared& shared) {
    CLI::App* cmd = app.add_subcommand(
        "audit", "Does the traffic survive? Fails cables and nodes of a plan on paper");
    auto options = std::make_shared<Options>();
    addOptions(cmd, options.get());
    addOutputOptions(*cmd, shared);
    cmd->footer(
        "Loads are added up from the paths of the LSPs alone. The exit status is 1 if a\n"
        "requirement does not hold, if an LSP is lost that the plan says survives, if a\n"
        "link ends above its capacity in a failure that the plan says it survives, or\n"
        "if a table is not what the LSPs of the plan give.\n"
        "\n"
        "Protected is what no failure that is tried takes down, but for that of its own\n"
        "ends. An LSP with several local backups takes all that it meets on its way.\n"
        "Cost is what is reserved for backups against what the primaries book; stretch\n"
        "is the length of a path by the links' metrics against the shortest, on the\n"
        "average of the LSPs and at most.\n"
        "\n"
        "Examples:\n"
        "  kavril audit plan.json --require protected=100%,overload=0\n"
        "  kavril audit plan.json --fail Berlin,\"Essen - Koeln\"\n"
        "  kavril audit plan.json --failures cables,pairs --mtbf cable=8000 --mttr "
        "cable=6\n"
        "  kavril audit plan.json --json > audit.json");
    onRun(*cmd, shared, [&shared, options] { return auditPlan(*options, shared); });
}

}  // namespace workbench
