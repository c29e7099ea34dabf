#include "database/live/graph.h"

#include "database/database_util.h"
#include "database/live/ledger.h"

namespace {

// Walks from `start`, nearest nodes first, where forEachNext(node, act) calls act for the
// nodes next to one, until it is at `goal`. Returns how many nodes it has met, itself
// included; -1 if there is no memory.
template <class ForEachNext>
Long countReached(Long slots, Long start, Long goal, ForEachNext forEachNext) {
    ScopedArray<bool> reached;
    ScopedArray<Long> toVisit;
    if (!reached.fill(slots, false) || !makeRoom(&toVisit, slots)) return -1;
    auto visit = [&](Long node) {
        if (reached[node]) return;
        reached[node] = true;
        toVisit[toVisit.top++] = node;
    };
    visit(start);
    for (Long i = 0; i < toVisit.top && toVisit[i] != goal; i++)
        forEachNext(toVisit[i], visit);
    return toVisit.top;
}

template <class Act>
void forEachHead(const Graph* graph, Long node, Act act) {
    for (Long i = graph->first[node]; i < graph->first[node + 1]; i++)
        act(graph->out[i].head);
}

// In-position of a link, or where it would stand.
Long inPositionOf(const Graph* graph, Long tail, Long head) {
    const Long* tails = graph->tails.cont;
    return static_cast<Long>(std::lower_bound(tails + graph->firstIn[head],
                                              tails + graph->firstIn[head + 1], tail) -
                             tails);
}

bool findOut(const DataBase* dataBase, const Graph* graph) {
    const DBNodeVec* nodes = &dataBase->nodeVec;
    Long nb = 0;
    Long start = -1;
    for (Long id = 0; id < nodes->top; id++) {
        if (nodes->cont[id] == nullptr) continue;
        nb++;
        if (start < 0) start = id;
    }
    if (start < 0) return false;
    auto heads = [&](Long node, auto act) { forEachHead(graph, node, act); };
    auto tails = [&](Long node, auto act) {
        for (Long in = graph->firstIn[node]; in < graph->firstIn[node + 1]; in++)
            act(graph->tails[in]);
    };
    return countReached(graph->nodeSlots(), start, -1, heads) == nb &&
           countReached(graph->nodeSlots(), start, -1, tails) == nb;
}

// Makes or closes a gap of one link from tail to head, that of the in-position given.
void shift(Graph* graph, Long tail, Long head, Long in, Long by) {
    for (Long n = tail + 1; n < graph->first.top; n++) graph->first[n] += by;
    for (Long n = head + 1; n < graph->firstIn.top; n++) graph->firstIn[n] += by;
    for (Long& other : graph->inOfOut)
        if (other >= in) other += by;
}

// In-positions: heads ascending, and of the same head tails, as positions go.
bool fillIn(Graph* graph) {
    const Long slots = graph->nodeSlots();
    if (!makeRoom(&graph->firstIn, slots + 1) ||
        !makeRoom(&graph->inOfOut, graph->out.top) ||
        !makeRoom(&graph->tails, graph->out.top))
        return false;
    graph->firstIn.top = slots + 1;
    graph->inOfOut.top = graph->tails.top = graph->out.top;
    std::fill(graph->firstIn.begin(), graph->firstIn.end(), 0);
    for (const OutLink& link : graph->out) graph->firstIn[link.head + 1]++;
    for (Long n = 0; n < slots; n++) graph->firstIn[n + 1] += graph->firstIn[n];
    ScopedArray<Long> next;
    if (!makeRoom(&next, slots)) return false;
    std::copy_n(graph->firstIn.cont, slots, next.cont);
    for (Long n = 0; n < slots; n++)
        for (Long i = graph->first[n]; i < graph->first[n + 1]; i++) {
            graph->inOfOut[i] = next[graph->out[i].head]++;
            graph->tails[graph->inOfOut[i]] = n;
        }
    return true;
}

}  // namespace

bool buildGraph(const DataBase* dataBase, Graph* graph) {
    const DBNodeVec* nodes = &dataBase->nodeVec;
    graph->first.top = graph->out.top = 0;
    graph->knowsConnected = false;
    if (!makeRoom(&graph->first, nodes->top + 1)) return false;
    for (Long n = 0; n < nodes->top; n++) {
        graph->first[graph->first.top++] = graph->out.top;
        if (nodes->cont[n] == nullptr) continue;
        const LongList* heads = &nodes->cont[n]->outNeighb;
        if (!makeRoom(&graph->out, graph->out.top + heads->top)) return false;
        for (Long i = 0; i < heads->top; i++) {
            const Long head = heads->cont[i];
            DBLink* link = findLink(&dataBase->linkTab, n, head);
            graph->out[graph->out.top++] = {head, link->ledger->slot, link};
        }
    }
    graph->first[graph->first.top++] = graph->out.top;
    graph->isBuilt = fillIn(graph);
    return graph->isBuilt;
}

void endGraph(Graph* graph) {
    endArray(&graph->first);
    endArray(&graph->out);
    endArray(&graph->firstIn);
    endArray(&graph->inOfOut);
    endArray(&graph->tails);
    *graph = {};
}

Long positionOf(const Graph* graph, Long tail, Long head) {
    const OutLink* from = graph->out.begin() + graph->first[tail];
    const OutLink* end = graph->out.begin() + graph->first[tail + 1];
    auto before = [](const OutLink& link, Long id) { return link.head < id; };
    return static_cast<Long>(std::lower_bound(from, end, head, before) -
                             graph->out.begin());
}

void addToGraph(Graph* graph, Long tail, const OutLink& link) {
    if (!graph->isBuilt) return;
    const Long head = link.head;
    const Long at = positionOf(graph, tail, head);
    const Long in = inPositionOf(graph, tail, head);
    shift(graph, tail, head, in, 1);
    graph->isBuilt = insertAt(&graph->out, at, link) &&
                     insertAt(&graph->inOfOut, at, in) &&
                     insertAt(&graph->tails, in, tail);
    if (graph->knowsConnected && !graph->isConnected) graph->knowsConnected = false;
}

void removeFromGraph(Graph* graph, Long tail, Long head) {
    if (!graph->isBuilt) return;
    const Long at = positionOf(graph, tail, head);
    const Long in = graph->inOfOut[at];
    eraseAt(&graph->out, at);
    eraseAt(&graph->inOfOut, at);
    eraseAt(&graph->tails, in);
    shift(graph, tail, head, in, -1);
    // As long as there is another way from tail to head, all others go on, too.
    bool isAround = false;
    auto heads = [&](Long node, auto act) {
        forEachHead(graph, node, [&](Long next) {
            isAround = isAround || next == head;
            act(next);
        });
    };
    if (graph->knowsConnected && graph->isConnected)
        countReached(graph->nodeSlots(), tail, head, heads);
    if (!isAround) graph->knowsConnected = false;
}

void addNodeToGraph(Graph* graph, Long node) {
    graph->knowsConnected = false;
    while (graph->isBuilt && graph->nodeSlots() <= node)
        graph->isBuilt = append(&graph->first, graph->out.top) &&
                         append(&graph->firstIn, graph->out.top);
}

void removeNodeFromGraph(Graph* graph) {
    graph->knowsConnected = false;
}

bool isConnected(const DataBase* dataBase, Graph* graph) {
    if (!graph->knowsConnected) {
        graph->isConnected = findOut(dataBase, graph);
        graph->knowsConnected = true;
    }
    return graph->isConnected;
}
