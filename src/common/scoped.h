// Records that end themselves when their scope is left, so that no exit of a function
// repeats the clean-up.
#pragma once

#include "common/long_list.h"

// A zeroed record until its user initialises it; isLive tells whether it has been.
template <class Record, int (*end)(Record*), bool (*isLive)(const Record*)>
struct Scoped : Record {
    Scoped() : Record{} {}
    ~Scoped() {
        if (isLive(this)) end(this);
    }
    Scoped(const Scoped&) = delete;
    Scoped& operator=(const Scoped&) = delete;
};

template <class V>
bool hasContents(const V* vec) {
    return vec->cont != nullptr;
}

using ScopedLongList = Scoped<LongList, longVecEnd, hasContents<LongList>>;
