// What a plan does for every class and level, as a table and as JSON.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "graph/shortest.h"
#include "plan.h"

namespace workbench {

void printClasses(const Plan& plan);
nlohmann::json classesJson(const Plan& plan);

// "97.3 %", "-" of nothing.
std::string percentText(double part, double whole);

// "1.03, up to 1.50": mean and maximum, "-" without LSPs.
std::string stretchText(const Stretch& stretch);

}  // namespace workbench
