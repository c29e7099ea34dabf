// One function per command, each in the file of its name; see cli/shared.h for the shape.
#pragma once

#include "cli/shared.h"

namespace workbench {

void addInfo(CLI::App& app, Shared& shared);
void addConvert(CLI::App& app, Shared& shared);
void addPlace(CLI::App& app, Shared& shared);
void addAudit(CLI::App& app, Shared& shared);
void addHeadroom(CLI::App& app, Shared& shared);
void addImprove(CLI::App& app, Shared& shared);
void addExplain(CLI::App& app, Shared& shared);
void addChange(CLI::App& app, Shared& shared);
void addDiff(CLI::App& app, Shared& shared);
void addUpgrade(CLI::App& app, Shared& shared);
void addSweep(CLI::App& app, Shared& shared);
void addReport(CLI::App& app, Shared& shared);
void addExport(CLI::App& app, Shared& shared);
void addGravity(CLI::App& app, Shared& shared);

}  // namespace workbench
