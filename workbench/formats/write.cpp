#include "formats/write.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <map>

#include "cli/error.h"
#include "formats/network_json.h"
#include "formats/writers.h"

namespace workbench {

std::optional<Format> formatOfName(const std::string& path) {
    static const std::map<std::string, Format> kEndings = {
        {".json", Format::Json},        {".graph", Format::Repetita},
        {".demands", Format::Repetita}, {".txt", Format::SndlibNative},
        {".xml", Format::SndlibXml},    {".graphml", Format::Graphml},
        {".csv", Format::Csv},          {".tsv", Format::Tsv}};
    const auto found = kEndings.find(std::filesystem::path(path).extension().string());
    return found == kEndings.end() ? std::nullopt : std::optional(found->second);
}

// One element of the lists a line, so that files can be compared line by line.
static std::string linesOf(const nlohmann::json& root) {
    std::string text = "{";
    const char* separator = "\n";
    for (const auto& [key, value] : root.items()) {
        text += separator + nlohmann::json(key).dump() + ": ";
        separator = ",\n";
        if (!value.is_array()) {
            text += value.dump();
            continue;
        }
        const char* inner = "[\n  ";
        for (const auto& element : value) {
            text += inner + element.dump();
            inner = ",\n  ";
        }
        text += value.empty() ? "[]" : "\n]";
    }
    return text + "\n}\n";
}

static void notePositions(const Network& network, Findings& findings) {
    const auto placed = std::ranges::count_if(
        network.nodes, [](const Node& node) { return node.position.has_value(); });
    if (placed > 0)
        findings.push_back(
            {FindingKind::LostAttribute,
             fmt::format("position of {} nodes: a table of links has no place for it",
                         placed)});
}

// Of demands: classes, levels, colours to avoid, limits.
static void noteLostRequirements(const Demands& demands, const char* format,
                                 Findings& findings) {
    const auto lost = std::ranges::count_if(demands.demands, [](const Demand& demand) {
        return !demand.trafficClass.empty() || demand.level || demand.avoid != 0 ||
               demand.maxDelay > 0 || demand.maxHops > 0;
    });
    if (lost > 0)
        findings.push_back({FindingKind::LostAttribute,
                            fmt::format("class, level or limits of {} demands: {} has no "
                                        "place for them",
                                        lost, format)});
}

std::string networkText(const Network& network, Format format, Findings& findings) {
    switch (format) {
        case Format::Repetita:
            return repetitaNetwork(network, findings);
        case Format::SndlibNative:
            return sndlibNativeText(network, nullptr, findings);
        case Format::SndlibXml:
            return sndlibXmlText(network, nullptr, findings);
        case Format::Graphml:
            return graphmlText(network, findings);
        case Format::Csv:
        case Format::Tsv:
            notePositions(network, findings);
            return format == Format::Csv ? csvText(linkTable(network))
                                         : tsvText(linkTable(network));
        case Format::Json:
            break;
    }
    return linesOf(toJson(network));
}

std::string demandsText(const Demands& demands, const Network& network, Format format,
                        Findings& findings) {
    switch (format) {
        case Format::Repetita:
            noteLostRequirements(demands, "Repetita", findings);
            return repetitaDemands(demands, findings);
        case Format::SndlibNative:
            noteLostRequirements(demands, "SNDlib", findings);
            return sndlibNativeText(network, &demands, findings);
        case Format::SndlibXml:
            noteLostRequirements(demands, "SNDlib", findings);
            return sndlibXmlText(network, &demands, findings);
        case Format::Graphml:
            throw UserError(
                "GraphML holds no demands: choose json, repetita, "
                "sndlib-native, sndlib-xml, csv or tsv");
        case Format::Csv:
            return csvText(demandTable(demands, network));
        case Format::Tsv:
            return tsvText(demandTable(demands, network));
        case Format::Json:
            break;
    }
    return linesOf(toJson(demands, network));
}

}  // namespace workbench
