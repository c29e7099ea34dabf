// Where malloc takes memory from, in place of the C library's function: that one grows
// the module's memory for every 64 KB, and each time costs the engine a collection of
// garbage, which comes to 20 s for 1 GB in V8.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>

namespace {

constexpr std::size_t kPage = 64 * 1024;

std::size_t nbPages() {
    return __builtin_wasm_memory_size(0);
}

bool grow(std::size_t pages) {
    return __builtin_wasm_memory_grow(0, pages) != static_cast<std::size_t>(-1);
}

}  // namespace

// Called when there is no more. A module that can do nothing without may end the call
// here.
[[gnu::weak]] void memoryHasEnded() {}

// malloc asks for whole pages. Memory grows by an eighth at least, if there is as much.
extern "C" void* sbrk(std::intptr_t bytes) {
    static std::size_t used = nbPages();
    const std::size_t before = used;
    const std::size_t needed = used + static_cast<std::size_t>(bytes) / kPage;
    if (needed > nbPages()) {
        const std::size_t missing = needed - nbPages();
        if (!grow(std::max(missing, nbPages() / 8)) && !grow(missing)) {
            memoryHasEnded();
            errno = ENOMEM;
            return reinterpret_cast<void*>(-1);
        }
    }
    used = needed;
    return reinterpret_cast<void*>(before * kPage);
}
