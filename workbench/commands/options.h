// Values of options that several commands take.
#pragma once

#include <string>
#include <vector>

#include "cli/shared.h"

namespace workbench {

// NETWORK [DEMANDS]: a network and the matrix that is placed in it.
void addMatrixArguments(CLI::App& cmd, std::string* network, std::string* demands);

// --survive KINDS: what the backups of a configuration are there for.
void addSurviveOption(CLI::App& cmd, Configuration* configuration);

// --jobs N: by default as many as there are cores.
void addJobsOption(CLI::App& cmd, int* jobs);

}  // namespace workbench
