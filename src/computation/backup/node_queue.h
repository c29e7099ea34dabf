// The queue of the backup search: nodes by key, smallest first, and of equal keys the one
// inserted last, as in the queue of dijkstra.h.
//
// Private to the library. A heap in one array; keys have to be numbers.
#pragma once

#include "common/array.h"

class NodeQueue {
  public:
    // False if there is no memory for so many insertions.
    bool init(Long insertions) { return makeRoom(&heap_, insertions); }
    void clear() { heap_.top = inserted_ = 0; }
    bool isEmpty() const { return heap_.top == 0; }

    void push(double key, Long node) { rise(heap_.top++, {key, inserted_++, node}); }

    Long pop() {
        const Long node = heap_[0].node;
        const Entry last = heap_[--heap_.top];
        // The gap goes down to a leaf, as the last entry mostly belongs near one.
        Long gap = 0;
        for (Long first; (first = kArity * gap + 1) < heap_.top;) {
            const Long end = std::min(first + kArity, heap_.top);
            Long least = first;
            for (Long i = first + 1; i < end; i++)
                least = isBefore(heap_[i], heap_[least]) ? i : least;
            heap_[gap] = heap_[least];
            gap = least;
        }
        rise(gap, last);
        return node;
    }

  private:
    struct Entry {
        double key;
        Long order;  // of insertion
        Long node;
    };
    static constexpr Long kArity = 4;

    static bool isBefore(const Entry& a, const Entry& b) {
        return a.key < b.key || (a.key == b.key && a.order > b.order);
    }

    // Puts an entry where a gap is, or above.
    void rise(Long gap, const Entry& entry) {
        for (Long father; gap > 0; gap = father) {
            father = (gap - 1) / kArity;
            if (!isBefore(entry, heap_[father])) break;
            heap_[gap] = heap_[father];
        }
        heap_[gap] = entry;
    }

    ScopedArray<Entry> heap_;
    Long inserted_ = 0;
};
