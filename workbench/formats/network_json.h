// Networks and demands in KAVRIL's own JSON (schema/network.schema.json,
// schema/demands.schema.json; docs/formats.md).
#pragma once

#include <nlohmann/json.hpp>

#include "network.h"

namespace workbench {

nlohmann::json toJson(const Network& network);

// Names the ends of the demands, so that they can be used with another network.
nlohmann::json toJson(const Demands& demands, const Network& network);

// As written by toJson; nothing is tidied. Throws UserError naming file, line and member.
Network networkFromJson(const nlohmann::json& json, const std::string& file);

}  // namespace workbench
