// The pass-based label-correcting search.

#include "common/memory.h"
#include "computation/primary/primaryPath.h"
#include "computation/primary/score_terms.h"
#include "error/error.h"

#define ERROR_SOURCE "computation/primary/primaryPath.c"

namespace {

enum Flag : int { UNREACHED = 0, REACHED = 1, EXPANDED = 2 };

class Search {
  public:
    Search(BKTopology* topo, LSPRequest* req)
        : topo_(topo), req_(req), size_(topo->nodeInd.top) {}
    ~Search() { myfree(flags_); }
    Search(const Search&) = delete;
    Search& operator=(const Search&) = delete;

    int init() {
        if (longVecInit(&active_, size_) < 0)
            return FAIL_WITH(-1, "Unable to initialize the active nodes list");
        flags_ =
            static_cast<int*>(mycalloc(static_cast<std::size_t>(size_), sizeof(int)));
        if (flags_ == nullptr) return FAIL_WITH(-1, "Critical lack of memory");
        return 0;
    }

    // Ends if no term of the score is negative: a pass that changes something reaches a
    // node or lowers a score by more than kMinGain, and scores stay above that of the
    // source. Terms that can fall, those for balance and for delay beyond saturation,
    // have ended all searches tried, as the predecessors never form a loop.
    int run(Long src) {
        if (src >= size_) return FAIL_WITH(-1, "Inexistent node");
        initScore(src, topo_);
        if (reachNeighbours(src) < 0) return -1;
        flags_[src] = EXPANDED;
        do {
            const Long threshold = active_.top;
            if (threshold == 0) return 0;
            changed_ = false;
            for (Long i = 0; i < threshold; i++)
                if (relax(active_.cont[i]) < 0 || expand(active_.cont[i]) < 0) return -1;
            for (Long i = 0; i < threshold; i++) elect(active_.cont[i]);
        } while (changed_);
        return 0;
    }

  private:
    // The lookup that reports a position outside the topology.
    BKNode* lookUp(Long nd) {
        return bkNodeVecGet(&topo_->nodeVec, nodePosition(topo_, nd));
    }

    // Labels a node that has not been reached before by way of `from`.
    int reach(Long from, Long nd) {
        if (longVecPushBack(&active_, nd) < 0) return FAIL_WITH(-1, "Undetermined error");
        BKNode* node = lookUp(nd);
        if (node == nullptr) return FAIL_WITH(-1, "Undetermined error");
        Long j = 0;
        while (j < node->inNeighb.top && node->inNeighb.cont[j].neighbId != from) j++;
        if (j == node->inNeighb.top) return FAIL_WITH(-1, "Topology unconsistancy");
        BKConnect* connect = &node->inNeighb.cont[j];
        node->info.cost = node->info.newCost = makeScore(topo_, req_, from, nd, connect);
        node->neighbInd = node->info.newNeighbInd = j;
        updateNodeInfoOnElect(topo_, req_, from, nd, connect);
        activateNodeInfo(topo_, nd);
        flags_[nd] = REACHED;
        changed_ = true;
        return 0;
    }

    // Reaches what the outgoing connections of nd lead to. The source stays out of it,
    // also where it has a link to itself: predecessor walks end there.
    int reachNeighbours(Long nd) {
        const BKConnectVec* out = &topoNode(topo_, nd)->outNeighb;
        for (Long k = 0; k < out->top; k++) {
            const Long nb = out->cont[k].neighbId;
            if (nb >= size_) return FAIL_WITH(-1, "Inexistent node");
            if (nb == nd || flags_[nb] != UNREACHED) continue;
            if (reach(nd, nb) < 0) return -1;
        }
        return 0;
    }

    // Takes for candidate every predecessor that beats the committed score, so the last
    // of them stays; later passes put that right, since the committed score falls.
    int relax(Long nd) {
        BKNode* node = topoNode(topo_, nd);
        for (Long j = 0; j < node->inNeighb.top; j++) {
            BKConnect* connect = &node->inNeighb.cont[j];
            const Long nb = connect->neighbId;
            if (nb >= size_) return FAIL_WITH(-1, "Inexistent node");
            if (flags_[nb] == UNREACHED || noLoop(topo_, nb, nd) == 0) continue;
            const double cost = makeScore(topo_, req_, nb, nd, connect);
            if (!(cost - node->info.cost < -kMinGain)) continue;
            node->info.newCost = cost;
            node->info.newNeighbInd = j;
            updateNodeInfoOnElect(topo_, req_, nb, nd, connect);
            changed_ = true;
        }
        return 0;
    }

    int expand(Long nd) {
        if (flags_[nd] == UNREACHED) return FAIL_WITH(-1, "Internal unconsistancy");
        if (flags_[nd] == EXPANDED) return 0;
        if (reachNeighbours(nd) < 0) return -1;
        flags_[nd] = EXPANDED;
        return 0;
    }

    void elect(Long nd) {
        if (flags_[nd] != EXPANDED) return;
        BKNode* node = topoNode(topo_, nd);
        node->info.cost = node->info.newCost;
        node->neighbInd = node->info.newNeighbInd;
        activateNodeInfo(topo_, nd);
    }

    BKTopology* topo_;
    LSPRequest* req_;
    Long size_;              // node id slots
    ScopedLongList active_;  // in the order in which the nodes were reached
    int* flags_ = nullptr;   // by node id
    bool changed_ = false;   // in the current pass
};

}  // namespace

int noLoop(BKTopology* topo, Long src, Long dst) {
    const BKNode* node = topoNode(topo, src);
    // Candidates lead the walk, but elected predecessors end it. It does end: a
    // candidate is taken only if this test passes, so candidates form a tree that is
    // rooted in the source.
    while (node->neighbInd != -1) {
        if (node->nodeId == dst) return 0;
        node = topoNode(topo, node->inNeighb.cont[node->info.newNeighbInd].neighbId);
    }
    return node->nodeId != dst ? 1 : 0;
}

int bellmanKalaba(BKTopology* topo, LSPRequest* req) {
    if (topo == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    const Long src = getRequestSrc(req);
    if (src < 0) return FAIL_WITH(-1, "Unable to get requested source");
    Search search(topo, req);
    return search.init() < 0 ? -1 : search.run(src);
}
