// Backup paths.
#pragma once

#include "twin/state.h"

namespace twin {

// Type 1: one backup per link of the primary, 2: one from end to end. `requests` may hold
// those of a call before.
bool computeBackup(Database& db, std::vector<Request>& requests, Long lspID, int type);

}  // namespace twin
