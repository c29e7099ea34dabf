#include "names.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>
#include <optional>
#include <tuple>

#include "cli/error.h"

namespace workbench {

namespace {

// Small letters, also those of Latin-1 in UTF-8, and blanks for '_'.
std::string folded(const std::string& text) {
    std::string result;
    for (const char letter : text) {
        const auto code = static_cast<unsigned char>(letter);
        const bool latin = !result.empty() && result.back() == '\xC3';
        if (letter >= 'A' && letter <= 'Z')
            result += static_cast<char>(letter + 32);
        else if (latin && code >= 0x80 && code <= 0x9E && code != 0x97)
            result += static_cast<char>(code + 32);
        else
            result += letter == '_' ? ' ' : letter;
    }
    return result;
}

std::string trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string::npos) return "";
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

// Letters to change, add or leave out to get from one to the other.
std::size_t distance(const std::string& a, const std::string& b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), 0);
    for (std::size_t i = 0; i < a.size(); i++) {
        std::size_t diagonal = row[0]++;
        for (std::size_t j = 0; j < b.size(); j++) {
            const std::size_t change = diagonal + (a[i] == b[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({change, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

std::optional<int> findNodeIn(const NameIndex& names, std::size_t nodes,
                              const std::string& text) {
    int node = names.find(text);
    const bool number = !text.empty() && text.size() < 10 &&
                        text.find_first_not_of("0123456789") == std::string::npos;
    if (node < 0 && number) node = std::stoi(text);
    return node >= 0 && node < static_cast<int>(nodes) ? std::optional(node)
                                                       : std::nullopt;
}

}  // namespace

NameIndex::NameIndex(std::vector<std::string> names) : names_(std::move(names)) {
    for (const std::string& name : names_) folded_.push_back(folded(name));
}

int NameIndex::find(const std::string& name) const {
    const auto exact = std::ranges::find(names_, name);
    if (exact != names_.end()) return static_cast<int>(exact - names_.begin());
    const std::string wanted = folded(name);
    const auto first = std::ranges::find(folded_, wanted);
    const bool alone = std::ranges::count(folded_, wanted) == 1;
    return alone ? static_cast<int>(first - folded_.begin()) : -1;
}

std::string NameIndex::suggestion(const std::string& name) const {
    const std::string wanted = folded(name.substr(0, 100));
    // By distance; a name that goes on where the wanted one ends is as good as a slip.
    std::vector<std::pair<std::size_t, std::size_t>> close;
    for (std::size_t i = 0; i < names_.size(); i++) {
        const bool starts = wanted.size() > 1 && folded_[i].starts_with(wanted);
        const std::size_t changes = starts ? 1 : distance(wanted, folded_[i]);
        if (changes <= 1 + wanted.size() / 4 && changes < folded_[i].size())
            close.emplace_back(changes, i);
    }
    std::ranges::sort(close);
    constexpr std::size_t kMost = 3;
    std::string text;
    for (std::size_t i = 0; i < std::min(kMost, close.size()); i++)
        text += fmt::format("{}'{}'", i == 0 ? "" : " or ", names_[close[i].second]);
    return text.empty() ? "" : fmt::format(" (did you mean {}?)", text);
}

NameIndex nodeNames(const Network& network) {
    std::vector<std::string> names;
    for (const Node& node : network.nodes) names.push_back(node.name);
    return NameIndex(std::move(names));
}

int nodeNamed(const Network& network, const std::string& text) {
    const NameIndex names = nodeNames(network);
    if (const auto node = findNodeIn(names, network.nodes.size(), text)) return *node;
    throw UserError(
        fmt::format("the network has no node '{:.60}'{}", text, names.suggestion(text)));
}

std::vector<int> linksNamed(const Network& network, const std::string& text) {
    std::vector<int> links;
    for (const Link& link : network.links)
        if (!link.name.empty() && link.name == text) links.push_back(link.id);
    if (!links.empty()) return links;
    const NameIndex names = nodeNames(network);
    bool endsKnown = false;
    // Names may hold a '-' themselves: every one of them may be the one that parts two.
    for (std::size_t at = text.find_first_of("->"); at != std::string::npos;
         at = text.find_first_of("->", at + 1)) {
        const auto end = [&](const std::string& part) {
            return findNodeIn(names, network.nodes.size(), trimmed(part));
        };
        const auto src = end(text.substr(0, at));
        const bool arrow = text.compare(at, 2, "->") == 0;
        const auto dst = end(text.substr(at + (arrow ? 2 : 1)));
        if (!src || !dst) continue;
        endsKnown = true;
        const bool bothWays = text[at] == '-' && !arrow;
        for (const Link& link : network.links)
            if ((link.src == *src && link.dst == *dst) ||
                (bothWays && link.src == *dst && link.dst == *src))
                links.push_back(link.id);
        if (!links.empty()) return links;
    }
    if (endsKnown) throw UserError(fmt::format("no link joins the ends of '{}'", text));
    std::vector<std::string> all;
    for (const Link& link : network.links) all.push_back(linkName(network, link.id));
    throw UserError(
        fmt::format("the network has no link '{:.60}'{}: name it as 'A > B', or 'A - B' "
                    "for both directions",
                    text, NameIndex(std::move(all)).suggestion(text)));
}

int classNamed(const std::vector<TrafficClass>& classes, const std::string& text) {
    std::vector<std::string> all;
    for (const TrafficClass& known : classes) all.push_back(known.name);
    const NameIndex names(std::move(all));
    const int found = names.find(text);
    if (found < 0)
        throw UserError(
            fmt::format("there is no class '{:.60}'{}", text, names.suggestion(text)));
    return found;
}

}  // namespace workbench
