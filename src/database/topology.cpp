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

// Ids that the walk over `slots` entries covers before `count` used ones have been seen.
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

// Finds every out-link again among the in-links.
void fillPositions(DBTopology* topology) {
    for (Long position = topology->firstIn[topology->nodeSlots] - 1; position >= 0;
         position--) {
        const Long tail = topology->in[position].tail;
        const Long head = topology->in[position].head;
        const TopoLink* out = topology->out + topology->firstOut[tail];
        const TopoLink* end = topology->out + topology->firstOut[tail + 1];
        const TopoLink* found = std::lower_bound(
            out, end, head, [](const TopoLink& link, Long id) { return link.head < id; });
        topology->outPosition[found - topology->out] = position;
    }
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
        !allocate(&topology->out, nbOut) || !allocate(&topology->outPosition, nbOut))
        return false;

    auto entry = [&](Long src, Long dst) {
        DBLink* link = findLink(&dataBase->linkTab, src, dst);
        return TopoLink{link != nullptr ? link->id : -1, src, dst, link};
    };
    const Long links = fillIds(topology, dataBase);
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
    if (topology->consistent) fillPositions(topology);
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
    myfree(topology->outPosition);
    *topology = {};
}
