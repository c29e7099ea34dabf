// Which links a failing node has cells on: the ledgers turned around.
//
// Private to the library. Where a link goes, or a backup is tried that protects from the
// failure of a node, only these links are looked at; and for the backup mostly only those
// where the failure needs bandwidth.
#pragma once

#include <bit>
#include <cstdint>

#include "common/array.h"
#include "database/live/ledger.h"

// Links by their slots.
struct SlotSet {
    Long words;
    std::uint64_t* bits;

    bool has(Long slot) const {
        return slot / 64 < words && (bits[slot / 64] >> (slot % 64) & 1U) != 0;
    }
};

// Links with cells of a failing node, and those of them where one is active.
struct CellSets {
    SlotSet any;
    SlotSet active;
};

// Makes room for a slot; false if there is no memory.
bool reach(SlotSet* set, Long slot);

// Puts a slot that there is room for into the set, or takes one out.
void put(const SlotSet& set, Long slot, bool isIn);

struct Live;

// The links that have cells of a class and a failing node.
CellSets concernedBy(const Live* live, int oa, Long node);

// Makes room for a link among these; false if there is no memory.
bool reachCells(Live* live, const Ledger* ledger, int oa, Long node);

// Keep the sets in step with a ledger: its cells of a node, its idle cells, or none at
// all.
void noteCells(Live* live, const Ledger* ledger, int oa, Long node);
void noteNews(Live* live, const Ledger* ledger, int oa, Long node, const CellNews& news);
void noteIdle(Live* live, const Ledger* ledger);
void forgetCells(Live* live, const Ledger* ledger);

// Calls act(link) for the links of a set, which may lose them on the way.
template <class Act>
void forEachLink(const Array<DBLink*>& bySlot, const SlotSet& set, Act act) {
    for (Long word = 0; word < set.words; word++)
        for (std::uint64_t bits = set.bits[word]; bits != 0; bits &= bits - 1)
            act(bySlot[64 * word + std::countr_zero(bits)]);
}
