#include "common/block_pool.h"

#include <sys/mman.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>
#include <mutex>
#include <new>

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

// In front of all that comes from the system.
struct Chunk {
    Chunk* previous;
    std::size_t bytes;
};

namespace {

// Small blocks are carved from slabs, which double in size; larger ones come from the
// system one by one.
constexpr std::size_t kSlabBlockMax = 32 * 1024;
constexpr std::size_t kSlabMax = 2 * 1024 * 1024;

constinit MemoryPool shared;

// Guards the table against those who begin and end pools.
std::mutex poolsLock;
Long lost = 0;  // accounted in pools that have ended

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

std::uint32_t classOfBlock(void* payload) {
    return headerOf(payload)->tag & ((1U << kClassBits) - 1);
}

// Zeroed memory from the system, null if there is none.
char* map(std::size_t bytes) {
    void* memory =
        mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return memory != MAP_FAILED ? static_cast<char*>(memory) : nullptr;
}

// The same at a multiple of its size, so that the system may give it in one large page,
// at a fraction of the time that small ones take. Systems without them cannot give back a
// part of a mapping either.
char* mapLargePage() {
#ifdef __linux__
    char* memory = map(2 * kSlabMax);
    if (memory == nullptr) return nullptr;
    const std::size_t before = -reinterpret_cast<std::uintptr_t>(memory) % kSlabMax;
    if (before > 0) munmap(memory, before);
    munmap(memory + before + kSlabMax, kSlabMax - before);
    madvise(memory + before, kSlabMax, MADV_HUGEPAGE);
    return memory + before;
#else
    return map(kSlabMax);
#endif
}

// So many zeroed bytes.
char* takeChunk(MemoryPool* pool, std::size_t bytes) {
    bytes += sizeof(Chunk);
    char* memory = bytes == kSlabMax ? mapLargePage() : map(bytes);
    if (memory == nullptr) return nullptr;
    auto* chunk = reinterpret_cast<Chunk*>(memory);
    *chunk = {pool->chunks, bytes};
    pool->chunks = chunk;
    return reinterpret_cast<char*>(chunk + 1);
}

bool addSlab(MemoryPool* pool) {
    const std::size_t bytes = pool->slabBytes - sizeof(Chunk);
    char* slab = takeChunk(pool, bytes);
    if (slab == nullptr) return false;
    pool->slabNext = slab;
    pool->slabEnd = slab + bytes;
    pool->slabBytes = std::min(2 * pool->slabBytes, kSlabMax);
    return true;
}

// Room for one block that was never used, zeroed: small ones from the slab.
char* carve(MemoryPool* pool, std::size_t capacity) {
    const std::size_t bytes = sizeof(BlockHeader) + capacity + kGuard;
    if (capacity > kSlabBlockMax) return takeChunk(pool, bytes);
    if (static_cast<std::size_t>(pool->slabEnd - pool->slabNext) < bytes &&
        !addSlab(pool))
        return nullptr;
    char* block = pool->slabNext;
    pool->slabNext += bytes;
    return block;
}

void* popFree(MemoryPool* pool, std::uint32_t sizeClass) {
    void*& first = pool->freeBlocks[sizeClass];
    void* payload = first;
    if (payload != nullptr) std::memcpy(&first, payload, sizeof(void*));
    return payload;
}

}  // namespace

MemoryPool* pools[kMaxPools] = {&shared};

// The pool's record is at the start of its first slab.
MemoryPool* memoryPoolNew() {
    const std::lock_guard<std::mutex> lock(poolsLock);
    MemoryPool** entry =
        std::find(std::begin(pools), std::end(pools), static_cast<MemoryPool*>(nullptr));
    if (entry == std::end(pools)) return nullptr;
    MemoryPool first;
    if (!addSlab(&first)) return nullptr;
    auto* pool = new (first.slabNext) MemoryPool;
    pool->number = static_cast<std::uint32_t>(entry - pools);
    pool->chunks = first.chunks;
    pool->slabBytes = first.slabBytes;
    pool->slabNext = first.slabNext + sizeof(MemoryPool);
    pool->slabEnd = first.slabEnd;
    return *entry = pool;
}

void memoryPoolDestroy(MemoryPool* pool) {
    if (pool == nullptr || pool == &shared) return;
    {
        const std::lock_guard<std::mutex> lock(poolsLock);
        pools[pool->number] = nullptr;
        lost = wrapped(lost, pool->accounted.load(std::memory_order_relaxed));
    }
    for (Chunk* chunk = pool->chunks; chunk != nullptr;) {
        Chunk* const previous = chunk->previous;
        unpoison(chunk, chunk->bytes);  // for whoever gets these addresses
        munmap(chunk, chunk->bytes);
        chunk = previous;
    }
}

Long accountedBytes() {
    const std::lock_guard<std::mutex> lock(poolsLock);
    Long sum = lost;
    for (const MemoryPool* pool : pools)
        if (pool != nullptr)
            sum = wrapped(sum, pool->accounted.load(std::memory_order_relaxed));
    return sum;
}

void* takeBlock(MemoryPool* pool, std::size_t sz, bool zeroed) {
    const std::uint32_t sizeClass = classOf(sz);
    const std::size_t capacity = capacityOf(sizeClass);
    void* payload = popFree(pool, sizeClass);
    if (payload == nullptr) {
        char* memory = carve(pool, capacity);
        if (memory == nullptr) return nullptr;
        payload = memory + sizeof(BlockHeader);
        zeroed = false;  // it is, page by page as it is used
    }
    headerOf(payload)->tag = kInUse | pool->number << kClassBits | sizeClass;
    poison(payload, capacity + kGuard);
    unpoison(payload, sz);
    if (zeroed) std::memset(payload, 0, sz);
    return payload;
}

bool resizeBlock(void* payload, std::size_t sz) {
    const std::size_t capacity = capacityOf(classOfBlock(payload));
    if (sz > capacity || sz < capacity / 4) return false;
    poison(payload, capacity);
    unpoison(payload, sz);
    return true;
}

void releaseBlock(MemoryPool* pool, void* payload) {
    BlockHeader* header = headerOf(payload);
    if ((header->tag & kInUse) == 0) return;
    header->tag &= ~kInUse;
    const std::uint32_t sizeClass = classOfBlock(payload);
    void*& first = pool->freeBlocks[sizeClass];
    poison(payload, capacityOf(sizeClass) + kGuard);
    unpoison(payload, sizeof(void*));
    std::memcpy(payload, &first, sizeof(void*));
    first = payload;
}
