// Building, releasing and printing the computation topology.

#include <algorithm>
#include <cstdio>
#include <memory>

#include "common/print.h"
#include "computation/primary/primaryPath.h"
#include "database/database.h"
#include "error/error.h"
#include "predicate/predicate.h"

#define ERROR_SOURCE "computation/primary/primaryPath.c"

namespace {

enum Flag : int { UNSEEN = 0, ON_STACK = 1, BUILT = 2 };

void endConnections(BKNode* node) {
    if (node->inNeighb.cont != nullptr) bkConnectVecEnd(&node->inNeighb);
    if (node->outNeighb.cont != nullptr) bkConnectVecEnd(&node->outNeighb);
}

// The first connection to a neighbour, or null.
const BKConnect* findConnect(const BKConnectVec* vec, Long neighbId) {
    for (Long i = 0; i < vec->top; i++)
        if (vec->cont[i].neighbId == neighbId) return &vec->cont[i];
    return nullptr;
}

// The depth-first walk from the source, one node at a time.
class Builder {
  public:
    Builder(DataBase* dataBase, LSPRequest* req, BKTopology* topo)
        : dataBase_(dataBase), req_(req), topo_(topo) {}
    ~Builder() {
        myfree(flags_);
        endConnections(&node_);
    }
    Builder(const Builder&) = delete;
    Builder& operator=(const Builder&) = delete;

    int init() {
        const Long size = DBgetMaxNodeID(dataBase_) + 1;
        if (longVecInit(&toDo_, size) < 0)
            return FAIL_WITH(-1, "Unable to initialize the active nodes list");
        flags_ = static_cast<int*>(mycalloc(static_cast<std::size_t>(size), sizeof(int)));
        if (flags_ == nullptr) return FAIL_WITH(-1, "Critical lack of memory");
        if (bkConnectVecInit(&node_.inNeighb, 1) < 0 ||
            bkConnectVecInit(&node_.outNeighb, 1) < 0) {
            PUSH_ERROR(CRITICAL, "Critical lack of memory");
            return FAIL_WITH(-1, "Unable to initialize the temporary node");
        }
        return 0;
    }

    int run(Long src) {
        // A source that is no node would lie outside the flags.
        if (DBgetNodeInNeighb(dataBase_, src) == nullptr)
            return FAIL_WITH(-1, "Unable to get the list of neighbours");
        if (remember(src) < 0) return -1;
        while (toDo_.top > 0) {
            Long nd = 0;
            if (longVecPopBack(&toDo_, &nd) < 0)
                return FAIL_WITH(-1, "Unable to pop back on list of longs");
            if (addLinks(nd, false) < 0 || addLinks(nd, true) < 0 || store(nd) < 0)
                return -1;
        }
        return 0;
    }

  private:
    int remember(Long nd) {
        if (longVecPushBack(&toDo_, nd) < 0)
            return FAIL_WITH(-1, "Unable to push back on list of longs");
        flags_[nd] = ON_STACK;
        return 0;
    }

    int append(BKConnectVec* vec, const BKConnect& connect) {
        if (bkConnectVecPushBack(vec, &connect) < 0)
            return FAIL_WITH(-1, "Unable to push back neighbour");
        vec->cont[vec->top - 1].info = connect.info;
        return 0;
    }

    // Appends the link from src to dst, seen from the side of `vec`, if it admits the
    // request.
    int appendIfValid(BKConnectVec* vec, Long neighbId, Long src, Long dst) {
        BKConnect connect = {neighbId, DBgetLinkState(dataBase_, src, dst), {}};
        const Long length = req_->path.top;
        const bool valid = isValidRequestLink(dataBase_, src, dst, connect.linkState,
                                              req_, connect.info.gain);
        // An evaluation that fails leaves its link in place of the path: neither links
        // nor ends could be told by it any more.
        if (req_->path.top != length) return FAIL_WITH(-1, "Bad requested path format");
        return valid ? append(vec, connect) : 0;
    }

    // The links to nodes built before were judged there: `seen` are the connections of
    // such a node that lead to nd, on whose side `vec` stands.
    int appendIfSeen(BKConnectVec* vec, Long nb, Long nd, BKConnectVec BKNode::*seen) {
        const BKConnect* judged = findConnect(&(topoNode(topo_, nb)->*seen), nd);
        if (judged == nullptr) return 0;
        return append(vec, {nb, judged->linkState, judged->info});
    }

    // Appends the links that leave the node, or those that enter it.
    int addLinks(Long nd, bool leaving) {
        BKConnectVec* vec = leaving ? &node_.outNeighb : &node_.inNeighb;
        vec->top = 0;
        const LongList* neighbours = leaving ? DBgetNodeOutNeighb(dataBase_, nd)
                                             : DBgetNodeInNeighb(dataBase_, nd);
        if (neighbours == nullptr)
            return FAIL_WITH(-1, "Unable to get the list of neighbours");
        for (Long i = 0; i < neighbours->top; i++) {
            const Long nb = neighbours->cont[i];
            const int ret =
                flags_[nb] == BUILT
                    ? appendIfSeen(vec, nb, nd,
                                   leaving ? &BKNode::inNeighb : &BKNode::outNeighb)
                    : appendIfValid(vec, nb, leaving ? nd : nb, leaving ? nb : nd);
            if (ret < 0) return -1;
            if (leaving && flags_[nb] == UNSEEN && remember(nb) < 0) return -1;
        }
        return 0;
    }

    int store(Long nd) {
        node_.nodeId = nd;
        node_.neighbInd = -1;
        if (bkNodeVecPushBack(&topo_->nodeVec, &node_) < 0)
            return FAIL_WITH(-1, "Unable to push back node");
        if (longVecSet(&topo_->nodeInd, nd, topo_->nodeVec.top - 1) < 0)
            return FAIL_WITH(-1, "Unable to set node index");
        flags_[nd] = BUILT;
        return 0;
    }

    DataBase* dataBase_;
    LSPRequest* req_;
    BKTopology* topo_;
    ScopedLongList toDo_;
    int* flags_ = nullptr;
    BKNode node_ = {};
};

void printNeighbours(const BKConnectVec* vec) {
    for (Long i = 0; i < vec->top; i++) std::printf("%d ", vec->cont[i].neighbId);
}

}  // namespace

int initTopo(BKTopology* topo, Long size) {
    if (topo == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    if (bkNodeVecInit(&topo->nodeVec, 1) < 0)
        return FAIL_WITH(-1, "Unable to initialize node vector");
    if (longVecInit(&topo->nodeInd, size) < 0) {
        bkNodeVecEnd(&topo->nodeVec);
        return FAIL_WITH(-1, "Unable to initialize long vector");
    }
    return 0;
}

int fillTopo(DataBase* dataBase, LSPRequest* req, BKTopology* topo) {
    if (dataBase == nullptr || req == nullptr || topo == nullptr)
        return FAIL_WITH(-1, "Bad argument (NULL)");
    const Long src = getRequestSrc(req);
    if (src < 0) return FAIL_WITH(-1, "Unable to get requested source");
    Builder builder(dataBase, req, topo);
    if (builder.init() < 0 || builder.run(src) < 0) return -1;
    topo->nbNodes = DBgetNbNodes(dataBase);
    topo->nbLinks = DBgetNbLinks(dataBase);
    if (topo->nbNodes < 0 || topo->nbLinks < 0)
        return FAIL_WITH(-1, "Unable to get number of nodes and links");
    return 0;
}

int endTopo(BKTopology* topo) {
    if (topo == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    bkNodeVecEnd(&topo->nodeVec);
    longVecEnd(&topo->nodeInd);
    return 0;
}

int printTopo(BKTopology* topo) {
    if (topo == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    const StreamHold hold(stdout);
    for (Long i = 0; i < topo->nodeInd.top; i++) {
        const BKNode* node = bkNodeVecGet(&topo->nodeVec, nodePosition(topo, i));
        if (node == nullptr) continue;
        if (node->nodeId != i) return FAIL_WITH(-1, "Topology unconsistancy");
        std::printf("Node %d\n--------\nIncoming neighboors : \n", i);
        printNeighbours(&node->inNeighb);
        std::printf("\nOutgoing neighboors : \n");
        printNeighbours(&node->outNeighb);
        std::printf("\nChosen Neighbour Index: %d \n\n", node->neighbInd);
    }
    return 0;
}
