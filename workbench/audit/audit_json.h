// The result of an audit as JSON (schema/audit.schema.json).
#pragma once

#include <nlohmann/json.hpp>

#include "audit/verdict.h"

namespace workbench {

nlohmann::json toJson(const AuditResult& result, const Verdict& verdict,
                      const Plan& plan);

nlohmann::json toJson(const Load& load);

// Without its class and level, and with them.
nlohmann::json toJson(const Fate& fate);
nlohmann::json toJson(const Fate& fate, const Plan& plan);
nlohmann::json toJson(const std::vector<Fate>& fates, const Plan& plan);

}  // namespace workbench
