// kavril: plans and checks a network's traffic engineering from the command line.
#include <fmt/format.h>

#include <algorithm>
#include <cstdio>

#include "cli/error.h"
#include "cli/file.h"
#include "cli/help.h"
#include "cli/progress.h"
#include "commands/commands.h"

using namespace workbench;

static void describe(CLI::App& app, Shared& shared) {
    app.name("kavril");
    app.formatter(std::make_shared<HelpFormatter>());
    app.set_version_flag("--version", "kavril " KAVRIL_VERSION);
    app.add_flag_callback("--man-page",
                          [&app] {
                              fmt::print("{}", manPage(app));
                              throw CLI::Success();
                          })
        ->group("");  // for the build
    app.require_subcommand(1);
    addInfo(app, shared);
    addConvert(app, shared);
    addPlace(app, shared);
    addAudit(app, shared);
    addHeadroom(app, shared);
    addImprove(app, shared);
    addExplain(app, shared);
    addChange(app, shared);
    addDiff(app, shared);
    addUpgrade(app, shared);
    addSweep(app, shared);
    addReport(app, shared);
    addExport(app, shared);
    addGravity(app, shared);
    app.footer(
        "Examples:\n"
        "  kavril info germany50.xml\n"
        "  kavril place germany50.xml --protection local -o plan.json\n"
        "  kavril audit plan.json\n"
        "  kavril report plan.json -o report.html\n"
        "\n"
        "Exit status: 0 done; 1 done, but what was checked does not hold; 2 a wrong "
        "option\n"
        "or input; 130 ended by Ctrl-C. Nothing is left half written.");
}

// The parser would only say that a command is missing.
static void checkCommand(const CLI::App& app, int argc, char** argv) {
    if (argc < 2 || argv[1][0] == '-') return;
    std::vector<std::string> names;
    for (const CLI::App* cmd : app.get_subcommands([](const CLI::App*) { return true; }))
        names.push_back(cmd->get_name());
    if (std::ranges::count(names, argv[1]) == 0)
        throw wrongChoice("COMMAND", argv[1], names);
}

static int run(const Shared& shared) {
    try {
        watchInterrupt();
        const int status = shared.run();
        flushOutput();
        return status;
    } catch (const Interrupted&) {
        fmt::print(stderr, "kavril: interrupted\n");
        return 130;
    } catch (const std::exception& error) {
        fmt::print(stderr, "kavril: {}\n", error.what());
        return 2;
    }
}

int main(int argc, char** argv) {
    CLI::App app("Traffic engineering for label-switched networks, tried out on files.");
    Shared shared;
    describe(app, shared);
    try {
        checkCommand(app, argc, argv);
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        const int status = app.exit(error) == 0 ? 0 : 2;
        shared.run = [status] { return status; };
    }
    return run(shared);
}
