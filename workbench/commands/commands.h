// One function per command, each in the file of its name; see cli/shared.h for the shape.
#pragma once

#include "cli/shared.h"

namespace workbench {

void addInfo(CLI::App& app, Shared& shared);
void addConvert(CLI::App& app, Shared& shared);
void addReport(CLI::App& app, Shared& shared);

}  // namespace workbench
