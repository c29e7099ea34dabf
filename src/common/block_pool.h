// Blocks of memory, kept in lists by size once they are released.
//
// A block is a header of two 32-bit words and the payload. The first word is the
// pool's: the block's size class, and whether it is in use. The second belongs to
// the owner of the block and keeps its value while the block is free.
#pragma once

#include <cstddef>

#include "common/types.h"

// A payload of at least sz bytes, its first sz bytes cleared if zeroed; null when the
// system has no memory left.
void* takeBlock(std::size_t sz, bool zeroed);

// Whether the block can hold sz bytes where it is; too large a block moves too.
bool resizeBlock(void* payload, std::size_t sz);

// Keeps the block for reuse. Releasing a free block does nothing.
void releaseBlock(void* payload);

// The owner's word, right before the payload.
inline Long* sizeWord(void* payload) {
    return static_cast<Long*>(payload) - 1;
}
