// JSON inside a page.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace workbench {

// In one line that can stand in a script element: a name may hold the end of one.
std::string withoutMarkup(const nlohmann::json& data);

}  // namespace workbench
