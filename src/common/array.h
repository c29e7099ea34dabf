// Growable arrays of the library's own bookkeeping: no messages, no zeroing.
//
// Private to the library; what callers see are the vectors of vector.h. A zeroed record
// is an empty array, so that arrays can be members of zeroed records.
#pragma once

#include <algorithm>
#include <cstddef>
#include <type_traits>
#include <utility>

#include "common/memory.h"

template <class T>
struct Array {
    static_assert(std::is_trivially_copyable_v<T>, "elements are moved as bytes");
    Long size;  // elements that there is room for
    Long top;   // elements in use
    T* cont;

    T* begin() const { return cont; }
    T* end() const { return cont + top; }
    T& operator[](Long i) const { return cont[i]; }
};

// Makes room for so many elements in all; false, the array as it was, if there is no
// memory. Grows by half at least, so that appends cost constant time.
template <class T>
bool makeRoom(Array<T>* array, Long elements) {
    if (elements <= array->size && array->cont != nullptr) return true;
    const Long wanted = std::max(elements, array->size + array->size / 2);
    const Long size = std::max<Long>(wanted, 4);
    void* cont = myrealloc(array->cont, static_cast<std::size_t>(size) * sizeof(T));
    if (cont == nullptr) return false;
    array->cont = static_cast<T*>(cont);
    array->size = size;
    return true;
}

template <class T>
bool append(Array<T>* array, const T& element) {
    if (!makeRoom(array, array->top + 1)) return false;
    array->cont[array->top++] = element;
    return true;
}

template <class T>
bool insertAt(Array<T>* array, Long at, const T& element) {
    if (!makeRoom(array, array->top + 1)) return false;
    std::move_backward(array->cont + at, array->end(), array->end() + 1);
    array->cont[at] = element;
    array->top++;
    return true;
}

template <class T>
void eraseAt(Array<T>* array, Long at) {
    std::move(array->cont + at + 1, array->end(), array->cont + at);
    array->top--;
}

template <class T>
void endArray(Array<T>* array) {
    myfree(array->cont);
    *array = {};
}

// An array that ends with its scope.
template <class T>
struct ScopedArray : Array<T> {
    ScopedArray() : Array<T>{} {}
    ~ScopedArray() { endArray(this); }
    ScopedArray(const ScopedArray&) = delete;
    ScopedArray& operator=(const ScopedArray&) = delete;

    void swap(ScopedArray& other) { std::swap<Array<T>>(*this, other); }

    // Makes it so many copies of an element.
    bool fill(Long elements, const T& element) {
        if (!makeRoom(this, elements)) return false;
        std::fill_n(this->cont, elements, element);
        this->top = elements;
        return true;
    }
};
