// Plays one input.
#pragma once

#include <functional>

#include "player/player.h"

using Input = std::vector<std::uint8_t>;

// What is wrong, or nothing. `look` sees the player when it is done.
std::string playInput(const Input& input, Rules rules,
                      const std::function<void(const Player&)>& look);
