// Whole files: read at once, written whole or not at all.
#pragma once

#include <string>

namespace workbench {

// The whole file, "-" for standard input. Throws UserError.
std::string readFile(const std::string& path);

// Writes content to a temporary file beside `path` and renames it; a file that is there
// already keeps its mode, and a symbolic link leads to the new file. "-" is standard
// output. A path that is a device or a pipe is written straight. Throws UserError; the
// file is then as it was.
void writeFile(const std::string& path, const std::string& content);

// Throws UserError if writeFile would not even begin. For before long work.
void checkOutput(const std::string& path);

// Writes out what was printed. Throws UserError if some of it was lost.
void flushOutput();

}  // namespace workbench
