// What the report's page shows of a plan, as the page reads it (page/model.js).
#pragma once

#include <nlohmann/json.hpp>

#include "audit/audit.h"
#include "plan.h"

namespace workbench {

struct Audited {
    std::string file;  // its name, to be shown
    Plan plan;
    AuditResult audit;
    int asked = -1;  // the failure that was asked for by name, by its place
};

// The plan without its tables per failure, and of the audit what every failure does.
// Nodes, links and primaries are named by their positions. Where nodes are drawn is not
// in it.
nlohmann::json planData(const Audited& audited);

// What has become of each LSP, by its position in both plans, null where it is not up.
// Which LSPs of two plans are the same is for compareLsps to say.
nlohmann::json changesOf(const Plan& before, const Plan& after);

}  // namespace workbench
