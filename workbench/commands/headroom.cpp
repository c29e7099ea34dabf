#include <fmt/format.h>

#include "bound/flow_bound.h"
#include "cli/progress.h"
#include "commands/class_table.h"
#include "commands/commands.h"
#include "commands/options.h"
#include "engine/headroom.h"
#include "graph/graph.h"
#include "plan_json.h"

namespace workbench {

namespace {

using nlohmann::json;

struct Options {
    std::string network;
    std::string demands;
    double precision = 0.001;
    int jobs = 1;
    std::vector<Protection> kinds = {Protection::NONE, Protection::LOCAL,
                                     Protection::GLOBAL};
};

std::string nameOf(const PlanDemand& request, const Network& network) {
    return network.nodes[request.src].name + " > " + network.nodes[request.dst].name;
}

// The matrix placed at the factor that was found.
struct Room {
    Headroom found;
    Plan plan;
};

json toJson(const Room& one, const std::vector<PlanDemand>& requests) {
    const Headroom& room = one.found;
    json out = {{"protection", toText(room.protection)},
                {"factor", room.factor},
                {"failsAt", room.failsAt},
                {"largest", room.largest},
                {"checked", room.checked},
                {"reason", room.reason},
                {"neverPlaced", room.neverPlaced},
                {"neverProtected", room.neverProtected},
                {"runs", room.runs},
                {"classes", classesJson(one.plan)}};
    out["request"] = room.request < 0 ? json() : toJson(requests[room.request]);
    return out;
}

void print(const Room& one, const std::vector<PlanDemand>& requests,
           const Network& network) {
    const Headroom& room = one.found;
    fmt::print(
        "  {:<7} {:.4g} times the matrix; at {} smaller factors nothing was refused "
        "either\n",
        toText(room.protection), room.factor,
        room.factor < room.largest ? room.checked - 1 : room.checked);
    if (room.factor < room.largest)
        fmt::print("          {:.4g} happens to fit as well, but not all below it\n",
                   room.largest);
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
    printClasses(one.plan);
}

void print(const FlowBound& bound) {
    if (bound.known)
        fmt::print(
            "  optimum {:.4g} times the matrix: no placement at all can carry more\n",
            bound.factor);
    else
        fmt::print("  optimum not known: {}\n", bound.whyNot);
}

// Requests whose ends some links join.
std::vector<char> withinReach(const Network& network,
                              const std::vector<PlanDemand>& requests) {
    const Components parts = components(network);
    std::vector<char> reach;
    for (const PlanDemand& one : requests)
        reach.push_back(parts.of[one.src] == parts.of[one.dst]);
    return reach;
}

Room findRoom(const Network& network, const Demands& demands,
              const Configuration& configuration, const Options& options,
              const Shared& shared) {
    // How many runs it takes shows only in the end: a bar for each.
    Progress progress(shared, {{toText(configuration.protection)}});
    const std::size_t requests = requestsOf(demands.demands, configuration).size();
    const bool isProtected = configuration.protection != Protection::NONE;
    const auto start = [&](double factor) {
        const std::string what =
            fmt::format("{}, factor {:.4g}: ", toText(configuration.protection), factor);
        progress.start({{what + "placing", requests},
                        {what + "protecting", isProtected ? requests : 0}});
    };
    const Step step = [&progress] { progress.advance(); };
    Room room;
    room.found = findHeadroom(network, demands.demands, configuration, options.precision,
                              options.jobs, {start, step});
    Configuration scaled = configuration;
    scaled.scale *= room.found.factor;
    room.plan = newPlan(network, demands.demands, scaled);
    start(room.found.factor);
    runPlan(&room.plan, step, nullptr);
    return room;
}

int headroom(const Options& options, const Shared& shared) {
    const auto [network, demands, findings] =
        readMatrix(options.network, options.demands, shared);
    const Configuration wanted = withClassesOf(demands.demands, shared.configuration);
    const std::vector<PlanDemand> requests = requestsOf(demands.demands, wanted);
    const Plan empty = newPlan(network, {}, shared.configuration);
    const FlowBound bound = flowBound(empty, requests, withinReach(network, requests));
    json all = json::array();
    for (Protection kind : options.kinds) {
        Configuration configuration = wanted;
        configuration.protection = kind;
        const Room room = findRoom(network, demands, configuration, options, shared);
        if (shared.json)
            all.push_back(toJson(room, requests));
        else
            print(room, requests, network);
    }
    if (!shared.json) print(bound);
    if (shared.json)
        fmt::print("{}\n", json({{"headroom", std::move(all)},
                                 {"precision", options.precision},
                                 {"optimum", bound.known ? json(bound.factor) : json()},
                                 {"findings", findingsJson(findings, shared)}})
                               .dump(2));
    return 0;
}

}  // namespace

void addHeadroom(CLI::App& app, Shared& shared) {
    CLI::App* cmd = app.add_subcommand(
        "headroom", "How far a traffic matrix can grow before something is refused");
    auto options = std::make_shared<Options>();
    addMatrixArguments(*cmd, &options->network, &options->demands);
    cmd->add_option("--precision", options->precision,
                    "Relative precision of the factor [0.001]")
        ->check(CLI::Range(1e-9, 0.5));
    addChoices(*cmd, "--protection", &options->kinds, kProtections,
               "Kinds of protection to try: none, local, global [all]")
        ->type_name("KINDS");
    addJobsOption(*cmd, &options->jobs);
    addReadingOptions(*cmd, shared);
    addPlacementOptions(*cmd, shared);
    addOutputOptions(*cmd, shared);
    cmd->footer(
        "The whole matrix is placed again and again, with all its demands larger or\n"
        "smaller, until the factor is known. Requests are placed one by one, so a\n"
        "smaller matrix may be refused where a larger one fits: smaller factors are\n"
        "tried as well, and the one given is the last below which none that was tried\n"
        "is refused. The optimum is that of a linear program that may split traffic.\n"
        "Requests without any path, and LSPs that nothing could protect in an empty\n"
        "network, are left out of the judgement. The table below each factor tells what\n"
        "a placement at it gives every class and level.\n"
        "\n"
        "Examples:\n"
        "  kavril headroom germany50.xml\n"
        "  kavril headroom abilene.graph abilene.demands --protection local,global");
    onRun(*cmd, shared, [&shared, options] { return headroom(*options, shared); });
}

}  // namespace workbench
