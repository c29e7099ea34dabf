#include "computation/primary/primaryPath.h"

#include <algorithm>

#include "common/setup.h"
#include "computation/primary/path_search.h"
#include "error/error.h"

#define ERROR_SOURCE "computation/primary/primaryPath.c"

namespace {

int checkEnds(LSPRequest* req) {
    if (req == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    const LongList* path = &req->path;
    if (path->top < 2 || path->cont[0] < 0 || path->cont[path->top - 1] < 0)
        return FAIL_WITH(-1, "Bad requested path format");
    return 0;
}

// The node itself; reports a position outside the topology.
BKNode* lookUp(BKTopology* topo, Long nd) {
    BKNode* node = bkNodeVecGet(&topo->nodeVec, nodePosition(topo, nd));
    return node != nullptr ? node : FAIL_WITH(nullptr, "Undetermined error");
}

// Appends the nodes from dst back to, but without, src. Predecessors form a tree rooted
// in src, also where a link leads from a node to itself, so this ends.
int walkBack(BKTopology* topo, LongList* path, Long src, Long dst) {
    Long nd = dst;
    BKNode* node = lookUp(topo, nd);
    if (node == nullptr) return -1;
    while (nd != src) {
        if (node->neighbInd < 0) return FAIL_WITH(-1, "Destination unreachable");
        if (longVecPushBack(path, nd) < 0) return FAIL_WITH(-1, "Undetermined error");
        nd = node->inNeighb.cont[node->neighbInd].neighbId;
        node = lookUp(topo, nd);
        if (node == nullptr) return -1;
    }
    return 0;
}

// For requests that the search on the graph does not take: builds a topology, searches it
// and reads the path out.
int computeOnTopology(DataBase* dataBase, LSPRequest* req) {
    ScopedTopo topo;
    if (initTopo(&topo, -1) < 0)
        return FAIL_WITH(-1, "Unable to initialize the topology structure");
    if (fillTopo(dataBase, req, &topo) < 0)
        return FAIL_WITH(-1, "Unable to build topology");
    if (bellmanKalaba(&topo, req) < 0) return FAIL_WITH(-1, "Bellman-Kalaba failure");
    if (updateRequest(&topo, req) < 0)
        return FAIL_WITH(-1, "Unable to update requested path");
    // The last entry, not getRequestDst: a path of one node is a path here.
    const Long dst = req->path.cont[req->path.top - 1];
    const BKNode* egress = bkNodeVecGet(&topo.nodeVec, nodePosition(&topo, dst));
    if (egress == nullptr) return FAIL_WITH(-1, "Unable to get egress node");
    addCost(egress->info.cost);
    return 0;
}

}  // namespace

int getRequestSrc(LSPRequest* req) {
    return checkEnds(req) < 0 ? -1 : req->path.cont[0];
}

int getRequestDst(LSPRequest* req) {
    return checkEnds(req) < 0 ? -1 : req->path.cont[req->path.top - 1];
}

int updateRequest(BKTopology* topo, LSPRequest* req) {
    if (topo == nullptr || req == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    if (checkEnds(req) < 0) return FAIL_WITH(-1, "Unable to get requested source");
    LongList* path = &req->path;
    const Long src = path->cont[0];
    const Long dst = path->cont[path->top - 1];
    path->top = 0;
    if (walkBack(topo, path, src, dst) < 0) return -1;
    if (longVecPushBack(path, src) < 0) return FAIL_WITH(-1, "Undetermined error");
    std::reverse(path->cont, path->cont + path->top);
    return 0;
}

int computePrimaryPath(DataBase* dataBase, LSPRequest* req) {
    if (dataBase == nullptr || req == nullptr)
        return FAIL_WITH(-1, "Bad argument (NULL)");
    if (checkEnds(req) < 0) return FAIL_WITH(-1, "Unable to get requested source");
    double cost = 0.0;
    switch (findPath(dataBase, req, &cost)) {
        case SearchResult::FOUND:
            addCost(cost);
            return 0;
        case SearchResult::UNREACHABLE:
            return FAIL_WITH(-1, "Unable to update requested path");
        case SearchResult::FAILED:
            return FAIL_WITH(-1, "Bellman-Kalaba failure");
        case SearchResult::NOT_APPLICABLE:
            return computeOnTopology(dataBase, req);
    }
    return -1;
}
