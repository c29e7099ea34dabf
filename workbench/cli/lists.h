// Long lists on a terminal.
#pragma once

#include <cstddef>

namespace workbench {

// "and 12 more" below the first lines of a list; nothing where these are all.
void printMore(std::size_t all, std::size_t most, int indent = 4);

}  // namespace workbench
