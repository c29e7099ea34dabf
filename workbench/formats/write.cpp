#include "formats/write.h"

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
        {".xml", Format::SndlibXml},    {".graphml", Format::Graphml}};
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
        case Format::Json:
            break;
    }
    return linesOf(toJson(network));
}

std::string demandsText(const Demands& demands, const Network& network, Format format,
                        Findings& findings) {
    switch (format) {
        case Format::Repetita:
            return repetitaDemands(demands, findings);
        case Format::SndlibNative:
            return sndlibNativeText(network, &demands, findings);
        case Format::SndlibXml:
            return sndlibXmlText(network, &demands, findings);
        case Format::Graphml:
            throw UserError(
                "GraphML holds no demands: choose json, repetita, "
                "sndlib-native or sndlib-xml");
        case Format::Json:
            break;
    }
    return linesOf(toJson(demands, network));
}

}  // namespace workbench
