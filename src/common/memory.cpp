#include "common/memory.h"

#include <cstdio>
#include <cstring>
#include <limits>
#include <utility>

#include "common/block_pool.h"

Long allocatedMemory = 0;

namespace {

constexpr Long kFreed = -1;
Long allocationsToFailure = 0;

// Wraps instead of overflowing: the counter is 32 bits wide, memory is not.
void account(Long bytes) {
    allocatedMemory = static_cast<Long>(static_cast<std::uint32_t>(allocatedMemory) +
                                        static_cast<std::uint32_t>(bytes));
}

bool refuses(std::size_t sz) {
    if (allocationsToFailure > 0 && --allocationsToFailure == 0) return true;
    return sz > static_cast<std::size_t>(std::numeric_limits<Long>::max());
}

void* allocate(std::size_t sz, bool zeroed) {
    if (refuses(sz)) return nullptr;
    void* payload = takeBlock(sz, zeroed);
    if (payload == nullptr) return nullptr;
    *sizeWord(payload) = static_cast<Long>(sz);
    account(static_cast<Long>(sz));
    return payload;
}

}  // namespace

Long failAllocation(Long nth) {
    return std::exchange(allocationsToFailure, nth);
}

void* mymalloc(std::size_t sz) {
    return allocate(sz, false);
}

void* mycalloc(std::size_t nmemb, std::size_t sz) {
    if (sz != 0 && nmemb > std::numeric_limits<std::size_t>::max() / sz) return nullptr;
    return allocate(nmemb * sz, true);
}

void* myrealloc(void* ptr, std::size_t sz) {
    if (ptr == nullptr) return mymalloc(sz);
    if (refuses(sz)) return nullptr;
    const Long oldSize = *sizeWord(ptr);
    void* payload = ptr;
    if (!resizeBlock(ptr, sz)) {
        payload = takeBlock(sz, false);
        if (payload == nullptr) return nullptr;
        const auto kept = static_cast<std::size_t>(oldSize);
        std::memcpy(payload, ptr, kept < sz ? kept : sz);
        *sizeWord(ptr) = kFreed;
        releaseBlock(ptr);
    }
    *sizeWord(payload) = static_cast<Long>(sz);
    account(static_cast<Long>(sz) - oldSize);
    return payload;
}

void myfree(void* ptr) {
    if (ptr == nullptr) return;
    Long* size = sizeWord(ptr);
    if (*size == kFreed) std::fputs("Warning already freed\n", stderr);
    account(-*size);
    *size = kFreed;
    releaseBlock(ptr);
}
