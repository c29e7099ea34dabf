// The operations that all growable arrays of this library have in common.
//
// A vector is a plain record with the fields `size` (capacity), `cont` (the elements,
// null once ended) and, in most, `top` (elements in use). Included only by the source
// files that own a family, which define ERROR_SOURCE first: messages name that file.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "common/memory.h"
#include "error/error.h"

template <class V>
using ElemOf = std::remove_pointer_t<decltype(V::cont)>;

template <class V>
constexpr bool hasTop = requires(V vec) {
    vec.top;
};

// Capacity for an insertion at `index`: at least twice the old one, so that repeated
// appends cost constant time. Capped where it would overflow; the allocation refuses
// the few sizes that the cap makes too small.
inline Long grownSize(Long size, Long index) {
    const std::int64_t wanted =
        std::max<std::int64_t>(std::int64_t{index} + 1, 2 * std::int64_t{size});
    return static_cast<Long>(
        std::min<std::int64_t>(wanted, std::numeric_limits<Long>::max()));
}

template <class V>
bool isUsable(const V* vec) {
    return vec != nullptr && vec->cont != nullptr;
}

// An empty vector of `size` zeroed elements; a size of -1 means 1.
template <class V>
int vecInit(V* vec, Long size) {
    if (vec == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    if (size == -1) size = 1;
    void* cont = mycalloc(static_cast<std::size_t>(size), sizeof(ElemOf<V>));
    if (cont == nullptr) return FAIL_WITH(-1, "Critical lack of memory");
    vec->cont = static_cast<ElemOf<V>*>(cont);
    vec->size = size;
    if constexpr (hasTop<V>) vec->top = 0;
    return 0;
}

template <class V>
V* vecNew(Long size) {
    V* vec = static_cast<V*>(mycalloc(1, sizeof(V)));
    if (vec == nullptr) return FAIL_WITH(nullptr, "Critical lack of memory");
    if (vecInit(vec, size) < 0) {
        myfree(vec);
        return nullptr;
    }
    return vec;
}

template <class V>
int vecEnd(V* vec) {
    if (!isUsable(vec)) return FAIL_WITH(-1, "Bad argument (NULL)");
    myfree(vec->cont);
    vec->cont = nullptr;
    vec->size = 0;
    if constexpr (hasTop<V>) vec->top = 0;
    return 0;
}

template <class V>
int vecDestroy(V* vec) {
    if (vecEnd(vec) < 0) return -1;
    myfree(vec);
    return 0;
}

// Changes the capacity; new elements are zeroed, `top` stays as it is.
template <class V>
int vecResize(V* vec, Long newsize) {
    if (!isUsable(vec)) return FAIL_WITH(-1, "Bad argument (NULL)");
    constexpr std::size_t kMaxElems =
        std::numeric_limits<Long>::max() / sizeof(ElemOf<V>);
    const auto elems = static_cast<std::size_t>(newsize);
    void* cont = newsize < 0 || elems > kMaxElems
                     ? nullptr
                     : myrealloc(vec->cont, elems * sizeof(ElemOf<V>));
    if (cont == nullptr) return FAIL_WITH(-1, "Critical lack of memory");
    vec->cont = static_cast<ElemOf<V>*>(cont);
    if (newsize > vec->size)
        std::memset(static_cast<void*>(vec->cont + vec->size), 0,
                    static_cast<std::size_t>(newsize - vec->size) * sizeof(ElemOf<V>));
    vec->size = newsize;
    return 0;
}

// Copies the whole capacity of src, growing dst to it if dst is smaller.
template <class V>
int vecCopy(V* dst, const V* src) {
    if (!isUsable(dst) || !isUsable(src)) return FAIL_WITH(-1, "Bad argument (NULL)");
    if (dst->size < src->size && vecResize(dst, src->size) < 0) return -1;
    std::memmove(static_cast<void*>(dst->cont), src->cont,
                 static_cast<std::size_t>(src->size) * sizeof(ElemOf<V>));
    if constexpr (hasTop<V>) dst->top = src->top;
    return 0;
}

// The slot behind the last element in use, the capacity doubled if need be; null, with
// a message, on failure. The caller fills the slot and raises `top`.
template <class V>
ElemOf<V>* vecNextSlot(V* vec) {
    if (!isUsable(vec)) return FAIL_WITH(nullptr, "Bad argument (NULL)");
    if (vec->top >= vec->size && vecResize(vec, grownSize(vec->size, vec->size)) < 0)
        return nullptr;
    return &vec->cont[vec->top];
}

template <class V>
int vecPushBack(V* vec, ElemOf<V> val) {
    ElemOf<V>* slot = vecNextSlot(vec);
    if (slot == nullptr) return -1;
    *slot = val;
    vec->top++;
    return 0;
}

// Checks an index against the capacity; slots behind `top` are readable on purpose.
template <class V>
int vecCheckIndex(const V* vec, Long index) {
    if (!isUsable(vec)) return FAIL_WITH(-1, "Bad argument (NULL)");
    if (index < 0) return FAIL_WITH(-1, "Bad argument (index < 0)");
    if (index >= vec->size) return FAIL_WITH(-1, "Bad argument (wrong index)");
    return 0;
}

// The slot at `index`, the capacity grown to hold it; `kind` completes the message
// "Unable to resize <kind>vector".
template <class V>
ElemOf<V>* vecSlotAt(V* vec, Long index, const char* kind) {
    if (!isUsable(vec)) return FAIL_WITH(nullptr, "Bad argument (NULL)");
    if (index < 0) return FAIL_WITH(nullptr, "Bad argument (index < 0)");
    if (index >= vec->size && vecResize(vec, grownSize(vec->size, index)) < 0)
        return FAIL_WITH(nullptr, "Unable to resize %svector", kind);
    return &vec->cont[index];
}
