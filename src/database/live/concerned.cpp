#include "database/live/concerned.h"

#include "database/live/live.h"

namespace {

bool anyClass(const Ledger* ledger, auto holds) {
    for (const LedgerClass* cls : ledger->classes)
        if (cls != nullptr && holds(cls)) return true;
    return false;
}

}  // namespace

bool reach(SlotSet* set, Long slot) {
    const Long words = slot / 64 + 1;
    if (words <= set->words) return true;
    const Long size = std::max(words, 2 * set->words);
    void* bits =
        myrealloc(set->bits, static_cast<std::size_t>(size) * sizeof(*set->bits));
    if (bits == nullptr) return false;
    set->bits = static_cast<std::uint64_t*>(bits);
    std::fill_n(set->bits + set->words, size - set->words, 0);
    set->words = size;
    return true;
}

void put(SlotSet* set, Long slot, bool isIn) {
    if (slot / 64 >= set->words) return;
    const std::uint64_t bit = std::uint64_t{1} << (slot % 64);
    if (isIn)
        set->bits[slot / 64] |= bit;
    else
        set->bits[slot / 64] &= ~bit;
}

SlotSet* concernedBy(Live* live, Long node) {
    while (live->concerned.top <= node)
        if (!append(&live->concerned, SlotSet{})) return nullptr;
    return &live->concerned[node];
}

void noteCells(Live* live, const Ledger* ledger, Long node) {
    put(&live->concerned[node], ledger->slot,
        anyClass(ledger, [=](const auto* cls) { return runOf(cls, node).nb > 0; }));
}
void noteIdle(Live* live, const Ledger* ledger) {
    put(&live->idle, ledger->slot,
        anyClass(ledger, [](const auto* cls) { return cls->idle.top > 0; }));
}

void forgetCells(Live* live, const Ledger* ledger) {
    for (SlotSet& set : live->concerned) put(&set, ledger->slot, false);
    put(&live->idle, ledger->slot, false);
}
