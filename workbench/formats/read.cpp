#include "formats/read.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>

#include "cli/error.h"
#include "cli/file.h"
#include "formats/draft.h"
#include "formats/table.h"
#include "formats/tidy.h"
#include "formats/words.h"
#include "formats/xml.h"

namespace workbench {

namespace {

// Length of the UTF-8 character at the front, 0 if that is none.
std::size_t characterLength(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text[0]);
    const std::size_t length = lead < 0x80                   ? 1
                               : lead >= 0xC2 && lead < 0xE0 ? 2
                               : lead >= 0xE0 && lead < 0xF0 ? 3
                               : lead >= 0xF0 && lead < 0xF5 ? 4
                                                             : 0;
    if (length == 0 || length > text.size()) return 0;
    const auto continues = [](char next) { return (next & 0xC0) == 0x80; };
    if (!std::all_of(text.begin() + 1, text.begin() + length, continues)) return 0;
    // Longer than needed, a surrogate, or beyond the last character.
    const auto second = length > 1 ? static_cast<unsigned char>(text[1]) : 0;
    const bool wrong =
        (lead == 0xE0 && second < 0xA0) || (lead == 0xED && second >= 0xA0) ||
        (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second >= 0x90);
    return wrong ? 0 : length;
}

std::string toUtf8(std::string text) {
    if (text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3);
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t length = characterLength(std::string_view(text).substr(at));
        if (length == 0) break;
        at += length;
    }
    if (at == text.size()) return text;
    std::string result;
    for (const char letter : text) {
        const auto code = static_cast<unsigned char>(letter);
        if (code >= 0x80) result += static_cast<char>(0xC0 | code >> 6);
        result += static_cast<char>(code >= 0x80 ? 0x80 | (code & 0x3F) : code);
    }
    return result;
}

Draft parseXml(const Source& source) {
    const XmlFile xml(source);
    const std::string root = xml.root().name();
    if (root == "graphml") return parseGraphml(source);
    if (root == "network") return parseSndlibXml(source);
    throw InputError(
        source.file, xml.line(xml.root()),
        fmt::format("expected <graphml> or SNDlib's <network>, got <{:.40}>", root));
}

Draft parseText(const Source& source) {
    Words words(source, "()", /*comments=*/true);
    const std::string first(words.peek());
    if (first == "?SNDlib") return parseSndlibNative(source);
    constexpr std::string_view kSections[] = {"META",  "NODES",   "LINKS",
                                              "EDGES", "DEMANDS", "ADMISSIBLE_PATHS"};
    const int line = words.line();
    if (std::find(std::begin(kSections), std::end(kSections), first) !=
        std::end(kSections)) {
        words.take("a section");
        return words.peek() == "(" ? parseSndlibNative(source) : parseRepetita(source);
    }
    if (isTable(source.text)) return parseTable(source);
    throw InputError(
        source.file, words.atEnd() ? 0 : line,
        fmt::format(
            "expected Topology Zoo GraphML, SNDlib XML or native text, Repetita, a table "
            "with the columns src and dst, or KAVRIL's JSON, got {}",
            words.atEnd() ? "an empty file" : fmt::format("'{:.40}'", first)));
}

}  // namespace

Source sourceOf(const std::string& file, const std::string& bytes) {
    return {file, toUtf8(bytes)};
}

Draft parse(const Source& source) {
    const auto first = source.text.find_first_not_of(" \t\r\n");
    const char letter = first == std::string::npos ? '\0' : source.text[first];
    if (letter == '<') return parseXml(source);
    if (letter == '{') return parseOwnJson(source);
    return parseText(source);
}

static Draft draftFrom(const std::string& path, const std::string& bytes) {
    Draft draft = parse(sourceOf(path, bytes));
    if (draft.name.empty() && path != "-")
        draft.name = std::filesystem::path(path).stem().string();
    return draft;
}

Draft readDraft(const std::string& path) {
    return draftFrom(path, readFile(path));
}

Network networkFrom(const std::string& path, const std::string& bytes,
                    const ReadOptions& options, Findings& findings) {
    const Draft draft = draftFrom(path, bytes);
    if (draft.nodes.empty())
        throw InputError(path, 0,
                         draft.hasDemands ? "expected a network, got demands without one"
                                          : "expected a network with nodes, got none");
    if (draft.links.empty() && draft.hasDemands)
        throw InputError(path, 0,
                         "expected a network with links, got only nodes and demands");
    return tidyNetwork(draft, options, findings);
}

Network readNetwork(const std::string& path, const ReadOptions& options,
                    Findings& findings) {
    return networkFrom(path, readFile(path), options, findings);
}

Demands demandsFrom(const std::string& path, const std::string& bytes,
                    const Network& network, Findings& findings) {
    const Draft draft = draftFrom(path, bytes);
    if (!draft.hasDemands)
        throw InputError(path, 0, "expected demands, got a network without any");
    return tidyDemands(draft, network, findings);
}

Demands readDemands(const std::string& path, const Network& network, Findings& findings) {
    return demandsFrom(path, readFile(path), network, findings);
}

}  // namespace workbench
