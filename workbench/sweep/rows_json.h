// Rows of a query as JSON: a list of objects with the names of the columns.
#pragma once

#include <nlohmann/json.hpp>

#include "sweep/database.h"

namespace workbench {

nlohmann::json rowsJson(Statement statement);

}  // namespace workbench
