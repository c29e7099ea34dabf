#include "common/block_pool.h"

#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#if defined(__SANITIZE_ADDRESS__)
#define KAVRIL_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KAVRIL_ASAN 1
#endif
#endif

#ifdef KAVRIL_ASAN
#include <sanitizer/asan_interface.h>
#endif

namespace {

struct Header {
    std::uint32_t sizeClass;  // kInUse added while the block is out
    Long ownersWord;
};

constexpr std::uint32_t kInUse = 0x80000000U;

// Capacities: multiples of 8 up to 128 bytes, then four steps per power of two, so
// that at most a quarter of a block is slack.
constexpr std::size_t kLinearMax = 128;
constexpr std::uint32_t kLinearClasses = kLinearMax / 8;
constexpr std::uint32_t kSizeClasses = kLinearClasses + 4 * 24;  // up to 2 GiB

// Small blocks are carved from slabs, larger ones come from the system one by one.
constexpr std::size_t kSlabBlockMax = 4096;
constexpr std::size_t kSlabBytes = 64 * 1024;

struct Slab {
    Slab* previous;
};

// A free block's payload starts with the next free block of its class.
void* freeBlocks[kSizeClasses] = {};
Slab* slabs = nullptr;
char* slabNext = nullptr;
char* slabEnd = nullptr;

// Under AddressSanitizer free payloads (but for the link in the list), the slack and
// a guard behind each block are poisoned, as the system allocator's would be.
#ifdef KAVRIL_ASAN
constexpr std::size_t kGuard = 16;
void poison(void* at, std::size_t bytes) {
    ASAN_POISON_MEMORY_REGION(at, bytes);
}
void unpoison(void* at, std::size_t bytes) {
    ASAN_UNPOISON_MEMORY_REGION(at, bytes);
}
#else
constexpr std::size_t kGuard = 0;
void poison(void*, std::size_t) {}
void unpoison(void*, std::size_t) {}
#endif

std::uint32_t classOf(std::size_t sz) {
    if (sz <= kLinearMax) return sz == 0 ? 0 : static_cast<std::uint32_t>((sz - 1) / 8);
    const int bits = std::bit_width(sz - 1);
    const auto quarter = static_cast<std::uint32_t>((sz - 1) >> (bits - 3));  // 4 to 7
    return kLinearClasses + 4 * static_cast<std::uint32_t>(bits - 8) + (quarter - 4);
}

std::size_t capacityOf(std::uint32_t sizeClass) {
    if (sizeClass < kLinearClasses) return 8 * (static_cast<std::size_t>(sizeClass) + 1);
    const std::uint32_t step = sizeClass - kLinearClasses;
    return static_cast<std::size_t>(step % 4 + 5) << (step / 4 + 5);
}

Header* headerOf(void* payload) {
    return static_cast<Header*>(payload) - 1;
}

// Room for one small block, from the current slab or a new one.
char* carve(std::size_t bytes) {
    if (slabNext == nullptr || static_cast<std::size_t>(slabEnd - slabNext) < bytes) {
        char* memory = static_cast<char*>(std::malloc(kSlabBytes));
        if (memory == nullptr) return nullptr;
        Slab* slab = reinterpret_cast<Slab*>(memory);
        slab->previous = slabs;
        slabs = slab;
        slabNext = memory + sizeof(Slab);
        slabEnd = memory + kSlabBytes;
    }
    char* block = slabNext;
    slabNext += bytes;
    return block;
}

void* popFree(std::uint32_t sizeClass) {
    void* payload = freeBlocks[sizeClass];
    if (payload != nullptr) std::memcpy(&freeBlocks[sizeClass], payload, sizeof(void*));
    return payload;
}

}  // namespace

void* takeBlock(std::size_t sz, bool zeroed) {
    const std::uint32_t sizeClass = classOf(sz);
    const std::size_t capacity = capacityOf(sizeClass);
    void* payload = popFree(sizeClass);
    if (payload == nullptr) {
        const std::size_t bytes = sizeof(Header) + capacity + kGuard;
        const bool small = capacity <= kSlabBlockMax;
        // Fresh memory of the system is zero already, page by page as it is used.
        void* memory = small    ? carve(bytes)
                       : zeroed ? std::calloc(1, bytes)
                                : std::malloc(bytes);
        if (memory == nullptr) return nullptr;
        if (!small) zeroed = false;
        payload = static_cast<Header*>(memory) + 1;
    }
    headerOf(payload)->sizeClass = sizeClass | kInUse;
    poison(payload, capacity + kGuard);
    unpoison(payload, sz);
    if (zeroed) std::memset(payload, 0, sz);
    return payload;
}

bool resizeBlock(void* payload, std::size_t sz) {
    const std::uint32_t sizeClass = headerOf(payload)->sizeClass & ~kInUse;
    const std::size_t capacity = capacityOf(sizeClass);
    if (sz > capacity || sz < capacity / 4) return false;
    poison(payload, capacity);
    unpoison(payload, sz);
    return true;
}

void releaseBlock(void* payload) {
    Header* header = headerOf(payload);
    if ((header->sizeClass & kInUse) == 0) return;
    header->sizeClass &= ~kInUse;
    const std::uint32_t sizeClass = header->sizeClass;
    poison(payload, capacityOf(sizeClass) + kGuard);
    unpoison(payload, sizeof(void*));
    std::memcpy(payload, &freeBlocks[sizeClass], sizeof(void*));
    freeBlocks[sizeClass] = payload;
}
