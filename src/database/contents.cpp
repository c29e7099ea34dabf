#include "database/contents.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>

#include "database/database.h"
#include "database/live/live.h"
#include "database/live/restore.h"

namespace {

using VecTable = DoubleVec[kClasses][kLevels];
constexpr VecTable DBLinkState::*const kTables[] = {
    &DBLinkState::bbw, &DBLinkState::remoteBbw, &DBLinkState::fbw,
    &DBLinkState::remoteFbw};
constexpr std::size_t kVectors = std::size(kTables) * kClasses * kLevels;

constexpr LongList DBLabelSwitchedPath::*const kLists[] = {
    &DBLabelSwitchedPath::forbidLinks, &DBLabelSwitchedPath::path,
    &DBLabelSwitchedPath::primPath, &DBLabelSwitchedPath::backLSPIDs};

// Calls act(vector, number) for the vectors of a state.
template <class State, class Act>
void forEachVector(State* state, Act act) {
    std::size_t number = 0;
    for (auto table : kTables)
        for (auto& row : state->*table)
            for (auto& vec : row) act(&vec, number++);
}

// As it is made, with one slot, which holds 0 or nothing that anybody reads.
bool isUntouched(const DoubleVec* vec, bool isRead) {
    constexpr double zero = 0.0;
    return vec->size == 1 && vec->top == 0 &&
           (!isRead || std::memcmp(vec->cont, &zero, sizeof zero) == 0);
}

// The whole capacity, as longVecCopy does.
void writeList(ByteWriter* out, const LongVec& list) {
    out->number(list.size);
    out->number(list.top);
    out->numbers(list.cont, list.size);
}

void readList(ByteReader* in, LongVec* list) {
    const Long size = in->count(32);
    const Long top = in->number();
    in->require(size >= 1 && top >= 0 && top <= size, "the size of a list");
    if (in->isFine() && size != list->size)
        in->require(longVecResize(list, size) == 0, kNoMemory);
    if (!in->isFine()) return;
    in->numbers(list->cont, size);
    list->top = top;
}

// A bit for each slot of a table, then the records there are.
template <class Table, class Write>
void writeTable(ByteWriter* out, const Table& table, Write write) {
    out->number(table.size);
    const std::ptrdiff_t used = out->bits(static_cast<std::size_t>(table.size));
    for (Long id = 0; id < table.size; id++)
        if (table.cont[id] != nullptr) out->mark(used, static_cast<std::size_t>(id));
    for (Long id = 0; id < table.size; id++)
        if (table.cont[id] != nullptr) write(out, table.cont[id]);
}

// read(id) reads a record and puts it in.
template <class Table, class Read>
void readTable(ByteReader* in, Table* table, int (*resize)(Table*, Long), Read read) {
    const Long size = in->count(1);
    const std::uint8_t* used = in->bits(static_cast<std::size_t>(size));
    in->require(size >= 1, "the size of a table");
    if (in->isFine()) in->require(resize(table, size) == 0, kNoMemory);
    for (Long id = 0; id < size && in->isFine(); id++)
        if (isMarked(used, static_cast<std::size_t>(id))) read(id);
}

void writeNode(ByteWriter* out, const DBNode* node) {
    writeList(out, node->inNeighb);
    writeList(out, node->outNeighb);
}

void readNode(ByteReader* in, DataBase* dataBase, Long id) {
    DBNode* node = DBnodeNew();
    if (node == nullptr) return in->refuse(kNoMemory);
    node->id = id;
    DBnodeVecSet(&dataBase->nodeVec, node, id);
    readList(in, &node->inNeighb);
    readList(in, &node->outNeighb);
}

void readLsp(ByteReader* in, DataBase* dataBase, Long id) {
    DBLabelSwitchedPath* lsp = DBlspNew();
    if (lsp == nullptr) return in->refuse(kNoMemory);
    lsp->id = id;
    DBlspVecSet(&dataBase->lspVec, lsp, id);
    readLspFields(in, lsp);
}

void readVector(ByteReader* in, DoubleVec* vec) {
    const Long size = in->count(1);
    const Long top = in->number();
    in->require(size >= 1 && top >= 0 && top <= size, "the size of a vector");
    if (in->isFine()) in->require(dblVecResize(vec, size) == 0, kNoMemory);
    if (!in->isFine()) return;
    in->amounts(vec->cont, size);
    vec->top = top;
}

// Ids of the LSPs, the free slots as -1.
void writeLspList(ByteWriter* out, const DBLSPList& list) {
    out->number(list.size);
    out->number(list.top);
    for (Long i = 0; i < list.size; i++)
        out->number(i < list.top ? list.cont[i]->id : -1);
}

Long nbCrossings(const DBLabelSwitchedPath* lsp, Long src, Long dst) {
    Long nb = 0;
    for (Long i = 0; i + 1 < lsp->path.top; i++)
        if (lsp->path.cont[i] == src && lsp->path.cont[i + 1] == dst) nb++;
    return nb;
}

// An LSP stands in the list once at most for every time that it crosses the link: so it
// is gone from all lists when it is removed.
void readLspList(ByteReader* in, const DataBase* dataBase, DBLink* link) {
    DBLSPList* list = &link->lspList;
    const Long size = in->count(32);
    const Long top = in->number();
    in->require(size >= 1 && top >= 0 && top <= size, "the size of a list");
    if (in->isFine() && size != list->size) {
        DBlspListEnd(list);
        in->require(DBlspListInit(list, size) == 0, kNoMemory);
    }
    Long nbSame = 0;
    for (Long i = 0; i < size && in->isFine(); i++) {
        const Long id = in->number();
        if (i >= top) continue;
        DBLabelSwitchedPath* lsp = findLSP(&dataBase->lspVec, id);
        in->require(lsp != nullptr, "an LSP of a link");
        if (!in->isFine()) return;
        const DBLabelSwitchedPath* before = i > 0 ? list->cont[i - 1] : nullptr;
        in->require(before == nullptr || DBlspCompare(before, lsp) >= 0,
                    "the order of the LSPs of a link");
        nbSame = before == lsp ? nbSame + 1 : 1;
        in->require(nbSame <= nbCrossings(lsp, link->ledger->tail, link->ledger->head),
                    "an LSP of a link that it does not cross");
        list->cont[list->top++] = lsp;
    }
}

// Calls act(link) for the links of a database, by tail and head.
template <class Act>
void forEachLinkInOrder(const DataBase* dataBase, Act act) {
    for (Long n = 0; n < dataBase->nodeVec.top; n++) {
        const DBNode* node = dataBase->nodeVec.cont[n];
        for (Long i = 0; node != nullptr && i < node->outNeighb.top; i++)
            act(findLink(&dataBase->linkTab, n, node->outNeighb.cont[i]));
    }
}

std::size_t cellOf(const DataBase* dataBase, Long src, Long dst) {
    const auto size = static_cast<std::size_t>(dataBase->linkTab.size);
    return static_cast<std::size_t>(src) * size + static_cast<std::size_t>(dst);
}

// A bit for each pair of nodes in the table, then the links there are.
void writeLinks(ByteWriter* out, const DataBase* dataBase) {
    const auto size = static_cast<std::size_t>(dataBase->linkTab.size);
    out->number(dataBase->linkTab.size);
    const std::ptrdiff_t used = out->bits(size * size);
    forEachLinkInOrder(dataBase, [=](const DBLink* link) {
        out->mark(used, cellOf(dataBase, link->ledger->tail, link->ledger->head));
    });
    forEachLinkInOrder(dataBase, [=](const DBLink* link) {
        out->number(link->id);
        out->byte(link->ledger->isMirrored ? 1 : 0);
        writeState(out, &link->state, link->ledger->isMirrored);
        writeLspList(out, link->lspList);
    });
}

void readLink(ByteReader* in, DataBase* dataBase, Long src, Long dst) {
    DBLink* link = DBlinkNew();
    if (link == nullptr) return in->refuse(kNoMemory);
    DBlinkTabSet(&dataBase->linkTab, link, src, dst);
    if (!enrolLink(dataBase, link, src, dst)) return in->refuse(kNoMemory);
    link->id = in->number();
    link->ledger->isMirrored = in->byte() != 0;
    in->require(findNode(&dataBase->nodeVec, src) != nullptr &&
                    findNode(&dataBase->nodeVec, dst) != nullptr &&
                    endOf(&dataBase->linkSrcVec, link->id) == src &&
                    endOf(&dataBase->linkDstVec, link->id) == dst,
                "the ends of a link");
    readState(in, &link->state);
    readLspList(in, dataBase, link);
}

void readLinks(ByteReader* in, DataBase* dataBase) {
    const Long size = in->number();
    in->require(size >= 1 && size <= kLinkTabMax, "the size of a table");
    const auto cells = static_cast<std::size_t>(size) * static_cast<std::size_t>(size);
    const std::uint8_t* used = in->isFine() ? in->bits(cells) : nullptr;
    if (in->isFine())
        in->require(DBlinkTabResize(&dataBase->linkTab, size) == 0, kNoMemory);
    for (std::size_t at = 0; at < cells && in->isFine(); at++) {
        if (at % 8 == 0 && used[at / 8] == 0)
            at += 7;  // no links among eight pairs
        else if (isMarked(used, at))
            readLink(in, dataBase, static_cast<Long>(at) / size,
                     static_cast<Long>(at) % size);
    }
}

bool isAscending(const LongList& list) {
    return std::adjacent_find(list.cont, list.cont + list.top, [](Long a, Long b) {
               return a >= b;
           }) == list.cont + list.top;
}

Long nbUsedIds(const LongVec& ends) {
    return ends.size - static_cast<Long>(std::count(ends.cont, ends.cont + ends.size, 0));
}

// The lists of neighbours are those that the links make.
void checkNeighbours(ByteReader* in, const DataBase* dataBase) {
    const DBLinkTab* links = &dataBase->linkTab;
    std::int64_t nbOut = 0;
    std::int64_t nbIn = 0;
    for (Long id = 0; id < dataBase->nodeVec.top && in->isFine(); id++) {
        const DBNode* node = dataBase->nodeVec.cont[id];
        if (node == nullptr) continue;
        const LongList& heads = node->outNeighb;
        const LongList& tails = node->inNeighb;
        in->require(isAscending(heads) && isAscending(tails), "the order of neighbours");
        for (Long i = 0; i < heads.top; i++)
            in->require(findLink(links, id, heads.cont[i]) != nullptr, "a neighbour");
        for (Long i = 0; i < tails.top; i++)
            in->require(findLink(links, tails.cont[i], id) != nullptr, "a neighbour");
        nbOut += heads.top;
        nbIn += tails.top;
    }
    in->require(nbOut == dataBase->live->nbUsed && nbIn == nbOut, "a neighbour");
}

// Counters differ from what there is by the nodes that were removed. Ids are those of the
// links.
void checkCounts(ByteReader* in, const DataBase* dataBase) {
    const DBNodeVec& nodes = dataBase->nodeVec;
    const LongVec& ids = dataBase->linkSrcVec;
    const Long nbLinks = dataBase->live->nbUsed;
    const auto nbNodes =
        nodes.size - std::count(nodes.cont, nodes.cont + nodes.size, nullptr);
    const std::int64_t nbRemoved = std::int64_t{dataBase->nbNodes} - nbNodes;
    in->require(nbRemoved >= 0 && dataBase->nbLinks == nbLinks - nbRemoved,
                "the counters");
    in->require(nbUsedIds(ids) == nbLinks && nbUsedIds(dataBase->linkDstVec) == nbLinks &&
                    (ids.top == 0 || ids.cont[ids.top - 1] != 0) &&
                    std::all_of(ids.cont + ids.top, ids.cont + ids.size,
                                [](Long end) { return end == 0; }),
                "the ids of links");
}

void readEnds(ByteReader* in, LongVec* ends) {
    readList(in, ends);
    in->require(std::all_of(ends->cont, ends->cont + ends->size,
                            [](Long end) { return end >= 0 && end <= kLinkTabMax; }),
                "the ends of links");
}

void readRecords(ByteReader* in, DataBase* dataBase) {
    dataBase->nbNodes = in->number();
    dataBase->nbLinks = in->number();
    readTable(in, &dataBase->nodeVec, DBnodeVecResize,
              [=](Long id) { readNode(in, dataBase, id); });
    readTable(in, &dataBase->lspVec, DBlspVecResize,
              [=](Long id) { readLsp(in, dataBase, id); });
    readEnds(in, &dataBase->linkSrcVec);
    readEnds(in, &dataBase->linkDstVec);
    if (in->isFine()) readLinks(in, dataBase);
    if (in->isFine()) checkNeighbours(in, dataBase);
    if (in->isFine()) checkCounts(in, dataBase);
}

// What links need when others fail: the vectors that somebody may read, too.
void readFailures(ByteReader* in, DataBase* dataBase) {
    in->require(linksEnrolled(dataBase), kNoMemory);
    for (DBLink* link : dataBase->live->bySlot) {
        if (in->isFine()) readCells(in, dataBase, link);
        if (!in->isFine()) return;
        if (!link->ledger->isMirrored) continue;
        link->ledger->isMirrored = false;
        in->require(mirrorLink(dataBase, link) == 0, kNoMemory);
    }
}

}  // namespace

// The library has the failure tables elsewhere, unless the link is mirrored.
void writeState(ByteWriter* out, const DBLinkState* state, bool isMirrored) {
    out->number(state->color);
    out->amounts(state->cap, kClasses);
    out->amounts(&state->rbw[0][0], kClasses * kLevels);
    out->amounts(&state->pbw[0][0], kClasses * kLevels);
    const std::ptrdiff_t touched = out->bits(kVectors);
    auto isPlain = [=](const DoubleVec* vec, std::size_t number) {
        const auto table = kTables[number / (kClasses * kLevels)];
        const bool isTable = table == &DBLinkState::bbw || table == &DBLinkState::fbw;
        return isUntouched(vec, isMirrored || !isTable);
    };
    bool anyTouched = false;
    forEachVector(state, [&](const DoubleVec* vec, std::size_t number) {
        if (isPlain(vec, number)) return;
        out->mark(touched, number);
        anyTouched = true;
    });
    if (!anyTouched) return;
    forEachVector(state, [=](const DoubleVec* vec, std::size_t number) {
        if (isPlain(vec, number)) return;
        out->number(vec->size);
        out->number(vec->top);
        out->amounts(vec->cont, vec->size);
    });
}

void readState(ByteReader* in, DBLinkState* state) {
    state->color = in->number();
    in->amounts(state->cap, kClasses);
    in->amounts(&state->rbw[0][0], kClasses * kLevels);
    in->amounts(&state->pbw[0][0], kClasses * kLevels);
    const std::uint8_t* touched = in->bits(kVectors);
    if (touched == nullptr ||
        std::count(touched, touched + kVectors / 8, 0) == kVectors / 8)
        return;
    forEachVector(state, [=](DoubleVec* vec, std::size_t number) {
        if (in->isFine() && isMarked(touched, number)) readVector(in, vec);
    });
}

void writeLsp(ByteWriter* out, const DBLabelSwitchedPath* lsp) {
    if (std::isnan(lsp->bw[0]))
        out->refuse("the bandwidth of an LSP in class 0 is not a number");
    out->number(lsp->noContentionId);
    out->byte(static_cast<std::uint8_t>(lsp->precedence));
    out->amounts(lsp->bw, kClasses);
    out->byte(lsp->type);
    out->number(lsp->primID);
    for (auto list : kLists) writeList(out, lsp->*list);
}

void readLspFields(ByteReader* in, DBLabelSwitchedPath* lsp) {
    lsp->noContentionId = in->number();
    lsp->precedence = in->byte();
    in->amounts(lsp->bw, kClasses);
    lsp->type = in->byte();
    lsp->primID = in->number();
    for (auto list : kLists) readList(in, &(lsp->*list));
    in->require(lsp->precedence < kLevels, "the level of an LSP");
    // Nobody could find it in a list that is ordered by this.
    in->require(!std::isnan(lsp->bw[0]), "the bandwidth of an LSP");
}

void writeDataBase(ByteWriter* out, const DataBase* dataBase) {
    Long nbLinks = 0;
    forEachLinkInOrder(dataBase,
                       [&](const DBLink* link) { nbLinks += link != nullptr ? 1 : 0; });
    if (nbLinks != dataBase->live->nbUsed)
        return out->refuse("an uncomplete removal has left links without ends");
    out->number(dataBase->id);
    out->number(dataBase->nbNodes);
    out->number(dataBase->nbLinks);
    writeTable(out, dataBase->nodeVec, writeNode);
    writeTable(out, dataBase->lspVec, writeLsp);
    writeList(out, dataBase->linkSrcVec);
    writeList(out, dataBase->linkDstVec);
    writeLinks(out, dataBase);
    forEachLinkInOrder(dataBase,
                       [=](const DBLink* link) { writeCells(out, link->ledger); });
}

DataBase* readDataBase(ByteReader* in) {
    DataBase* dataBase = DBnew(in->number());
    if (dataBase == nullptr) in->refuse(kNoMemory);
    if (in->isFine()) readRecords(in, dataBase);
    if (in->isFine()) readFailures(in, dataBase);
    if (in->isFine()) return dataBase;
    if (dataBase != nullptr) DBdestroy(dataBase);
    return nullptr;
}
