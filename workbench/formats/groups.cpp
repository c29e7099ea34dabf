#include "formats/groups.h"

namespace workbench {

static std::string trimmed(const std::string& text) {
    constexpr const char* kBlanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == text.npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

std::vector<std::string> groupsOf(std::string_view text) {
    std::vector<std::string> groups;
    std::string group;
    const auto finish = [&] {
        if (group = trimmed(group); !group.empty()) groups.push_back(group);
        group.clear();
    };
    for (std::size_t at = 0; at < text.size(); at++) {
        const bool isEscaped = text[at] == '\\' && at + 1 < text.size() &&
                               (text[at + 1] == ';' || text[at + 1] == '\\');
        if (isEscaped) at++;
        if (text[at] == ';' && !isEscaped)
            finish();
        else
            group += text[at];
    }
    finish();
    return groups;
}

std::string groupsText(const std::vector<std::string>& groups) {
    std::string text;
    for (const std::string& group : groups) {
        if (!text.empty()) text += ';';
        for (const char letter : group) {
            if (letter == ';' || letter == '\\') text += '\\';
            text += letter;
        }
    }
    return text;
}

}  // namespace workbench
