// What the report's page shows, as the page reads it (page/model.js).
#pragma once

#include <string>

#include "audit/audit.h"
#include "plan.h"

namespace workbench {

struct Audited {
    std::string file;  // its name, to be shown
    Plan plan;
    AuditResult audit;
    int asked = -1;  // the failure that was asked for by name, by its place
};

// The plan without its tables per failure, and of the audit what every failure does, in
// one line of JSON that can stand in a script element. Nodes, links and primaries are
// named by their positions. `before` is an earlier plan to compare with, or null.
std::string pageData(const Audited& now, const Audited* before);

}  // namespace workbench
