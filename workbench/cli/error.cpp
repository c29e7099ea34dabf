#include "cli/error.h"

namespace workbench {

static std::string place(const std::string& file, int line) {
    return line > 0 ? file + ":" + std::to_string(line) : file;
}

InputError::InputError(const std::string& file, int line, const std::string& expected)
    : UserError(place(file, line) + ": " + expected) {}

}  // namespace workbench
