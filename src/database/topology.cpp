#include "database/topology.h"

#include <algorithm>

#include "database/database_util.h"
#include "database/workspace.h"

namespace {

bool isCurrent(const DBTopology* topology, const DataBase* dataBase) {
    return topology->in != nullptr && topology->version == dataBase->version &&
           topology->nbNodes == dataBase->nbNodes &&
           topology->nbLinks == dataBase->nbLinks;
}

template <class T>
bool allocate(T** array, Long size) {
    *array = static_cast<T*>(mycalloc(static_cast<std::size_t>(size) + 1, sizeof(T)));
    return *array != nullptr;
}

// Ids that the walk over `slots` entries covers before `count` used ones have been seen;
// none if the count is below 0.
template <class IsUsed>
Long countedLimit(Long slots, Long count, IsUsed isUsed) {
    Long id = 0;
    for (Long seen = 0; id < slots && seen < count; id++)
        if (isUsed(id)) seen++;
    return id;
}

// Every link by id. Returns how many there are.
Long fillIds(DBTopology* topology, const DataBase* dataBase) {
    Long links = 0;
    for (Long id = 0; id < topology->linkSlots; id++) {
        const Long src = dataBase->linkSrcVec.cont[id] - 1;
        const Long dst = dataBase->linkDstVec.cont[id] - 1;
        DBLink* link = findLink(&dataBase->linkTab, src, dst);
        topology->byId[id] = {id, src, dst, link};
        if (link != nullptr) links++;
    }
    return links;
}

// The links of one list of every node, node after node. Returns how many there are.
template <class FindLink>
Long fillLists(const DataBase* dataBase, Long nodeSlots, LongList DBNode::*list,
               FindLink linkTo, Long* first, TopoLink* links) {
    Long position = 0;
    for (Long n = 0; n < nodeSlots; n++) {
        first[n] = position;
        const DBNode* node = dataBase->nodeVec.cont[n];
        for (Long i = 0; node != nullptr && i < (node->*list).top; i++)
            links[position++] = linkTo(n, (node->*list).cont[i]);
    }
    first[nodeSlots] = position;
    return position;
}

// Finds every in-link again among the out-links.
void fillPositions(DBTopology* topology) {
    for (Long position = topology->firstIn[topology->nodeSlots] - 1; position >= 0;
         position--) {
        const TopoLink& in = topology->in[position];
        const TopoLink* out = topology->out + topology->firstOut[in.tail];
        const TopoLink* end = topology->out + topology->firstOut[in.tail + 1];
        const TopoLink* found = std::lower_bound(
            out, end, in.head,
            [](const TopoLink& link, Long id) { return link.head < id; });
        const auto outPosition = static_cast<Long>(found - topology->out);
        topology->hops[outPosition] = {in.head, position};
        topology->outOfIn[position] = outPosition;
        topology->outById[in.id] = outPosition;
    }
}

// Nodes reached from the first one, itself included, where ends(node, act) calls act for
// the nodes next to it. `reached` and `toDo` have a slot per node.
template <class Ends>
Long countReached(Long start, bool* reached, Long* toDo, Ends ends) {
    Long top = 0;
    Long nb = 1;
    reached[start] = true;
    toDo[top++] = start;
    while (top > 0)
        ends(toDo[--top], [&](Long next) {
            if (reached[next]) return;
            reached[next] = true;
            nb++;
            toDo[top++] = next;
        });
    return nb;
}

// Whether every node can be reached from every other. False if there is no memory to find
// out.
bool isConnected(const DBTopology* topology, const DataBase* dataBase) {
    const Long slots = topology->nodeSlots;
    Long nodes = 0;
    Long start = -1;
    for (Long n = slots - 1; n >= 0; n--)
        if (dataBase->nodeVec.cont[n] != nullptr) {
            nodes++;
            start = n;
        }
    if (start < 0) return false;
    auto* reached =
        static_cast<bool*>(mycalloc(2 * static_cast<std::size_t>(slots), sizeof(bool)));
    auto* toDo =
        static_cast<Long*>(mycalloc(static_cast<std::size_t>(slots), sizeof(Long)));
    auto heads = [&](Long n, auto act) {
        for (Long i = topology->firstOut[n]; i < topology->firstOut[n + 1]; i++)
            act(topology->out[i].head);
    };
    auto tails = [&](Long n, auto act) {
        for (Long i = topology->firstIn[n]; i < topology->firstIn[n + 1]; i++)
            act(topology->in[i].tail);
    };
    const bool connected = reached != nullptr && toDo != nullptr &&
                           countReached(start, reached, toDo, heads) == nodes &&
                           countReached(start, reached + slots, toDo, tails) == nodes;
    myfree(reached);
    myfree(toDo);
    return connected;
}

Long neighbours(const DataBase* dataBase, LongList DBNode::*list) {
    Long sum = 0;
    for (Long n = 0; n < dataBase->nodeVec.top; n++)
        if (dataBase->nodeVec.cont[n] != nullptr)
            sum += (dataBase->nodeVec.cont[n]->*list).top;
    return sum;
}

bool build(DBTopology* topology, const DataBase* dataBase) {
    const LongVec* ids = &dataBase->linkSrcVec;
    const DBNodeVec* nodes = &dataBase->nodeVec;
    auto linkUsed = [&](Long id) { return ids->cont[id] != 0; };
    auto nodeUsed = [&](Long id) { return nodes->cont[id] != nullptr; };
    topology->version = dataBase->version;
    topology->nbNodes = dataBase->nbNodes;
    topology->nbLinks = dataBase->nbLinks;
    topology->nodeSlots = nodes->top;
    topology->linkSlots = ids->top;
    topology->linkLimit = countedLimit(ids->top, dataBase->nbLinks, linkUsed);
    topology->nodeLimit = countedLimit(nodes->top, dataBase->nbNodes, nodeUsed);
    const Long nbIn = neighbours(dataBase, &DBNode::inNeighb);
    const Long nbOut = neighbours(dataBase, &DBNode::outNeighb);
    if (!allocate(&topology->byId, topology->linkSlots) ||
        !allocate(&topology->firstIn, topology->nodeSlots) ||
        !allocate(&topology->in, nbIn) || !allocate(&topology->inIds, nbIn) ||
        !allocate(&topology->firstOut, topology->nodeSlots) ||
        !allocate(&topology->out, nbOut) || !allocate(&topology->hops, nbOut) ||
        !allocate(&topology->outOfIn, nbIn) ||
        !allocate(&topology->outById, topology->linkSlots))
        return false;

    auto entry = [&](Long src, Long dst) {
        DBLink* link = findLink(&dataBase->linkTab, src, dst);
        return TopoLink{link != nullptr ? link->id : -1, src, dst, link};
    };
    const Long links = fillIds(topology, dataBase);
    topology->nbFree = topology->linkSlots - links;
    fillLists(
        dataBase, nodes->top, &DBNode::inNeighb,
        [&](Long dst, Long src) { return entry(src, dst); }, topology->firstIn,
        topology->in);
    fillLists(
        dataBase, nodes->top, &DBNode::outNeighb,
        [&](Long src, Long dst) { return entry(src, dst); }, topology->firstOut,
        topology->out);
    for (Long i = 0; i < nbIn; i++) topology->inIds[i] = topology->in[i].id;
    topology->consistent = nbIn == links && nbOut == links;
    if (!topology->consistent) return true;
    fillPositions(topology);
    topology->connected = isConnected(topology, dataBase);
    return true;
}

}  // namespace

DBTopology* currentTopology(DataBase* dataBase) {
    DBWorkspace* work = workspaceOf(dataBase);
    if (work == nullptr) return nullptr;
    DBTopology* topology = &work->topology;
    if (isCurrent(topology, dataBase)) return topology;
    // A number of its own, even if only a counter has been set from outside.
    dataBase->version++;
    endTopology(topology);
    if (build(topology, dataBase)) return topology;
    endTopology(topology);
    return nullptr;
}

void endTopology(DBTopology* topology) {
    myfree(topology->byId);
    myfree(topology->firstIn);
    myfree(topology->in);
    myfree(topology->inIds);
    myfree(topology->firstOut);
    myfree(topology->out);
    myfree(topology->hops);
    myfree(topology->outOfIn);
    myfree(topology->outById);
    *topology = {};
}
