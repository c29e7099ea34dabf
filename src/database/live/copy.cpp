#include "database/live/copy.h"

#include <algorithm>
#include <iterator>

#include "database/live/live.h"

namespace {

// With the same room: what is prepared for a change counts on it.
template <class T>
bool copyArray(Array<T>* to, const Array<T>& from) {
    if (from.size == 0) return true;
    if (!makeRoom(to, from.size)) return false;
    std::copy_n(from.cont, from.top, to->cont);
    to->top = from.top;
    return true;
}

bool copySet(SlotSet* to, const SlotSet& from) {
    if (from.words == 0) return true;
    if (!reach(to, 64 * from.words - 1)) return false;
    std::copy_n(from.bits, from.words, to->bits);
    return true;
}

bool copySets(Array<CellSets>* to, const Array<CellSets>& from) {
    for (const CellSets& sets : from) {
        if (!append(to, CellSets{})) return false;
        CellSets* last = to->end() - 1;
        if (!copySet(&last->any, sets.any) || !copySet(&last->active, sets.active))
            return false;
    }
    return true;
}

bool copyClass(LedgerClass* to, const LedgerClass* from) {
    to->nbActive = from->nbActive;
    to->worst = from->worst;
    return copyArray(&to->keys, from->keys) && copyArray(&to->cells, from->cells) &&
           copyArray(&to->idle, from->idle);
}

}  // namespace

bool copyLedger(DBLink* to, const DBLink* from) {
    auto* ledger = static_cast<Ledger*>(mymalloc(sizeof(Ledger)));
    if (ledger == nullptr) return false;
    *ledger = *from->ledger;
    ledger->isViewStale = false;
    std::fill(std::begin(ledger->classes), std::end(ledger->classes), nullptr);
    to->ledger = ledger;
    for (int oa = 0; oa < kClasses; oa++) {
        const LedgerClass* cls = from->ledger->classes[oa];
        if (cls == nullptr) continue;
        if (classOf(ledger, oa) == nullptr || !copyClass(ledger->classes[oa], cls))
            return false;
    }
    return true;
}

bool copyLive(DataBase* to, const DataBase* from) {
    Live* live = to->live;
    const Live* other = from->live;
    live->nbUsed = other->nbUsed;
    live->walk = other->walk;
    if (!makeRoom(&live->bySlot, other->bySlot.top)) return false;
    for (const DBLink* link : other->bySlot)
        append(&live->bySlot, link == nullptr ? nullptr
                                              : findLink(&to->linkTab, link->ledger->tail,
                                                         link->ledger->head));
    for (int oa = 0; oa < kClasses; oa++)
        if (!copySets(&live->concerned[oa], other->concerned[oa])) return false;
    return copyArray(&live->freeSlots, other->freeSlots) &&
           copySet(&live->idle, other->idle) &&
           copyArray(&live->uncounted, other->uncounted) &&
           copyArray(&live->spare, other->spare);
}
