#include "formats/writers.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <unordered_set>

namespace workbench {

static std::string wordOf(const std::string& name) {
    std::string word = name;
    for (char& letter : word)
        if (static_cast<unsigned char>(letter) <= ' ' || letter == '(' || letter == ')' ||
            letter == '#')
            letter = '_';
    return word;
}

std::vector<std::string> wordsFor(const std::vector<std::string>& names,
                                  const std::string& what, Findings& findings) {
    std::vector<std::string> words;
    std::unordered_set<std::string> taken;
    for (const std::string& name : names) {
        std::string word = wordOf(name);
        if (word.empty()) word = fmt::format("{}_{}", what, words.size());
        const std::string base = word;
        for (int copy = 2; !taken.insert(word).second; copy++)
            word = fmt::format("{}_{}", base, copy);
        if (word != name && !name.empty())
            findings.push_back(
                {FindingKind::RenamedNode,
                 fmt::format("{} '{}' is written as '{}'", what, name, word)});
        words.push_back(word);
    }
    return words;
}

double inUnit(double bandwidth, double unit) {
    const double value = unit < 1 ? bandwidth * std::round(1 / unit) : bandwidth / unit;
    const double whole = std::round(value);
    return std::abs(value - whole) <= 1e-9 * std::abs(whole) ? whole : value;
}

void noteLostAttributes(const Network& network, const Kept& kept, const char* format,
                        Findings& findings) {
    const auto count = [&](auto lost) {
        return std::count_if(network.links.begin(), network.links.end(), lost);
    };
    const auto note = [&](const char* what, std::ptrdiff_t links) {
        if (links > 0)
            findings.push_back({FindingKind::LostAttribute,
                                fmt::format("{} of {} links: {} has no place for it",
                                            what, links, format)});
    };
    note("colour", count([](const Link& link) { return link.colour != 0; }));
    if (!kept.metric)
        note("metric", count([](const Link& link) { return link.metric.has_value(); }));
    if (!kept.delay)
        note("delay", count([](const Link& link) { return link.delay.has_value(); }));
    if (!kept.groups)
        note("groups", count([](const Link& link) { return !link.groups.empty(); }));
}

void noteMissingUnit(const std::string& unit, const char* taken, Findings& findings) {
    if (!unit.empty()) return;
    findings.push_back({FindingKind::AssumedUnit,
                        fmt::format("bandwidths without a unit are written in {} as if "
                                    "they were in Mbit/s",
                                    taken)});
}

}  // namespace workbench
