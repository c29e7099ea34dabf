// The target of libFuzzer.

#include <cstdio>
#include <cstdlib>

#include "player/play.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::vector<std::string> trace;
    const std::string wrong =
        playInput(Input(data, data + size), {},
                  [&](const Player& player) { trace = player.trace(); });
    if (wrong.empty()) return 0;
    for (const std::string& call : trace) std::fprintf(stderr, "%s\n", call.c_str());
    std::fprintf(stderr, "%s\n", wrong.c_str());
    std::abort();
}
