#include <fmt/format.h>

#include "cli/progress.h"
#include "commands/commands.h"
#include "engine/headroom.h"
#include "plan_json.h"

namespace workbench {

namespace {

using nlohmann::json;

struct Options {
    std::string network;
    std::string demands;
    double precision = 0.001;
    std::vector<Protection> kinds = {Protection::NONE, Protection::LOCAL,
                                     Protection::GLOBAL};
};

std::string nameOf(const PlanDemand& request, const Network& network) {
    return network.nodes[request.src].name + " > " + network.nodes[request.dst].name;
}

json toJson(const Headroom& room, const std::vector<PlanDemand>& requests) {
    json out = {{"protection", toText(room.protection)},
                {"factor", room.factor},
                {"failsAt", room.failsAt},
                {"reason", room.reason},
                {"neverPlaced", room.neverPlaced},
                {"neverProtected", room.neverProtected},
                {"runs", room.runs}};
    out["request"] = room.request < 0 ? json() : toJson(requests[room.request]);
    return out;
}

void print(const Headroom& room, const std::vector<PlanDemand>& requests,
           const Network& network) {
    fmt::print("  {:<7} {:.4g} times the matrix\n", toText(room.protection), room.factor);
    if (room.request >= 0)
        fmt::print("          at {:.4g}: {} (class {}, level {}) refused, {}\n",
                   room.failsAt, nameOf(requests[room.request], network),
                   requests[room.request].trafficClass, requests[room.request].level,
                   room.reason);
    if (room.neverPlaced > 0 || room.neverProtected > 0)
        fmt::print(
            "          not counted: {} requests without any path, {} LSPs that "
            "nothing protects\n",
            room.neverPlaced, room.neverProtected);
}

int headroom(const Options& options, const Shared& shared) {
    Findings findings;
    const Network network = readNetwork(options.network, shared.reading, findings);
    const Demands demands = readDemands(
        options.demands.empty() ? options.network : options.demands, network, findings);
    printFindings(findings, shared);
    const Configuration wanted = withClassesOf(demands.demands, shared.configuration);
    const std::vector<PlanDemand> requests = requestsOf(demands.demands, wanted);
    json all = json::array();
    for (Protection kind : options.kinds) {
        Configuration configuration = wanted;
        configuration.protection = kind;
        Headroom room;
        {
            // How many runs it takes shows only in the end: the bar counts requests.
            const std::string what = fmt::format("headroom, protection {}", toText(kind));
            Progress progress(shared, what, 0);
            room = findHeadroom(network, demands.demands, configuration,
                                options.precision, [&progress] { progress.advance(); });
        }
        if (shared.json)
            all.push_back(toJson(room, requests));
        else
            print(room, requests, network);
    }
    if (shared.json)
        fmt::print("{}\n", json({{"headroom", std::move(all)},
                                 {"precision", options.precision},
                                 {"findings", findingsJson(findings, shared)}})
                               .dump(2));
    return 0;
}

}  // namespace

void addHeadroom(CLI::App& app, Shared& shared) {
    CLI::App* cmd = app.add_subcommand(
        "headroom", "How far a traffic matrix can grow with nothing refused");
    auto options = std::make_shared<Options>();
    cmd->add_option("NETWORK", options->network, "Network file")->required();
    cmd->add_option("DEMANDS", options->demands,
                    "Traffic matrix; by default the one in the network file");
    cmd->add_option("--precision", options->precision,
                    "Relative precision of the factor [0.001]")
        ->check(CLI::Range(1e-9, 0.5));
    static const std::map<std::string, Protection> kKinds = {
        {"none", Protection::NONE},
        {"local", Protection::LOCAL},
        {"global", Protection::GLOBAL}};
    cmd->add_option("--protection", options->kinds,
                    "Kinds of protection to try: none, local, global [all]")
        ->transform(CLI::CheckedTransformer(kKinds).description(""))
        ->delimiter(',')
        ->type_name("KIND");
    addReadingOptions(*cmd, shared);
    addPlacementOptions(*cmd, shared);
    addOutputOptions(*cmd, shared);
    cmd->footer(
        "The whole matrix is placed again and again, with all its demands larger or "
        "smaller,\n"
        "until the factor is known. Requests without any path, and LSPs that nothing "
        "could\n"
        "protect in an empty network, are left out of the judgement.\n"
        "\n"
        "Examples:\n"
        "  kavril headroom germany50.xml\n"
        "  kavril headroom abilene.graph abilene.demands --protection local,global");
    onRun(*cmd, shared, [&shared, options] { return headroom(*options, shared); });
}

}  // namespace workbench
