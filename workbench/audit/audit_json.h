// The result of an audit as JSON (schema/audit.schema.json).
#pragma once

#include <nlohmann/json.hpp>

#include "audit/audit.h"

namespace workbench {

nlohmann::json toJson(const AuditResult& result, const Plan& plan);

}  // namespace workbench
