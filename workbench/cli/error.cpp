#include "cli/error.h"

namespace workbench {

static std::string place(const std::string& file, int line) {
    return line > 0 ? file + ":" + std::to_string(line) : file;
}

// A piece of a strange file may hold anything.
static std::string printable(std::string text) {
    for (char& letter : text)
        if (static_cast<unsigned char>(letter) < ' ' || letter == 127) letter = '?';
    return text;
}

InputError::InputError(const std::string& file, int line, const std::string& expected)
    : UserError(place(file, line) + ": " + printable(expected)) {}

}  // namespace workbench
