// kavril convert: a network or its demands in another format.
#include <fmt/format.h>

#include "cli/error.h"
#include "cli/file.h"
#include "commands/commands.h"
#include "formats/draft.h"
#include "formats/tidy.h"
#include "formats/write.h"

namespace workbench {

namespace {

struct ConvertOptions {
    std::string input;
    std::string output;
    std::string network;  // that demands belong to, empty for the one in their own file
    std::optional<Format> format;
    bool demands = false;
};

Format formatOf(const ConvertOptions& options) {
    if (options.format) return *options.format;
    if (const auto format = formatOfName(options.output)) return *format;
    throw UserError(fmt::format(
        "cannot tell the format from the name {}: give it with --to", options.output));
}

bool wantsDemands(const ConvertOptions& options, const Draft& draft) {
    return options.demands || options.output.ends_with(".demands") || !draft.hasNetwork;
}

// The nodes that demands refer to: of another file, or of their own.
Network networkOfDemands(const ConvertOptions& options, const Draft& draft,
                         const Shared& shared, Findings& findings) {
    if (!options.network.empty())
        return readNetwork(options.network, shared.reading, findings);
    if (draft.nodes.empty())
        throw UserError(
            fmt::format("{} has demands but no nodes: name their network with --network",
                        draft.file));
    return tidyNetwork(draft, shared.reading, findings);
}

struct Converted {
    std::string what;
    std::size_t count;
    std::string text;
};

Converted convertDemands(const ConvertOptions& options, const Draft& draft,
                         const Shared& shared, Findings& findings) {
    if (!draft.hasDemands)
        throw InputError(draft.file, 0, "expected demands, got a network without any");
    const Network network = networkOfDemands(options, draft, shared, findings);
    const Demands demands = tidyDemands(draft, network, findings);
    return {"demands", demands.demands.size(),
            demandsText(demands, network, formatOf(options), findings)};
}

Converted convertNetwork(const ConvertOptions& options, const Shared& shared,
                         Findings& findings) {
    const Network network = readNetwork(options.input, shared.reading, findings);
    return {"links", network.links.size(),
            networkText(network, formatOf(options), findings)};
}

int convert(const ConvertOptions& options, const Shared& shared) {
    Findings findings;
    const Draft draft = readDraft(options.input);
    const Converted converted = wantsDemands(options, draft)
                                    ? convertDemands(options, draft, shared, findings)
                                    : convertNetwork(options, shared, findings);
    writeFile(options.output, converted.text);
    printFindings(findings, shared);
    if (options.output == "-") return 0;
    if (shared.json)
        fmt::print("{}\n", nlohmann::json{{"output", options.output},
                                          {"what", converted.what},
                                          {"count", converted.count},
                                          {"findings", findingsJson(findings, shared)}}
                               .dump(2));
    else
        fmt::print("{}: {} {}\n", options.output, converted.count, converted.what);
    return 0;
}

}  // namespace

void addConvert(CLI::App& app, Shared& shared) {
    CLI::App* cmd =
        app.add_subcommand("convert", "A network or its demands in another format");
    const auto options = std::make_shared<ConvertOptions>();
    cmd->add_option("FILE", options->input, "Network or demands")
        ->type_name("FILE")
        ->required();
    addOutputFile(*cmd, &options->output, "File to write, - for standard output")
        ->required();
    addChoice<std::optional<Format>>(
        *cmd, "--to", &options->format,
        {{"json", Format::Json},
         {"repetita", Format::Repetita},
         {"sndlib-native", Format::SndlibNative},
         {"sndlib-xml", Format::SndlibXml},
         {"graphml", Format::Graphml},
         {"csv", Format::Csv},
         {"tsv", Format::Tsv}},
        "json, repetita, sndlib-native, sndlib-xml, graphml, csv or tsv [by the name "
        "of the output: .json, .graph, .demands, .txt, .xml, .graphml, .csv, .tsv]")
        ->type_name("FORMAT");
    cmd->add_flag("--demands", options->demands,
                  "Convert the demands of a file that has a network too");
    cmd->add_option("--network", options->network,
                    "The network of demands in a file without nodes")
        ->type_name("FILE");
    addReadingOptions(*cmd, shared);
    addOutputOptions(*cmd, shared);
    cmd->footer(
        "Examples:\n"
        "  kavril convert germany50.xml -o germany50.json\n"
        "  kavril convert germany50.xml --demands -o germany50.demands\n"
        "  kavril convert Abilene.0000.demands --network Abilene.graph -o matrix.json");
    onRun(*cmd, shared, [&shared, options] { return convert(*options, shared); });
}

}  // namespace workbench
