#include <fmt/format.h>

#include <algorithm>

#include "audit/audit.h"
#include "audit/audit_json.h"
#include "commands/commands.h"
#include "plan_json.h"

namespace workbench {

namespace {

constexpr std::size_t kMost = 10;  // lines of each kind

std::string nameOf(const Failure& failure, const Network& network) {
    return failure.isNode ? "node " + network.nodes[failure.id].name
                          : "link " + linkName(network, failure.id);
}

std::string text(const Load& load, const Plan& plan) {
    const std::string& unit = plan.network.unit;
    if (load.link < 0) return "no load";
    return fmt::format("{} at {:.1f} %, {} of {} of class {}",
                       linkName(plan.network, load.link), 100.0 * load.share(),
                       formatBandwidth(load.bandwidth, unit),
                       formatBandwidth(load.capacity, unit),
                       plan.configuration.classes[load.trafficClass].name);
}

void printMore(std::size_t all) {
    if (all > kMost) fmt::print("      and {} more\n", all - kMost);
}

void printProblems(const AuditResult& result) {
    if (result.problems.empty()) return;
    fmt::print("  not in order: {}\n", result.problems.size());
    for (std::size_t i = 0; i < std::min(kMost, result.problems.size()); i++)
        fmt::print("      {}\n", result.problems[i]);
    printMore(result.problems.size());
}

void printBroken(const AuditResult& result, const Plan& plan) {
    std::size_t shown = 0;
    for (const Failure& failure : result.failures)
        for (const Lost& lost : failure.lost)
            if (lost.cause == LossCause::BROKEN && shown++ < kMost)
                fmt::print("      LSP {} when {} fails: {}\n", lost.lsp,
                           nameOf(failure, plan.network), lost.reason);
    printMore(shown);
}

void printOverloads(const AuditResult& result, const Plan& plan) {
    for (std::size_t i = 0; i < std::min(kMost, result.overloads.size()); i++)
        fmt::print("      with nothing failed: {}\n", text(result.overloads[i], plan));
    std::size_t shown = 0;
    for (const Failure& failure : result.failures)
        for (const Load& load : failure.overloads)
            if (shown++ < kMost)
                fmt::print("      when {} fails: {}\n", nameOf(failure, plan.network),
                           text(load, plan));
    printMore(shown);
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
    printMore(tables.differing.size());
}

const Failure* worstOf(const AuditResult& result, bool isNode) {
    const Failure* worst = nullptr;
    for (const Failure& failure : result.failures)
        if (failure.isNode == isNode &&
            (worst == nullptr || failure.fullest.share() > worst->fullest.share()))
            worst = &failure;
    return worst;
}

void printResult(const AuditResult& result, const Plan& plan) {
    const Network& network = plan.network;
    fmt::print("{}: {} links and {} nodes failed one at a time\n", network.name,
               network.links.size(), network.nodes.size());
    printProblems(result);
    fmt::print("  {:<14} {} times an LSP\n", "hit", result.hit);
    fmt::print("  {:<14} {} by their backups\n", "restored", result.restored);
    fmt::print("  {:<14} {} that end at the failed node, {} unprotected, {} protected\n",
               "lost", result.lostEndsHere, result.lostUnprotected, result.lostBroken);
    printBroken(result, plan);
    fmt::print("  {:<14} {} failures end with a link above its capacity\n", "overload",
               result.overloadedFailures);
    printOverloads(result, plan);
    fmt::print("  {:<14} {}\n", "fullest", text(result.fullest, plan));
    for (bool isNode : {false, true})
        if (const Failure* worst = worstOf(result, isNode); worst != nullptr)
            fmt::print("  {:<14} {}, when {} fails\n", "", text(worst->fullest, plan),
                       nameOf(*worst, network));
    printTables(result.tables, plan);
    fmt::print("{}\n",
               result.isClean() ? "All promises hold." : "Not all promises hold.");
}

int auditPlan(const std::string& file, const Shared& shared) {
    const Plan plan = readPlan(file);
    const AuditResult result = audit(plan);
    if (shared.json)
        fmt::print("{}\n", toJson(result, plan).dump(1));
    else
        printResult(result, plan);
    return result.isClean() ? 0 : 1;
}

}  // namespace

void addAudit(CLI::App& app, Shared& shared) {
    CLI::App* cmd = app.add_subcommand(
        "audit", "Fail every link and node of a plan on paper and check its tables");
    auto file = std::make_shared<std::string>();
    cmd->add_option("PLAN", *file, "Plan written by place")->required();
    addOutputOptions(*cmd, shared);
    cmd->footer(
        "Loads are added up from the paths of the LSPs alone. The exit status is 1 if an "
        "LSP\n"
        "is lost that the plan says is protected, if a link ends above its capacity, or "
        "if a\n"
        "table is not what the LSPs of the plan give. Directions of a link fail one by "
        "one.\n"
        "\n"
        "A local backup protects the link behind its head, and the node at that link's "
        "end\n"
        "if it stays clear of it; a global one all links and the nodes that it stays "
        "clear\n"
        "of. An LSP that starts or ends at the failed node is lost, whatever the "
        "protection.\n"
        "\n"
        "Examples:\n"
        "  kavril audit plan.json\n"
        "  kavril audit plan.json --json > audit.json");
    onRun(*cmd, shared, [&shared, file] { return auditPlan(*file, shared); });
}

}  // namespace workbench
