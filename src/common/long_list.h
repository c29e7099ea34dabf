// Lists of integers: LongVec records used as sequences that open up and close.
//
// Paths, neighbour lists and id lists are LongLists. A list is made, copied and
// released with the longVec functions and sorted only where its users keep it so.
#pragma once

#include "common/vector.h"

using LongList = LongVec;

// Inserts val at the index the caller names; later elements move up. An index behind
// `top` leaves a gap of zeros while `top` rises by just one.
int longListInsert(LongList* list, Long index, Long val);

// Removes the element at `index`; later elements move down. An index at or behind
// `top` is a WARNING and -1.
int longListRemove(LongList* list, Long index);

// -1, 0 or 1 as the Long at a is smaller than, equal to or larger than the one at b.
int longCompare(const void* a, const void* b);

// Sorts the elements in use, ascending.
int longListSort(LongList* list);

// Writes the union of la and lb to dest, ascending, and leaves both sorted. A value in
// both is written once per matched pair, a duplicate inside one list survives: {3,1,3}
// and {3,2} give {1,2,3,3}. dest may be la or lb, and is written only on success.
int longListMerge(LongList* la, LongList* lb, LongList* dest);
