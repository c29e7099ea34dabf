#include "formats/xml.h"

#include <fmt/format.h>

#include <algorithm>

#include "cli/error.h"
#include "formats/units.h"

namespace workbench {

XmlFile::XmlFile(const Source& source) : file_(source.file) {
    for (std::size_t at = 0; at < source.text.size(); at++)
        if (source.text[at] == '\n') lineEnds_.push_back(at);
    const pugi::xml_parse_result result = document_.load_buffer(
        source.text.data(), source.text.size(), pugi::parse_default, pugi::encoding_utf8);
    if (result) return;
    const auto at = std::lower_bound(lineEnds_.begin(), lineEnds_.end(),
                                     static_cast<std::size_t>(result.offset));
    throw InputError(file_, static_cast<int>(at - lineEnds_.begin()) + 1,
                     fmt::format("expected XML: {}", result.description()));
}

int XmlFile::line(pugi::xml_node node) const {
    const auto offset =
        static_cast<std::size_t>(std::max<std::ptrdiff_t>(node.offset_debug(), 0));
    const auto at = std::lower_bound(lineEnds_.begin(), lineEnds_.end(), offset);
    return static_cast<int>(at - lineEnds_.begin()) + 1;
}

void XmlFile::fail(pugi::xml_node node, const std::string& expected) const {
    const std::string id = node.attribute("id").as_string();
    throw InputError(file_, line(node),
                     fmt::format("expected {} in <{}{}>", expected, node.name(),
                                 id.empty() ? "" : fmt::format(" id=\"{}\"", id)));
}

std::string XmlFile::attribute(pugi::xml_node node, const char* name) const {
    const std::string value = node.attribute(name).as_string();
    if (value.empty()) fail(node, fmt::format("the attribute {}", name));
    return value;
}

std::string XmlFile::childText(pugi::xml_node node, const char* name) const {
    const std::string text = textOf(node.child(name));
    if (text.empty()) fail(node, fmt::format("<{}>", name));
    return text;
}

std::optional<double> XmlFile::childNumber(pugi::xml_node node, const char* name) const {
    if (!node.child(name)) return std::nullopt;
    const std::string text = textOf(node.child(name));
    const auto value = parseNumber(text);
    if (!value) fail(node.child(name), fmt::format("a number, got '{}'", text));
    return value;
}

std::string textOf(pugi::xml_node node) {
    const std::string text = node.child_value();
    const char* kBlanks = " \t\r\n";
    const auto first = text.find_first_not_of(kBlanks);
    if (first == std::string::npos) return "";
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

}  // namespace workbench
