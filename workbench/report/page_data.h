// What the report's page shows, as the page reads it (page/model.js).
#pragma once

#include <string>

#include "audit/audit.h"
#include "plan.h"

namespace workbench {

// The plan without its tables per failure, and of the audit what every failure does, in
// one line of JSON that can stand in a script element. Nodes, links and primaries are
// named by their positions.
std::string pageData(const Plan& plan, const AuditResult& audit);

}  // namespace workbench
