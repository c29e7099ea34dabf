// kavril report: a plan as a page to look at.
#include <fmt/format.h>

#include "audit/audit.h"
#include "cli/error.h"
#include "cli/file.h"
#include "cli/shared.h"
#include "commands/commands.h"
#include "plan_json.h"
#include "report/page.h"
#include "report/page_data.h"

namespace workbench {

namespace {

struct ReportOptions {
    std::string plan;
    std::string output = "report.html";
};

void checkPageIsThere() {
    if (kReportPage.empty())
        throw UserError(
            "this build has no report: it was made without node and npm. Install them "
            "(on Debian: apt-get install nodejs npm) and build again");
}

std::string pageWith(const std::string& data) {
    const std::size_t mark = kReportPage.find(kDataMark);
    std::string page(kReportPage.substr(0, mark));
    page += data;
    page += kReportPage.substr(mark + kDataMark.size());
    return page;
}

int report(const ReportOptions& options, const Shared& shared) {
    checkPageIsThere();
    const Plan plan = readPlan(options.plan);
    const AuditResult result = audit(plan);
    const std::string page = pageWith(pageData(plan, result));
    writeFile(options.output, page);
    if (options.output == "-") return 0;
    if (shared.json)
        fmt::print("{}\n", nlohmann::json({{"report", options.output},
                                           {"bytes", page.size()},
                                           {"failures", result.failures.size()},
                                           {"clean", result.isClean()}})
                               .dump(2));
    else
        fmt::print("{}: {} LSPs, {} failures, {:.1f} MB; open it in a browser\n",
                   options.output, plan.summary.placed + plan.summary.replaced,
                   result.failures.size(), page.size() / 1e6);
    return 0;
}

}  // namespace

void addReport(CLI::App& app, Shared& shared) {
    CLI::App* cmd = app.add_subcommand("report", "A plan as a page to look at");
    auto options = std::make_shared<ReportOptions>();
    cmd->add_option("PLAN", options->plan, "Plan, as written by kavril place")
        ->required();
    addOutputFile(*cmd, &options->output,
                  "HTML file to write, - for standard output [report.html]");
    addOutputOptions(*cmd, shared);
    cmd->footer(
        "The page is one file and needs no network: a map, failures and LSPs to pick,\n"
        "utilisation, tables. Its figures of failures are those of kavril audit.\n\n"
        "Example:\n  kavril report plan.json -o report.html");
    onRun(*cmd, shared, [&shared, options] { return report(*options, shared); });
}

}  // namespace workbench
