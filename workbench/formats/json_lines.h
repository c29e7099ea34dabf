// JSON whose objects know the lines that they start on, for messages.
#pragma once

#include <nlohmann/json.hpp>

#include "formats/draft.h"

namespace workbench {

// Parses the text. Every object gains the member kLineKey. Throws InputError, also for
// lists and objects that are nested deeper than any file of ours.
nlohmann::json parseWithLines(const Source& source);

inline constexpr const char* kLineKey = "\1line";

// Line of an object that parseWithLines has read, 0 for any other value.
int lineOf(const nlohmann::json& value);

// The library's message without its own numbering: "expected a number, got a string".
std::string plainMessage(const nlohmann::json::exception& error);

}  // namespace workbench
