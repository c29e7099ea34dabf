#include "database/live/graph.h"

#include "database/database_util.h"
#include "database/live/ledger.h"

namespace {

// Gives `mark` to the nodes that a walk from `start` meets, nearest first, where
// forEachNext(node, act) calls act for the nodes next to one, until it is at `goal`.
// Walks past no node that has a mark already.
template <class ForEachNext>
void markReached(Array<Long>* marks, Array<Long>* toVisit, Long start, Long goal,
                 Long mark, ForEachNext forEachNext) {
    toVisit->top = 0;
    auto visit = [=](Long node) {
        if ((*marks)[node] >= 0) return;
        (*marks)[node] = mark;
        (*toVisit)[toVisit->top++] = node;
    };
    visit(start);
    for (Long i = 0; i < toVisit->top && (*toVisit)[i] != goal; i++)
        forEachNext((*toVisit)[i], visit);
}

template <class Act>
void forEachHead(const Graph* graph, Long node, Act act) {
    for (Long i = graph->first[node]; i < graph->first[node + 1]; i++)
        act(graph->heads[i]);
}

template <class Act>
void forEachTail(const Graph* graph, Long node, Act act) {
    for (Long in = graph->firstIn[node]; in < graph->firstIn[node + 1]; in++)
        act(graph->tails[in]);
}

// False, too, if there is no memory.
bool hasWay(const Graph* graph, Long from, Long to) {
    ScopedArray<Long> marks, toVisit;
    if (!marks.fill(graph->nodeSlots(), -1) || !makeRoom(&toVisit, graph->nodeSlots()))
        return false;
    markReached(&marks, &toVisit, from, to, 0,
                [=](Long node, auto act) { forEachHead(graph, node, act); });
    return marks[to] >= 0;
}

// Node by node, those not met yet: what it reaches and what reaches it have to be the
// same, and all links to stay inside.
bool findOut(const Graph* graph) {
    const Long slots = graph->nodeSlots();
    ScopedArray<Long> reached, reaching, toVisit;
    if (!reached.fill(slots, -1) || !reaching.fill(slots, -1) ||
        !makeRoom(&toVisit, slots))
        return false;
    for (Long n = 0; n < slots; n++) {
        if (reached[n] < 0)
            markReached(&reached, &toVisit, n, -1, n,
                        [=](Long node, auto act) { forEachHead(graph, node, act); });
        if (reaching[n] < 0)
            markReached(&reaching, &toVisit, n, -1, n,
                        [=](Long node, auto act) { forEachTail(graph, node, act); });
    }
    for (Long n = 0; n < slots; n++) {
        bool staysInside = reached[n] == reaching[n];
        forEachHead(graph, n,
                    [&](Long head) { staysInside &= reached[head] == reached[n]; });
        if (!staysInside) return false;
    }
    return true;
}

// In-position of a link, or where it would stand.
Long inPositionOf(const Graph* graph, Long tail, Long head) {
    const Long* tails = graph->tails.cont;
    return static_cast<Long>(std::lower_bound(tails + graph->firstIn[head],
                                              tails + graph->firstIn[head + 1], tail) -
                             tails);
}

// Makes or closes a gap of one link from tail to head, that of the position given.
void shift(Graph* graph, Long tail, Long head, Long at, Long by) {
    for (Long n = tail + 1; n < graph->first.top; n++) graph->first[n] += by;
    for (Long n = head + 1; n < graph->firstIn.top; n++) graph->firstIn[n] += by;
    for (Long& other : graph->positions)
        if (other >= at) other += by;
}

// In-positions: heads ascending, and of the same head tails, as positions go.
bool fillIn(Graph* graph) {
    const Long slots = graph->nodeSlots();
    const Long nbLinks = graph->nbLinks();
    ScopedArray<Long> next;
    if (!makeRoom(&graph->firstIn, slots + 1) || !makeRoom(&graph->positions, nbLinks) ||
        !makeRoom(&graph->tails, nbLinks) || !makeRoom(&next, slots))
        return false;
    graph->firstIn.top = slots + 1;
    graph->positions.top = graph->tails.top = nbLinks;
    std::fill(graph->firstIn.begin(), graph->firstIn.end(), 0);
    for (Long head : graph->heads) graph->firstIn[head + 1]++;
    for (Long n = 0; n < slots; n++) graph->firstIn[n + 1] += graph->firstIn[n];
    std::copy_n(graph->firstIn.cont, slots, next.cont);
    for (Long n = 0; n < slots; n++)
        for (Long i = graph->first[n]; i < graph->first[n + 1]; i++) {
            const Long in = next[graph->heads[i]]++;
            graph->positions[in] = i;
            graph->tails[in] = n;
        }
    return true;
}

}  // namespace

bool buildGraph(const DataBase* dataBase, Graph* graph) {
    const DBNodeVec* nodes = &dataBase->nodeVec;
    graph->first.top = graph->heads.top = graph->out.top = 0;
    graph->knowsTwoWay = false;
    if (!makeRoom(&graph->first, nodes->top + 1)) return false;
    for (Long n = 0; n < nodes->top; n++) {
        graph->first[graph->first.top++] = graph->nbLinks();
        if (nodes->cont[n] == nullptr) continue;
        const LongList* heads = &nodes->cont[n]->outNeighb;
        if (!makeRoom(&graph->heads, graph->nbLinks() + heads->top) ||
            !makeRoom(&graph->out, graph->nbLinks() + heads->top))
            return false;
        for (Long i = 0; i < heads->top; i++) {
            DBLink* link = findLink(&dataBase->linkTab, n, heads->cont[i]);
            graph->heads[graph->heads.top++] = heads->cont[i];
            graph->out[graph->out.top++] = {link->ledger->slot, link};
        }
    }
    graph->first[graph->first.top++] = graph->nbLinks();
    graph->isBuilt = fillIn(graph);
    return graph->isBuilt;
}

void endGraph(Graph* graph) {
    for (Array<Long>* array : {&graph->first, &graph->heads, &graph->firstIn,
                               &graph->positions, &graph->tails})
        endArray(array);
    endArray(&graph->out);
    *graph = {};
}

// Searched without branches: in the few links of a node every other one would be foretold
// wrong.
Long positionOf(const Graph* graph, Long tail, Long head) {
    Long from = graph->first[tail];
    for (Long nb = graph->first[tail + 1] - from; nb > 0;) {
        const Long half = (nb + 1) / 2;
        from += static_cast<Long>(graph->heads[from + half - 1] < head) * half;
        nb -= half;
    }
    return from;
}

void addToGraph(Graph* graph, Long tail, Long head, const OutLink& link) {
    if (!graph->isBuilt) return;
    const Long at = positionOf(graph, tail, head);
    const Long in = inPositionOf(graph, tail, head);
    shift(graph, tail, head, at, 1);
    graph->isBuilt =
        insertAt(&graph->heads, at, head) && insertAt(&graph->out, at, link) &&
        insertAt(&graph->positions, in, at) && insertAt(&graph->tails, in, tail);
    if (!graph->isBuilt || !graph->isTwoWay || !hasWay(graph, head, tail))
        graph->knowsTwoWay = false;
}

void removeFromGraph(Graph* graph, Long tail, Long head) {
    if (!graph->isBuilt) return;
    const Long at = positionOf(graph, tail, head);
    const Long in = inPositionOf(graph, tail, head);
    eraseAt(&graph->heads, at);
    eraseAt(&graph->out, at);
    eraseAt(&graph->positions, in);
    eraseAt(&graph->tails, in);
    shift(graph, tail, head, at, -1);
    // As long as there is another way from tail to head, all others go on, too.
    if (!graph->isTwoWay || !hasWay(graph, tail, head)) graph->knowsTwoWay = false;
}

void addNodeToGraph(Graph* graph, Long node) {
    while (graph->isBuilt && graph->nodeSlots() <= node)
        graph->isBuilt = append(&graph->first, graph->nbLinks()) &&
                         append(&graph->firstIn, graph->nbLinks());
}

bool isTwoWay(Graph* graph) {
    if (!graph->knowsTwoWay) {
        graph->isTwoWay = findOut(graph);
        graph->knowsTwoWay = true;
    }
    return graph->isTwoWay;
}
