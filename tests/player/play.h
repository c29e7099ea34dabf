// Plays one input, or several at once.
#pragma once

#include <functional>

#include "player/player.h"

using Input = std::vector<std::uint8_t>;

// What is wrong, or nothing. `look` sees the player when it is done.
std::string playInput(const Input& input, Rules rules,
                      const std::function<void(const Player&)>& look);

// Threads play every nth of the inputs each, beside a twin of its own, and between the
// calls make others on sessions that all of them share, kill and open. Returns the number
// of calls; says what is wrong, if anything is.
long playInThreads(long threads, long from, long to,
                   const std::function<Input(long)>& inputAt, std::string* wrong);
