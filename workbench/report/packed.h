// Texts that are too long to stand in a page as they are.
#pragma once

#include <string>

namespace workbench {

// The text compressed as gzip does, in base 64. The same text gives the same bytes.
std::string packed(const std::string& text);

}  // namespace workbench
