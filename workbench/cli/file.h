// Whole files: read at once, written whole or not at all.
#pragma once

#include <string>

namespace workbench {

// The whole file, "-" for standard input. Throws UserError.
std::string readFile(const std::string& path);

// Writes content to a temporary file beside `path` and renames it. "-" is standard
// output. A path that is a device or a pipe is written straight. Throws UserError; the
// file is then as it was.
void writeFile(const std::string& path, const std::string& content);

}  // namespace workbench
