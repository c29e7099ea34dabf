// A page has no files.
#include "cli/error.h"
#include "cli/file.h"

std::string workbench::readFile(const std::string& path) {
    throw UserError("There are no files here to read " + path + " from");
}
