#include "formats/groups.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

namespace workbench {

std::vector<std::string> groupsOf(std::string_view text) {
    constexpr const char* kBlanks = " \t\r\n";
    std::vector<std::string> groups;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find(';', at), text.size());
        const std::string_view part = text.substr(at, end - at);
        const std::size_t first = part.find_first_not_of(kBlanks);
        if (first != part.npos)
            groups.emplace_back(
                part.substr(first, part.find_last_not_of(kBlanks) + 1 - first));
        at = end + 1;
    }
    return groups;
}

std::string groupsText(const std::vector<std::string>& groups) {
    return fmt::format("{}", fmt::join(groups, ";"));
}

}  // namespace workbench
