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
    endMap(&work->shifts.links);
    endMap(&work->shifts.nodes);
    myfree(work->summary.stale.cont);
    myfree(work->summary.isStale);
    endRows(&work->rows);
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

int sizeStaleLinks(DBWorkspace* work, Long slots) {
    SummaryState* summary = &work->summary;
    if (slots <= summary->stale.size) return 0;
    const auto size =
        static_cast<std::size_t>(slots) + static_cast<std::size_t>(slots) / 2;
    void* ids = myrealloc(summary->stale.cont, size * sizeof(Long));
    if (ids != nullptr) summary->stale.cont = static_cast<Long*>(ids);
    void* flags = mycalloc(size, sizeof(bool));
    if (ids == nullptr || flags == nullptr) {
        myfree(flags);
        return -1;
    }
    myfree(summary->isStale);
    summary->isStale = static_cast<bool*>(flags);
    summary->stale.size = static_cast<Long>(size);
    summary->stale.top = 0;
    return 0;
}

void clearStaleLinks(DBWorkspace* work) {
    LongVec* stale = &work->summary.stale;
    while (stale->top > 0) work->summary.isStale[stale->cont[--stale->top]] = false;
}

void linkChanged(DataBase* dataBase, const DBLink* link) {
    if (dataBase->work == nullptr) return;
    SummaryState* summary = &dataBase->work->summary;
    if (link->id >= summary->stale.size || summary->isStale[link->id]) return;
    summary->isStale[link->id] = true;
    summary->stale.cont[summary->stale.top++] = link->id;
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
