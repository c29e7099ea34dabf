// kavril export: the tables of a plan, or the plan as a graph, for other tools.
#include <fmt/format.h>

#include <unordered_map>

#include "cli/error.h"
#include "cli/file.h"
#include "commands/commands.h"
#include "commands/failures.h"
#include "formats/plan_tables.h"
#include "formats/units.h"
#include "formats/write.h"
#include "formats/writers.h"
#include "plan_json.h"
#include "sweep/results.h"

namespace workbench {

namespace {

using TableOf = Table (*)(const Plan& plan, const Shared& shared);

struct ExportOptions {
    std::string plan;
    std::string output = "-";
    std::string table;
    std::string format;
};

// Every single failure, as kavril audit tells it.
Table planFailures(const Plan& plan, const Shared& shared) {
    Table table{
        {"kind", "name", "hit", "restored", "restored stretch", "lost",
         withUnit("lost", plan.network.unit), "overloads", "fullest", "fullest %"},
        {}};
    std::unordered_map<int, double> bandwidths;
    for (const PlanLsp& lsp : plan.lsps) bandwidths[lsp.id] = lsp.bandwidth;
    Progress progress(shared, {{"failing"}});
    const AuditResult result = auditShown(plan, &progress);
    for (const Failure& failure : result.failures) {
        double lost = 0.0;
        for (const Lost& one : failure.lost) lost += bandwidths[one.lsp];
        const Load& fullest = failure.fullest;
        table.rows.push_back(
            {toText(failure.set.kind), failure.set.name,
             std::to_string(failure.hit.size()), std::to_string(failure.restored.size()),
             failure.restored.empty() ? ""
                                      : fmt::format("{:.4f}", stretchOf(failure).mean()),
             std::to_string(failure.lost.size()), numberText(lost),
             std::to_string(failure.overloads.size()),
             fullest.link < 0 ? "" : linkName(plan.network, fullest.link),
             fullest.link < 0 ? "" : fmt::format("{:.3f}", 100.0 * fullest.share())});
    }
    return table;
}

template <Table (*of)(const Plan& plan)>
Table atOnce(const Plan& plan, const Shared&) {
    return of(plan);
}

const std::vector<std::pair<std::string, TableOf>> kTables = {
    {"links", atOnce<planLinks>},
    {"lsps", atOnce<planLsps>},
    {"demands", atOnce<planDemands>},
    {"failures", planFailures},
    {"classes", atOnce<planClasses>}};

// Of a sweep: what the views of its results say.
const Choices<std::string> kSweepTables = {{"cases", "all_cases"},
                                           {"levels", "all_levels"},
                                           {"links", "all_links"},
                                           {"plans", "all_plans"}};

// A name is looked up once the file has told whether it is a plan's or a sweep's table.
template <class Value>
Value tableNamed(const std::string& name, const char* usual,
                 const Choices<Value>& tables) {
    return chosen("--table", name.empty() ? usual : name, tables);
}

Table sweepTable(const ExportOptions& options) {
    Database database = openResults(options.plan);
    Statement rows = database.prepare("SELECT * FROM " +
                                      tableNamed(options.table, "cases", kSweepTables));
    Table table;
    for (int column = 0; column < rows.columns(); column++)
        table.columns.push_back(rows.name(column));
    while (rows.next()) {
        auto& row = table.rows.emplace_back();
        for (int column = 0; column < rows.columns(); column++)
            row.push_back(rows.type(column) == SQLITE_FLOAT
                              ? numberText(rows.number(column))
                              : rows.text(column));
    }
    return table;
}

std::string formatOf(const ExportOptions& options) {
    if (!options.format.empty()) return options.format;
    for (const char* format : {"csv", "tsv", "graphml", "dot"})
        if (options.output.ends_with(std::string(".") + format)) return format;
    if (options.output == "-") return "csv";
    throw UserError(fmt::format(
        "cannot tell the format from the name {}: give it with --to", options.output));
}

std::string graphText(const Plan& plan, const std::string& format, Findings& findings) {
    LinkFigure primary{"Primaries", {}};
    LinkFigure reserved{"Reserved", {}};
    LinkFigure share{"ReservedShare", {}};
    const std::vector<LinkUse> uses = linkUses(plan);
    for (const Link& link : plan.network.links) {
        const LinkUse& use = uses[link.id];
        primary.values.push_back(use.primary);
        reserved.values.push_back(use.reserved);
        share.values.push_back(link.capacity > 0.0 ? use.reserved / link.capacity : 0.0);
    }
    return format == "dot"
               ? dotText(plan.network, share.values)
               : graphmlText(plan.network, findings, {primary, reserved, share});
}

Table tableOf(const ExportOptions& options, const Shared& shared) {
    if (isDatabase(options.plan)) return sweepTable(options);
    const TableOf of = tableNamed(options.table, "lsps", kTables);
    return of(readPlan(options.plan), shared);
}

int exportPlan(const ExportOptions& options, const Shared& shared) {
    const std::string format = formatOf(options);
    Findings findings;
    std::string text;
    if (format == "graphml" || format == "dot") {
        text = graphText(readPlan(options.plan), format, findings);
    } else {
        const Table table = tableOf(options, shared);
        text = format == "csv" ? csvText(table) : tsvText(table);
    }
    writeFile(options.output, text);
    printFindings(findings, shared);
    if (options.output != "-" && !shared.json)
        fmt::print("{}: {} bytes\n", options.output, text.size());
    else if (options.output != "-")
        fmt::print("{}\n", nlohmann::json{{"output", options.output},
                                          {"bytes", text.size()},
                                          {"findings", findingsJson(findings, shared)}}
                               .dump(2));
    return 0;
}

}  // namespace

void addExport(CLI::App& app, Shared& shared) {
    CLI::App* cmd = app.add_subcommand(
        "export", "Tables of a plan or sweep for spreadsheets, or the plan as a graph");
    const auto options = std::make_shared<ExportOptions>();
    cmd->add_option("PLAN", options->plan, "Plan written by place, or results of a sweep")
        ->required();
    addOutputFile(*cmd, &options->output,
                  "File to write, - for standard output [standard output]");
    cmd->add_option("--table", options->table,
                    "links, lsps (primaries and backups), demands, failures or classes "
                    "[lsps]; of a sweep: cases, levels, links or plans [cases]")
        ->type_name("TABLE");
    addChoice<std::string>(
        *cmd, "--to", &options->format,
        {{"csv", "csv"}, {"tsv", "tsv"}, {"graphml", "graphml"}, {"dot", "dot"}},
        "Tables as csv or tsv; the network with its loads as graphml or dot "
        "[by the name of the output, else csv]")
        ->type_name("FORMAT");
    addOutputOptions(*cmd, shared);
    cmd->footer(
        "A spreadsheet opens the CSV as it is. The tables of links and demands can be\n"
        "read again as a network and its demands.\n"
        "\n"
        "Examples:\n"
        "  kavril export plan.json -o lsps.csv\n"
        "  kavril export plan.json --table links --to tsv | sort -k10 -n\n"
        "  kavril export results.db --table cases -o cases.csv\n"
        "  kavril export plan.json --to dot | neato -n -Tsvg > plan.svg");
    onRun(*cmd, shared, [&shared, options] { return exportPlan(*options, shared); });
}

}  // namespace workbench
