// XML whose nodes know their lines, for messages.
#pragma once

#include <pugixml.hpp>
#include <string>
#include <vector>

#include "formats/draft.h"

namespace workbench {

class XmlFile {
  public:
    // Parses the text. Throws InputError.
    explicit XmlFile(const Source& source);

    pugi::xml_node root() const { return document_.document_element(); }
    int line(pugi::xml_node node) const;

    // "<file>:<line of node>: expected <expected>" with what the element is, as an error.
    [[noreturn]] void fail(pugi::xml_node node, const std::string& expected) const;

    // Attribute or child element of a node; fails if it is missing or empty.
    std::string attribute(pugi::xml_node node, const char* name) const;
    std::string childText(pugi::xml_node node, const char* name) const;
    // Number in a child element, nothing if there is no such child.
    std::optional<double> childNumber(pugi::xml_node node, const char* name) const;

  private:
    std::string file_;
    std::vector<std::size_t> lineEnds_;
    pugi::xml_document document_;
};

// Text of a node without blanks at its ends.
std::string textOf(pugi::xml_node node);

}  // namespace workbench
