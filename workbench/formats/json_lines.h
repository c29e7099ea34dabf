// JSON whose objects know the lines that they start on, for messages.
#pragma once

#include <nlohmann/json.hpp>

#include "formats/draft.h"

namespace workbench {

// Parses the text. Every object gains the member kLineKey. Throws InputError.
nlohmann::json parseWithLines(const Source& source);

inline constexpr const char* kLineKey = "\1line";

// Line of an object that parseWithLines has read, 0 for any other value.
int lineOf(const nlohmann::json& value);

}  // namespace workbench
