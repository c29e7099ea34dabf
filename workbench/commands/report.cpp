// kavril report: a plan or a sweep as a page to look at.
#include <fmt/format.h>

#include <filesystem>
#include <optional>

#include "audit/failure_sets.h"
#include "cli/error.h"
#include "cli/file.h"
#include "commands/commands.h"
#include "commands/failures.h"
#include "plan_json.h"
#include "report/markup.h"
#include "report/packed.h"
#include "report/page.h"
#include "report/page_plan.h"
#include "report/report_data.h"
#include "report/sweep_data.h"
#include "sweep/database.h"

namespace workbench {

namespace {

struct ReportOptions {
    std::string plan;
    std::string before;
    FailureOptions failures;
    std::vector<std::string> fail;
    std::string output = "report.html";
};

void checkPageIsThere() {
    if (kReportPage.empty())
        throw UserError(
            "this build has no report: it was made without node and npm. Install them "
            "(on Debian: apt-get install nodejs npm) and build again");
}

void fill(std::string* page, std::string_view mark, const std::string& text) {
    if (const std::size_t at = page->find(mark); at != page->npos)
        page->replace(at, mark.size(), text);
}

// A plan, what failures do to it, and what its page's engine has to know.
struct Reported {
    Audited audited;
    PagePlan page;
};

// With `fail` the last of the failures is that case.
Reported reported(const std::string& file, const FailureOptions& options,
                  const std::vector<std::string>& fail, const Shared& shared) {
    const Plan own = readPlan(file);
    Plan plan = own;
    readSets(options, &plan);
    std::vector<FailureSet> sets = {
        plan.failureSets.begin() + std::ssize(own.failureSets), plan.failureSets.end()};
    std::vector<FailureSet> failures = failuresFor(options.wanted, plan);
    int asked = -1;
    if (!fail.empty()) {
        asked = static_cast<int>(failures.size());
        failures.push_back(caseNamed(plan, fail));
        sets.push_back(failures.back());
    }
    Progress progress(shared, {{"failing"}});
    AuditResult audit = auditShown(plan, failures, &progress);
    return {{std::filesystem::path(file).filename().string(), std::move(plan),
             std::move(audit), asked},
            {own, options.wanted, std::move(sets)}};
}

// What is not right with a plan is not for an engine to build on.
std::string restFor(const Reported& now, const nlohmann::json& data) {
    const AuditResult& audit = now.audited.audit;
    if (!audit.problems.empty() || !audit.tables.differing.empty()) return "";
    const nlohmann::json rest = restOf(now.page, data);
    return rest.is_null() ? "" : packed(rest.dump());
}

int reportSweep(const ReportOptions& options, const Shared& shared) {
    if (!options.before.empty() || !options.fail.empty())
        throw UserError("--before and --fail go with a plan");
    std::string page(kSweepPage);
    fill(&page, kDataMark, sweepPageData(options.plan));
    writeFile(options.output, page);
    if (options.output == "-") return 0;
    if (shared.json)
        fmt::print(
            "{}\n",
            nlohmann::json({{"report", options.output}, {"bytes", page.size()}}).dump(2));
    else
        fmt::print("{}: {:.1f} MB; open it in a browser\n", options.output,
                   page.size() / 1e6);
    return 0;
}

int report(const ReportOptions& options, const Shared& shared) {
    checkPageIsThere();
    if (isDatabase(options.plan)) return reportSweep(options, shared);
    const Reported now = reported(options.plan, options.failures, options.fail, shared);
    std::optional<Audited> before;
    if (!options.before.empty())
        before = reported(options.before, options.failures, {}, shared).audited;
    const nlohmann::json data = reportData(now.audited, before ? &*before : nullptr);
    std::string page(kReportPage);
    // From the end on: no text that goes in can then be taken for a mark.
    fill(&page, kRestMark, restFor(now, data));
    fill(&page, kDataMark, withoutMarkup(data));
    writeFile(options.output, page);
    if (options.output == "-") return 0;
    if (shared.json)
        fmt::print("{}\n",
                   nlohmann::json({{"report", options.output},
                                   {"bytes", page.size()},
                                   {"failures", now.audited.audit.failures.size()},
                                   {"clean", now.audited.audit.isClean()}})
                       .dump(2));
    else
        fmt::print("{}: {} LSPs, {} failures, {:.1f} MB; open it in a browser\n",
                   options.output,
                   now.audited.plan.summary.placed + now.audited.plan.summary.replaced,
                   now.audited.audit.failures.size(), page.size() / 1e6);
    return 0;
}

}  // namespace

void addReport(CLI::App& app, Shared& shared) {
    CLI::App* cmd =
        app.add_subcommand("report", "A plan, or a sweep, as a page to look at");
    auto options = std::make_shared<ReportOptions>();
    cmd->add_option("PLAN", options->plan,
                    "Plan written by kavril place, or results of kavril sweep")
        ->required();
    cmd->add_option("--before", options->before,
                    "An earlier plan: the page shows what has changed since");
    addFailureOptions(*cmd, &options->failures);
    cmd->add_option(
           "--fail", options->fail,
           "One more case: nodes, links (A > B), cables (A - B) and groups, each "
           "by a --fail of its own, that fail at once")
        ->allow_extra_args(false)
        ->type_name("NAME");
    addOutputFile(*cmd, &options->output,
                  "HTML file to write, - for standard output [report.html]");
    addOutputOptions(*cmd, shared);
    cmd->footer(
        "The page is one file and needs no network: a map, failures and LSPs to pick,\n"
        "utilisation, tables to filter and to save as CSV. Its figures of failures are\n"
        "those of kavril audit. With an earlier plan it shows which LSPs have moved,\n"
        "come or gone, and what that does to every link and in the worst failure. With\n"
        "probabilities of failures it tells how much of the time traffic is up.\n"
        "\n"
        "Of a sweep the page has a heat map over any two of its axes, how much is lost\n"
        "in how many cases, and the worst ones with the command that writes their plan.\n"
        "\n"
        "Examples:\n"
        "  kavril report plan.json -o report.html\n"
        "  kavril report better.json --before plan.json -o report.html\n"
        "  kavril report results.db -o sweep.html\n"
        "  kavril report plan.json --mtbf cable=8000 --mttr cable=6 -o report.html");
    onRun(*cmd, shared, [&shared, options] { return report(*options, shared); });
}

}  // namespace workbench
