// Accounted memory.
//
// Every block carries its payload size in a 32-bit word right before the payload,
// -1 once it is free; allocatedMemory sums the sizes of the live blocks. Payloads
// are aligned for doubles and pointers.
//
// Freed blocks are kept for reuse and never returned to the system: a record owns
// hundreds of tiny vectors, which makes reuse the cheapest allocation there is, and
// the size word of a block that was freed before can always be read again.
#pragma once

#include <cstddef>

#include "common/types.h"

extern Long allocatedMemory;

// A block of sz bytes (mycalloc: nmemb * sz bytes, zeroed), null when there is no
// memory or the size does not fit the size word.
void* mymalloc(std::size_t sz);
void* mycalloc(std::size_t nmemb, std::size_t sz);

// Moves the block to one of sz bytes, contents kept up to the smaller size. Null on
// failure; the old block is then untouched. A null ptr allocates.
void* myrealloc(void* ptr, std::size_t sz);

// Gives the block back. A second call for the same block writes "Warning already
// freed" to standard error and raises allocatedMemory by one. Null is ignored.
void myfree(void* ptr);

// For tests: makes the nth allocation from now fail (1: the next one); 0 stops that.
// Returns how many were left before the one that was to fail so far, 0 if it has failed.
Long failAllocation(Long nth);
