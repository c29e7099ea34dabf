#include "player/short_memory.h"

#include <cstddef>
#include <utility>

#include "error/error.h"

namespace {

long left = 0;
bool stays = false;
bool hasFailed = false;

// An error stack is always to be had: without one the process ends.
bool refuses(std::size_t bytes) {
    if (bytes == sizeof(ErrorElem) || left == 0) return false;
    if (left > 1) {
        left--;
        return false;
    }
    hasFailed = true;
    if (!stays) left = 0;
    return true;
}

}  // namespace

void shortenMemory(long nth, bool staysShort) {
    left = nth;
    stays = staysShort;
    hasFailed = false;
}

long restoreMemory() {
    const long before = std::exchange(left, 0);
    return hasFailed ? 0 : before;
}

// The names are those of mymalloc, mymallocEach, mycalloc and myrealloc.
extern "C" {
void* __real__Z8mymallocm(std::size_t bytes);
bool __real__Z12mymallocEachPPvmm(void** blocks, std::size_t nb, std::size_t bytes);
void* __real__Z8mycallocmm(std::size_t number, std::size_t bytes);
void* __real__Z9myreallocPvm(void* block, std::size_t bytes);

void* __wrap__Z8mymallocm(std::size_t bytes) {
    return refuses(bytes) ? nullptr : __real__Z8mymallocm(bytes);
}
bool __wrap__Z12mymallocEachPPvmm(void** blocks, std::size_t nb, std::size_t bytes) {
    return !refuses(bytes) && __real__Z12mymallocEachPPvmm(blocks, nb, bytes);
}
void* __wrap__Z8mycallocmm(std::size_t number, std::size_t bytes) {
    return refuses(number * bytes) ? nullptr : __real__Z8mycallocmm(number, bytes);
}
void* __wrap__Z9myreallocPvm(void* block, std::size_t bytes) {
    return refuses(bytes) ? nullptr : __real__Z9myreallocPvm(block, bytes);
}
}
