// Plans as JSON (schema/plan.schema.json).
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "plan.h"

namespace workbench {

constexpr const char* kPlanFormat = "kavril-plan";
constexpr int kPlanVersion = 1;

// The same plan gives the same text, byte for byte: one line per node, link, demand and
// LSP, numbers with as many digits as it takes to read them back unchanged.
std::string planText(const Plan& plan);

// Reads a plan and checks that whatever it refers to is there; UserError, with the name
// of the file and the place in it, otherwise.
Plan readPlan(const std::string& fileName);

// The same without LSPs, tables and summary, and back, with the same checks.
nlohmann::json headOf(const Plan& plan);
Plan planFromHead(const nlohmann::json& head);

void to_json(nlohmann::json& to, const FailureSet& from);
void from_json(const nlohmann::json& from, FailureSet& to);

nlohmann::json toJson(const Configuration& configuration);
nlohmann::json toJson(const Summary& summary);
nlohmann::json toJson(const PlanDemand& demand);
nlohmann::json toJson(const PlanLsp& lsp);

}  // namespace workbench
