// Growable vectors of integers (longVec) and of doubles (dblVec).
//
// The owner makes a vector with New (record and contents) and releases it with
// Destroy, or with Init and End in storage of its own. Contents are zeroed when
// allocated and when they grow, by doubling at least, so appends cost constant time.
//
// Every function pushes "Bad argument (NULL)" for a null record or ended vector and
// "Critical lack of memory" when an allocation fails; both leave the vector as it was.
#pragma once

#include "common/types.h"

template <class T>
struct Vec {
    Long size;  // capacity; slots never written hold 0
    Long top;   // elements in use
    T* cont;    // null once ended
};

using LongVec = Vec<Long>;
using DoubleVec = Vec<double>;

// An empty vector of capacity `size`; -1 means 1. A vector of capacity 0 is valid.
LongVec* longVecNew(Long size);
DoubleVec* dblVecNew(Long size);
int longVecInit(LongVec* vec, Long size);
int dblVecInit(DoubleVec* vec, Long size);

int longVecEnd(LongVec* vec);
int dblVecEnd(DoubleVec* vec);
int longVecDestroy(LongVec* vec);
int dblVecDestroy(DoubleVec* vec);

// Copies the whole capacity of src, not only up to its top; a larger dst keeps its
// capacity and its elements beyond that.
int longVecCopy(LongVec* dst, LongVec* src);
int dblVecCopy(DoubleVec* dst, DoubleVec* src);

int longVecPushBack(LongVec* vec, Long val);
int dblVecPushBack(DoubleVec* vec, double val);

// Takes the last element off and stores it in *val; -1 on an empty vector.
int longVecPopBack(LongVec* vec, Long* val);
int dblVecPopBack(DoubleVec* vec, double* val);

// Sets the capacity, zeroing what is new; `top` does not change. Meant for growth: a
// smaller capacity than `top` is not refused.
int longVecResize(LongVec* vec, Long newsize);
int dblVecResize(DoubleVec* vec, Long newsize);

// Reads a slot. The bound is the capacity: slots behind `top` read as 0.
int longVecGet(LongVec* vec, Long index, Long* val);
int dblVecGet(DoubleVec* vec, Long index, double* val);

// Writes a slot, growing the vector to hold it; `top` becomes index + 1 if smaller.
int longVecSet(LongVec* vec, Long index, Long val);
int dblVecSet(DoubleVec* vec, Long index, double val);
