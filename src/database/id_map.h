// Small maps from ids to values, as sorted arrays: ids apart from the values, so that a
// search reads little memory.
//
// Private to the library. A zeroed record is an empty map.
#pragma once

#include <algorithm>
#include <cstddef>

#include "common/common.h"

template <class T>
struct IdMap {
    Long size;
    Long top;
    Long* ids;  // ascending
    T* cont;
};

template <class T>
Long lowerBound(const IdMap<T>* map, Long id) {
    const Long* first = map->ids;
    return static_cast<Long>(std::lower_bound(first, first + map->top, id) - first);
}

// The value of an id, or null.
template <class T>
T* find(const IdMap<T>* map, Long id) {
    const Long at = lowerBound(map, id);
    return at < map->top && map->ids[at] == id ? &map->cont[at] : nullptr;
}

// Makes room for `slots` values; -1, without a message, if there is no memory.
template <class T>
int growMap(IdMap<T>* map, Long slots) {
    if (slots <= map->size) return 0;
    Long size = map->size == 0 ? 4 : map->size;
    while (size < slots) size *= 2;
    const auto nb = static_cast<std::size_t>(size);
    void* ids = myrealloc(map->ids, nb * sizeof(Long));
    if (ids != nullptr) map->ids = static_cast<Long*>(ids);
    void* cont = myrealloc(map->cont, nb * sizeof(T));
    if (cont != nullptr) map->cont = static_cast<T*>(cont);
    if (ids == nullptr || cont == nullptr) return -1;
    map->size = size;
    return 0;
}

// The value of an id, zeroed if it is new; null if there is no memory.
template <class T>
T* findOrAdd(IdMap<T>* map, Long id) {
    const Long at = lowerBound(map, id);
    if (at < map->top && map->ids[at] == id) return &map->cont[at];
    if (growMap(map, map->top + 1) < 0) return nullptr;
    std::move_backward(map->ids + at, map->ids + map->top, map->ids + map->top + 1);
    std::move_backward(map->cont + at, map->cont + map->top, map->cont + map->top + 1);
    map->ids[at] = id;
    map->cont[at] = {};
    map->top++;
    return &map->cont[at];
}

template <class T>
void eraseValue(IdMap<T>* map, const T* value) {
    const std::ptrdiff_t at = value - map->cont;
    std::move(map->ids + at + 1, map->ids + map->top, map->ids + at);
    std::move(map->cont + at + 1, map->cont + map->top, map->cont + at);
    map->top--;
}

template <class T>
void endMap(IdMap<T>* map) {
    myfree(map->ids);
    myfree(map->cont);
    *map = {};
}

// Values too large to be moved about are owned by a map of pointers.
template <class T>
using RecordMap = IdMap<T*>;

// The record of an id, or null.
template <class T>
T* findRecord(const RecordMap<T>* map, Long id) {
    T** slot = find(map, id);
    return slot != nullptr ? *slot : nullptr;
}

// The record of an id, zeroed if it is new; null if there is no memory.
template <class T>
T* findOrMake(RecordMap<T>* map, Long id) {
    T** slot = findOrAdd(map, id);
    if (slot == nullptr) return nullptr;
    if (*slot == nullptr) *slot = static_cast<T*>(mycalloc(1, sizeof(T)));
    if (*slot == nullptr) {
        eraseValue(map, slot);
        return nullptr;
    }
    return *slot;
}

template <class T>
void dropRecord(RecordMap<T>* map, Long id) {
    T** slot = find(map, id);
    myfree(*slot);
    eraseValue(map, slot);
}

template <class T>
void clearRecords(RecordMap<T>* map) {
    while (map->top > 0) myfree(map->cont[--map->top]);
}

template <class T>
void endRecords(RecordMap<T>* map) {
    clearRecords(map);
    endMap(map);
}
