#include "database/workspace.h"

#include <algorithm>
#include <limits>

DBWorkspace* workspaceOf(DataBase* dataBase) {
    if (dataBase->work == nullptr)
        dataBase->work = static_cast<DBWorkspace*>(mycalloc(1, sizeof(DBWorkspace)));
    return dataBase->work;
}

void endWorkspace(DataBase* dataBase) {
    DBWorkspace* work = dataBase->work;
    if (work == nullptr) return;
    endTopology(&work->topology);
    myfree(work->changes.cont);
    myfree(work->staleLinks.cont);
    for (Stamps& stamps : work->stamps) myfree(stamps.cont);
    for (Scratch& scratch : work->scratches) myfree(scratch.cont);
    myfree(work);
    dataBase->work = nullptr;
}

int clearStamps(Stamps* stamps, Long slots) {
    constexpr Long kLast = std::numeric_limits<Long>::max();
    if (stamps->cont == nullptr || slots > stamps->size) {
        const Long size = slots < kLast / 2 ? 2 * slots + 1 : slots;
        void* cont = mycalloc(static_cast<std::size_t>(size), sizeof(Long));
        if (cont == nullptr) return -1;
        myfree(stamps->cont);
        *stamps = {size, static_cast<Long*>(cont), 0};
    }
    if (stamps->current == kLast) {
        std::fill_n(stamps->cont, stamps->size, 0);
        stamps->current = 0;
    }
    stamps->current++;
    return 0;
}

int sizeStaleLinks(DataBase* dataBase, Long slots) {
    Flags* stale = &dataBase->work->staleLinks;
    if (stale->cont != nullptr && slots <= stale->size) return 0;
    const Long size = slots + slots / 2 + 1;
    void* cont = myrealloc(stale->cont, static_cast<std::size_t>(size) * sizeof(bool));
    if (cont == nullptr) return -1;
    stale->cont = static_cast<bool*>(cont);
    std::fill(stale->cont + stale->size, stale->cont + size, true);
    stale->size = size;
    return 0;
}

void linkChanged(DataBase* dataBase, const DBLink* link) {
    if (dataBase->work == nullptr) return;
    Flags* stale = &dataBase->work->staleLinks;
    if (link->id < stale->size) stale->cont[link->id] = true;
}

void* growScratch(Scratch* scratch, std::size_t bytes) {
    if (scratch->cont != nullptr && bytes <= scratch->bytes) return scratch->cont;
    bytes += bytes / 2;
    void* cont = mycalloc(bytes, 1);
    if (cont == nullptr) return nullptr;
    myfree(scratch->cont);
    *scratch = {bytes, cont};
    return cont;
}
