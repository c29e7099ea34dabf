// kavril gravity: a traffic matrix for a network without one.
#include <fmt/format.h>

#include "cli/error.h"
#include "cli/file.h"
#include "commands/commands.h"
#include "formats/write.h"
#include "graph/graph.h"

namespace workbench {

namespace {

enum class Size { Capacity, Degree, Equal };

struct GravityOptions {
    std::string network;
    std::string output;
    std::optional<double> total;
    Size size = Size::Capacity;
};

// What a node counts: more links, or more capacity, mean more traffic.
std::vector<double> sizesOf(const Network& network, Size size) {
    std::vector<double> sizes(network.nodes.size(), size == Size::Equal ? 1.0 : 0.0);
    if (size == Size::Equal) return sizes;
    for (const Link& link : network.links)
        sizes[link.src] += size == Size::Degree ? 1.0 : link.capacity;
    return sizes;
}

// A demand for every pair of nodes with a way between them, as the product of their
// sizes.
Demands gravityMatrix(const Network& network, const std::vector<double>& sizes,
                      double total) {
    Demands result{.name = network.name, .unit = network.unit, .demands = {}};
    const std::vector<int> part = components(network).of;
    double all = 0.0;
    for (const Node& src : network.nodes)
        for (const Node& dst : network.nodes) {
            const double product = sizes[src.id] * sizes[dst.id];
            if (src.id == dst.id || part[src.id] != part[dst.id] || product <= 0.0)
                continue;
            all += product;
            result.demands.push_back(
                {.src = src.id, .dst = dst.id, .bandwidth = product, .name = {}});
        }
    for (Demand& demand : result.demands) demand.bandwidth *= total / all;
    return result;
}

int gravity(const GravityOptions& options, const Shared& shared) {
    const auto format = formatOfName(options.output);
    if (!format && options.output != "-")
        throw UserError(
            fmt::format("cannot tell the format from the name {}: .json, "
                        ".csv, .tsv, .demands, .txt or .xml is expected",
                        options.output));
    Findings findings;
    const Network network = readNetwork(options.network, shared.reading, findings);
    double capacity = 0.0;
    for (const Link& link : network.links) capacity += link.capacity;
    const Demands demands = gravityMatrix(network, sizesOf(network, options.size),
                                          options.total.value_or(capacity / 10.0));
    if (demands.demands.empty())
        throw UserError(fmt::format("{}: expected links with a capacity between nodes",
                                    options.network));
    writeFile(options.output,
              demandsText(demands, network, format.value_or(Format::Json), findings));
    printFindings(findings, shared);
    if (options.output == "-") return 0;
    const double total = options.total.value_or(capacity / 10.0);
    if (shared.json)
        fmt::print("{}\n", nlohmann::json{{"output", options.output},
                                          {"demands", demands.demands.size()},
                                          {"total", total},
                                          {"unit", demands.unit},
                                          {"findings", findingsJson(findings, shared)}}
                               .dump(2));
    else
        fmt::print("{}: {} demands, {} in all\n", options.output, demands.demands.size(),
                   formatBandwidth(total, demands.unit));
    return 0;
}

}  // namespace

void addGravity(CLI::App& app, Shared& shared) {
    CLI::App* cmd =
        app.add_subcommand("gravity", "A traffic matrix for a network that has none");
    const auto options = std::make_shared<GravityOptions>();
    cmd->add_option("NETWORK", options->network, "Network file")
        ->type_name("FILE")
        ->required();
    addOutputFile(*cmd, &options->output,
                  "Demands to write, - for standard output; the format by the name: "
                  ".json, .csv, .tsv, .demands, .txt, .xml")
        ->required();
    cmd->add_option_function<std::string>(
           "--total",
           [options](const std::string& text) {
               options->total = bandwidthFrom(text, "--total");
           },
           "Traffic in all, in Mbit/s (or the file's own unit) unless it ends in k, M, G "
           "or T [a tenth of the capacity of all links]")
        ->type_name("BANDWIDTH");
    addChoice<Size>(
        *cmd, "--by", &options->size,
        {{"capacity", Size::Capacity}, {"degree", Size::Degree}, {"equal", Size::Equal}},
        "What makes a node large: the capacity of its links, their number "
        "(degree), or nothing (equal) [capacity]")
        ->type_name("SIZE");
    addReadingOptions(*cmd, shared);
    addOutputOptions(*cmd, shared);
    cmd->footer(
        "The traffic of a pair of nodes is the product of their sizes, scaled to the\n"
        "total. It is an estimate to plan with, not a measurement.\n"
        "\n"
        "Examples:\n"
        "  kavril gravity Geant2012.graphml -o matrix.json\n"
        "  kavril gravity Abilene.graphml --total 40G --by degree -o matrix.csv");
    onRun(*cmd, shared, [&shared, options] { return gravity(*options, shared); });
}

}  // namespace workbench
