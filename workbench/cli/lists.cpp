#include "cli/lists.h"

#include <fmt/format.h>

namespace workbench {

void printMore(std::size_t all, std::size_t most, int indent) {
    if (all > most) fmt::print("{:{}}and {} more\n", "", indent, all - most);
}

}  // namespace workbench
