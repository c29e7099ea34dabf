// An explanation as JSON.
#pragma once

#include <nlohmann/json.hpp>

#include "engine/explain.h"

namespace workbench {

nlohmann::json toJson(const Explanation& explanation, const Request& request,
                      const Plan& plan);

}  // namespace workbench
