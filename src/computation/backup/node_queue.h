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

    void push(double key, Long node) {
        const Entry entry = {key, inserted_++, node};
        Long at = heap_.top++;
        for (Long father; at > 0; at = father) {
            father = (at - 1) / kArity;
            if (!isBefore(entry, heap_[father])) break;
            heap_[at] = heap_[father];
        }
        heap_[at] = entry;
    }

    Long pop() {
        const Long node = heap_[0].node;
        const Entry last = heap_[--heap_.top];
        Long at = 0;
        for (;;) {
            const Long first = kArity * at + 1;
            const Long end = std::min(first + kArity, heap_.top);
            Long least = first;
            for (Long i = first + 1; i < end; i++)
                if (isBefore(heap_[i], heap_[least])) least = i;
            if (first >= heap_.top || !isBefore(heap_[least], last)) break;
            heap_[at] = heap_[least];
            at = least;
        }
        heap_[at] = last;
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

    ScopedArray<Entry> heap_;
    Long inserted_ = 0;
};
