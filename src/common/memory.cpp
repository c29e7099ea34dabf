#include "common/memory.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <mutex>
#include <utility>

#include "common/block_pool.h"

namespace {

constexpr Long kFreed = -1;

struct Here {
    MemoryPool* pool;  // null for the shared one
    Long allocationsToFailure;
};
constinit thread_local Here here = {};

std::mutex sharedLock;

// Where threads wait for each other. Apart, so that the usual way needs no frame for it.
template <class Act>
[[gnu::noinline]] auto inShared(Act act) {
    const std::lock_guard<std::mutex> lock(sharedLock);
    return act();
}

template <class Act>
auto in(const MemoryPool* pool, Act act) {
    return pool == pools[0] ? inShared(act) : act();
}

bool refuses(std::size_t sz) {
    Long& left = here.allocationsToFailure;
    if (left > 0 && --left == 0) return true;
    return sz > static_cast<std::size_t>(std::numeric_limits<Long>::max());
}

void* take(MemoryPool* pool, std::size_t sz, bool zeroed) {
    void* payload = takeBlock(pool, sz, zeroed);
    if (payload == nullptr) return nullptr;
    headerOf(payload)->ownersWord = static_cast<Long>(sz);
    account(pool, static_cast<Long>(sz));
    return payload;
}

// False if the block was free already.
bool release(MemoryPool* pool, void* ptr) {
    const Long size = std::exchange(headerOf(ptr)->ownersWord, kFreed);
    account(pool, -size);
    releaseBlock(pool, ptr);
    return size != kFreed;
}

bool takeEach(MemoryPool* pool, void** blocks, std::size_t nb, std::size_t sz) {
    for (std::size_t i = 0; i < nb; i++) {
        blocks[i] = refuses(sz) ? nullptr : take(pool, sz, false);
        if (blocks[i] != nullptr) continue;
        while (i > 0) release(pool, blocks[--i]);
        return false;
    }
    return true;
}

MemoryPool* poolHere() {
    return here.pool != nullptr ? here.pool : pools[0];
}

void* allocate(std::size_t sz, bool zeroed) {
    if (refuses(sz)) return nullptr;
    MemoryPool* pool = poolHere();
    return in(pool, [=] { return take(pool, sz, zeroed); });
}

void* move(MemoryPool* pool, void* ptr, std::size_t sz) {
    const Long oldSize = headerOf(ptr)->ownersWord;
    void* payload = ptr;
    if (!resizeBlock(ptr, sz)) {
        payload = takeBlock(pool, sz, false);
        if (payload == nullptr) return nullptr;
        const auto kept = static_cast<std::size_t>(oldSize);
        std::memcpy(payload, ptr, kept < sz ? kept : sz);
        headerOf(ptr)->ownersWord = kFreed;
        releaseBlock(pool, ptr);
    }
    headerOf(payload)->ownersWord = static_cast<Long>(sz);
    account(pool, static_cast<Long>(sz) - oldSize);
    return payload;
}

}  // namespace

AllocatedMemory::operator Long() const {
    return accountedBytes();
}

MemoryPool* useMemoryPool(MemoryPool* pool) {
    return std::exchange(here.pool, pool);
}

Long failAllocation(Long nth) {
    return std::exchange(here.allocationsToFailure, nth);
}

void* mymalloc(std::size_t sz) {
    return allocate(sz, false);
}

void* mycalloc(std::size_t nmemb, std::size_t sz) {
    if (sz != 0 && nmemb > std::numeric_limits<std::size_t>::max() / sz) return nullptr;
    return allocate(nmemb * sz, true);
}

bool mymallocEach(void** blocks, std::size_t nb, std::size_t sz) {
    MemoryPool* pool = poolHere();
    return in(pool, [=] { return takeEach(pool, blocks, nb, sz); });
}

void* myrealloc(void* ptr, std::size_t sz) {
    if (ptr == nullptr) return mymalloc(sz);
    if (refuses(sz)) return nullptr;
    MemoryPool* pool = poolOf(ptr);
    return in(pool, [=] { return move(pool, ptr, sz); });
}

void myfree(void* ptr) {
    if (ptr == nullptr) return;
    MemoryPool* pool = poolOf(ptr);
    if (!in(pool, [=] { return release(pool, ptr); }))
        std::fputs("Warning already freed\n", stderr);
}
