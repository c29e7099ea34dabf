// The bandwidth tables of every link, from the LSPs of a plan and nothing else.
#pragma once

#include <vector>

#include "audit/audit.h"
#include "audit/routes.h"

namespace workbench {

std::vector<LinkTables> recomputeTables(const Plan& plan, const Routes& routes);

// Compares the plan's tables with recomputed ones, cell by cell.
TableCheck checkTables(const Plan& plan, const std::vector<LinkTables>& recomputed);

}  // namespace workbench
