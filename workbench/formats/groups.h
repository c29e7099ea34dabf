// The risk groups of a link in formats that have no lists: "duct 7; bridge". A backslash
// stands before a semicolon or backslash that is part of a name.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace workbench {

// The names between semicolons, without blanks around them.
std::vector<std::string> groupsOf(std::string_view text);
std::string groupsText(const std::vector<std::string>& groups);

}  // namespace workbench
