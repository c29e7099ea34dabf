// Pools of blocks: a block that is released is kept in a list by size, for reuse; all
// memory goes back to the system when its pool ends.
//
// A block is a header of two 32-bit words and the payload. The first word is the
// pool's: the block's size class, the number of its pool, and whether it is in use. The
// second belongs to the owner of the block and keeps its value while the block is free.
//
// Nothing here waits for other threads: a pool is used by one at a time.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "common/memory.h"

// Capacities: multiples of 8 up to 128 bytes, then four steps per power of two, so
// that at most a quarter of a block is slack.
constexpr std::size_t kLinearMax = 128;
constexpr std::uint32_t kLinearClasses = kLinearMax / 8;
constexpr std::uint32_t kSizeClasses = kLinearClasses + 4 * 24;  // up to 2 GiB

struct MemoryPool {
    std::uint32_t number = 0;
    std::atomic<Long> accounted = 0;    // bytes; others read it at any time
    struct Chunk* chunks = nullptr;     // all that has come from the system
    std::size_t slabBytes = 64 * 1024;  // of the next slab
    char* slabNext = nullptr;
    char* slabEnd = nullptr;
    void* freeBlocks[kSizeClasses] = {};  // a free block's payload starts with the next
};

// The first is that of all who have none of their own; it never ends. Whoever has a block
// of a pool may read the pool's entry: it stays.
constexpr std::uint32_t kMaxPools = 1024;
extern MemoryPool* pools[kMaxPools];

// In front of each payload.
struct BlockHeader {
    std::uint32_t tag;  // kInUse, the pool's number, the size class
    Long ownersWord;
};
constexpr std::uint32_t kClassBits = 8;
constexpr std::uint32_t kInUse = 0x80000000U;
static_assert(kSizeClasses <= 1U << kClassBits);

inline BlockHeader* headerOf(void* payload) {
    return static_cast<BlockHeader*>(payload) - 1;
}

inline MemoryPool* poolOf(void* payload) {
    return pools[(headerOf(payload)->tag & ~kInUse) >> kClassBits];
}

// A payload of at least sz bytes, its first sz bytes cleared if zeroed; null when the
// system has no memory left.
void* takeBlock(MemoryPool* pool, std::size_t sz, bool zeroed);

// Whether the block can hold sz bytes where it is; too large a block moves too.
bool resizeBlock(void* payload, std::size_t sz);

// Keeps the block for reuse by the pool that it is from. Releasing a free block does
// nothing.
void releaseBlock(MemoryPool* pool, void* payload);

// A sum that wraps: the counters are 32 bits wide, memory is not.
inline Long wrapped(Long count, Long bytes) {
    return static_cast<Long>(static_cast<std::uint32_t>(count) +
                             static_cast<std::uint32_t>(bytes));
}

// Adds to what the pool's blocks are accounted with.
inline void account(MemoryPool* pool, Long bytes) {
    const Long before = pool->accounted.load(std::memory_order_relaxed);
    pool->accounted.store(wrapped(before, bytes), std::memory_order_relaxed);
}

// What is accounted in all pools, also in those that have ended.
Long accountedBytes();
