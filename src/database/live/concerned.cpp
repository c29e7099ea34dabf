#include "database/live/concerned.h"

#include "database/live/live.h"

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

void put(const SlotSet& set, Long slot, bool isIn) {
    if (slot / 64 >= set.words) return;
    const std::uint64_t bit = std::uint64_t{1} << (slot % 64);
    if (isIn)
        set.bits[slot / 64] |= bit;
    else
        set.bits[slot / 64] &= ~bit;
}

CellSets concernedBy(const Live* live, int oa, Long node) {
    const Array<CellSets>& sets = live->concerned[oa];
    return node < sets.top ? sets[node] : CellSets{};
}

bool reachCells(Live* live, const Ledger* ledger, int oa, Long node) {
    Array<CellSets>* sets = &live->concerned[oa];
    while (sets->top <= node)
        if (!append(sets, CellSets{})) return false;
    CellSets* ofNode = &(*sets)[node];
    return reach(&ofNode->any, ledger->slot) && reach(&ofNode->active, ledger->slot);
}

void noteCells(Live* live, const Ledger* ledger, int oa, Long node) {
    noteNews(live, ledger, oa, node, {true, true, true});
}

void noteNews(Live* live, const Ledger* ledger, int oa, Long node, const CellNews& news) {
    if (!news.came && !news.gone && !news.switched) return;
    const CellSets sets = concernedBy(live, oa, node);
    if (!news.gone && !news.switched) {
        put(sets.any, ledger->slot, true);
        return;
    }
    const Run run = runOf(ledger->classes[oa], node);
    put(sets.any, ledger->slot, run.nb > 0);
    put(sets.active, ledger->slot, anyActive(run));
}

void noteIdle(Live* live, const Ledger* ledger) {
    put(live->idle, ledger->slot,
        std::any_of(ledger->classes, ledger->classes + kClasses,
                    [](const auto* cls) { return cls != nullptr && cls->idle.top > 0; }));
}

void forgetCells(Live* live, const Ledger* ledger) {
    for (int oa = 0; oa < kClasses; oa++) {
        if (ledger->classes[oa] == nullptr) continue;
        for (const CellKey key : ledger->classes[oa]->keys) {
            const CellSets sets = concernedBy(live, oa, headOf(key));
            put(sets.any, ledger->slot, false);
            put(sets.active, ledger->slot, false);
        }
    }
    put(live->idle, ledger->slot, false);
}
