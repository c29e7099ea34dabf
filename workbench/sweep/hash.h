// Names for contents: the same on every machine, today and in a year.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace workbench {

// FNV-1a with 64 bits. `state` is the hash of what stands in front.
constexpr std::uint64_t hashOf(std::string_view text,
                               std::uint64_t state = 0xcbf29ce484222325U) {
    for (const char letter : text) {
        state ^= static_cast<unsigned char>(letter);
        state *= 0x100000001b3U;
    }
    return state;
}

// 16 hexadecimal digits.
inline std::string hashText(std::uint64_t hash) {
    std::string text(16, '0');
    for (auto digit = text.rbegin(); hash != 0; ++digit, hash >>= 4U)
        *digit = "0123456789abcdef"[hash & 15U];
    return text;
}

}  // namespace workbench
