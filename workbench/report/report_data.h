// The data inside a report.
#pragma once

#include <nlohmann/json.hpp>

#include "report/page_data.h"

namespace workbench {

// What the page shows of a plan, and where its nodes are drawn. `before` is an earlier
// plan to compare with, or null.
nlohmann::json reportData(const Audited& now, const Audited* before);

}  // namespace workbench
