// Accounted memory.
//
// Every block carries its payload size in a 32-bit word right before the payload,
// -1 once it is free; allocatedMemory sums the sizes of the live blocks. Payloads
// are aligned for doubles and pointers.
//
// Blocks come from pools and, once freed, stay with their pool for reuse: a record owns
// many tiny vectors, which makes reuse the cheapest allocation there is, and the size
// word of a block that was freed before can be read again as long as its pool lives.
//
// Every session has a pool. Who has none, uses one that all share, which any thread may
// use at any time; other pools are used by one thread at a time.
#pragma once

#include <cstddef>

#include "common/types.h"

// Reads as the bytes that are live in all pools. What a pool still has when it ends
// counts on: it was lost.
struct AllocatedMemory {
    operator Long() const;
};
inline constexpr AllocatedMemory allocatedMemory = {};

// A block of sz bytes (mycalloc: nmemb * sz bytes, zeroed), null when there is no
// memory or the size does not fit the size word.
void* mymalloc(std::size_t sz);
void* mycalloc(std::size_t nmemb, std::size_t sz);

// So many blocks of sz bytes each, at less than the price of as many calls. All or none:
// false if there is no memory.
bool mymallocEach(void** blocks, std::size_t nb, std::size_t sz);

// Moves the block to one of sz bytes in the same pool, contents kept up to the smaller
// size. Null on failure; the old block is then untouched. A null ptr allocates.
void* myrealloc(void* ptr, std::size_t sz);

// Gives the block back to its pool. A second call for the same block writes "Warning
// already freed" to standard error and raises allocatedMemory by one. Null is ignored.
void myfree(void* ptr);

struct MemoryPool;

// A pool of its own; null when the system has no memory left, or with a thousand pools.
MemoryPool* memoryPoolNew();

// Gives all memory of the pool back to the system, also that of blocks in use.
void memoryPoolDestroy(MemoryPool* pool);

// From now on this thread's blocks come from the pool, or from the shared one for null.
// Returns the pool that it was, null for the shared one.
MemoryPool* useMemoryPool(MemoryPool* pool);

// For tests: makes the nth allocation of this thread from now fail (1: the next one); 0
// stops that. Returns how many were left before the one that was to fail so far, 0 if it
// has failed.
Long failAllocation(Long nth);
