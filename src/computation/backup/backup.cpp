#include "computation/backup/backup.h"

#include <algorithm>
#include <cstdio>

#include "computation/backup/backup_request.h"
#include "computation/computation.h"
#include "database/database.h"
#include "error/error.h"

#define ERROR_SOURCE "computation/backup/backup.c"

namespace {

// Everything one call works with: its own link states, on which the backups chosen so
// far are booked, and a search node per node.
class BackupSearch {
  public:
    BackupSearch(DataBase* dataBase, DBLabelSwitchedPath* primary, BackupType type)
        : dataBase_(dataBase),
          primary_(primary),
          type_(type),
          nbLinks_(dataBase->linkSrcVec.top),
          nbNodes_(dataBase->nodeVec.top) {
        CPinitPQ(&queue_);
    }

    ~BackupSearch() {
        CPendPQ(&queue_);
        for (Long id = 0; lsList_ != nullptr && id < nbLinks_; id++)
            if (lsList_[id] != nullptr && DBlinkStateDestroy(lsList_[id]) < 0)
                PUSH_ERROR(CRITICAL, "Something went wrong while clearing a structure");
        myfree(lsList_);
        for (Long id = 0; nodeList_ != nullptr && id < nbNodes_; id++)
            myfree(nodeList_[id]);
        myfree(nodeList_);
    }

    BackupSearch(const BackupSearch&) = delete;
    BackupSearch& operator=(const BackupSearch&) = delete;

    int init() {
        lsList_ = newTable<DBLinkState>(nbLinks_);
        nodeList_ = newTable<CPDijkNode>(nbNodes_);
        if (lsList_ == nullptr || nodeList_ == nullptr)
            return FAIL_WITH(-1, "Cannot allocate a required structure");
        for (Long id = 0; id < nbLinks_; id++) lsList_[id] = duplicateState(id);
        for (Long id = 0; id < nbNodes_; id++)
            nodeList_[id] = newSearchNode(dataBase_->nodeVec.cont[id]);
        return longVecInit(&forbiddenLinks_, -1);
    }

    // One backup per link of the primary, the last link first.
    int protectLocally(LSPRequestList* reqList) {
        const LongList* path = &primary_->path;
        const Long nbBackups = path->top - 1;
        if (fillRequests(reqList, nbBackups) < 0) return -1;
        for (Long j = nbBackups - 1; j >= 0; j--) {
            forbiddenLinks_.top = 0;
            if (forbidLinksInto(path->cont[j + 1]) < 0) return -1;
            CPDijkNode* end = search(path->cont[j], j + 1);
            if (end == nullptr) {
                forbiddenLinks_.top = 0;
                if (forbidHop(j) < 0) return -1;
                end = search(path->cont[j], j + 1);
            }
            if (end == nullptr) {
                std::fputs("No local link disjoint protection path found\n", stderr);
                return -1;
            }
            if (record(&reqList->cont[j], end) < 0) return -1;
        }
        return 0;
    }

    // One backup from end to end.
    int protectGlobally(LSPRequestList* reqList) {
        const Long last = primary_->path.top - 1;
        if (fillRequests(reqList, 1) < 0) return -1;
        forbiddenLinks_.top = 0;
        for (Long i = 1; i < last; i++)
            if (forbidLinksInto(primary_->path.cont[i]) < 0) return -1;
        if (last >= 1 && forbidHop(last - 1) < 0) return -1;
        CPDijkNode* end = searchGlobally();
        if (end == nullptr) {
            std::printf("Switching from node to link protection for lsp number: %d\n",
                        primary_->id);
            forbiddenLinks_.top = 0;
            for (Long hop = 0; hop < last; hop++)
                if (forbidHop(hop) < 0) return -1;
            end = searchGlobally();
        }
        if (end == nullptr) {
            std::printf("Oups ... no path found ...\n");
            std::fputs("No end to end link disjoint protection path found\n", stderr);
            return -1;
        }
        return record(&reqList->cont[0], end);
    }

  private:
    template <class T>
    static T** newTable(Long size) {
        return static_cast<T**>(mycalloc(static_cast<std::size_t>(size), sizeof(T*)));
    }

    // A copy of the link's state; null, with a message, if there is none.
    DBLinkState* duplicateState(Long id) {
        const Long src = DBgetLinkSrc(dataBase_, id);
        const Long dst = DBgetLinkDst(dataBase_, id);
        if (src == -1 || dst == -1) {
            PUSH_ERROR(INFO,
                       "Warning there is no link numbered %d : src = %d, dst = %d ....",
                       id, src, dst);
            return nullptr;
        }
        DBLinkState* state = DBgetLinkState(dataBase_, src, dst);
        if (state == nullptr) {
            PUSH_ERROR(WARNING, "Oups there should be a link-state here");
            return nullptr;
        }
        DBLinkState* copy = DBlinkStateNew();
        if (copy == nullptr)
            return FAIL_WITH(nullptr, "Cannot duplicate all the link-states");
        if (DBlinkStateCopy(copy, state) < 0) {
            DBlinkStateDestroy(copy);
            return FAIL_WITH(nullptr, "Something went wrong while copying");
        }
        return copy;
    }

    CPDijkNode* newSearchNode(DBNode* node) {
        if (node == nullptr) return nullptr;
        auto* searchNode = static_cast<CPDijkNode*>(mycalloc(1, sizeof(CPDijkNode)));
        if (searchNode == nullptr)
            return FAIL_WITH(nullptr, "Cannot create the Dijk nodes");
        searchNode->node = node;
        searchNode->val = -1.0;
        return searchNode;
    }

    // The search node of a node id; null for a node that has been removed.
    CPDijkNode* searchNode(Long id) {
        return id >= 0 && id < nbNodes_ ? nodeList_[id] : nullptr;
    }

    int fillRequests(LSPRequestList* reqList, Long size) {
        if (lspRequestListResize(reqList, size) < 0) return -1;
        for (Long i = 0; i < reqList->size; i++)
            fillBackupRequest(&reqList->cont[i], primary_, type_);
        return 0;
    }

    int forbid(Long src, Long dst) {
        return longVecPushBack(&forbiddenLinks_, DBgetLinkID(dataBase_, src, dst));
    }

    // The link from node `hop` of the primary to the next.
    int forbidHop(Long hop) {
        return forbid(primary_->path.cont[hop], primary_->path.cont[hop + 1]);
    }

    int forbidLinksInto(Long node) {
        const LongList* in = DBgetNodeInNeighb(dataBase_, node);
        if (in == nullptr)
            return FAIL_WITH(-1, "The protected node must have some neighbour");
        for (Long i = 0; i < in->top; i++)
            if (forbid(in->cont[i], node) < 0) return -1;
        return 0;
    }

    bool isForbidden(Long linkId) const {
        const Long* end = forbiddenLinks_.cont + forbiddenLinks_.top;
        return std::find(static_cast<const Long*>(forbiddenLinks_.cont), end, linkId) !=
               end;
    }

    CPDijkNode* searchGlobally() {
        const LongList* path = &primary_->path;
        return path->top > 0 ? search(path->cont[0], path->top - 1) : nullptr;
    }

    // Dijkstra from start to the nearest of the primary's nodes from index firstGoal on.
    // Returns the goal's search node, or null.
    CPDijkNode* search(Long start, Long firstGoal) {
        CPendPQ(&queue_);
        for (Long id = 0; id < nbNodes_; id++) {
            CPDijkNode* node = nodeList_[id];
            if (node == nullptr) continue;
            node->from = nullptr;
            node->val = -1.0;
            node->marked = false;
        }
        CPDijkNode* node = searchNode(start);
        if (node == nullptr) return nullptr;
        node->val = 0.0;
        if (CPinsertPQ(&queue_, node, 0.0) < 0) return nullptr;
        while ((node = CPpopTop(&queue_)) != nullptr) {
            if (node->marked) continue;
            node->marked = true;
            if (isGoal(node->node->id, firstGoal)) return node;
            relaxNeighbours(node);
        }
        return nullptr;
    }

    bool isGoal(Long node, Long firstGoal) const {
        const LongList* path = &primary_->path;
        const Long* end = path->cont + path->top;
        return std::find(static_cast<const Long*>(path->cont + firstGoal), end, node) !=
               end;
    }

    void relaxNeighbours(CPDijkNode* node) {
        const Long id = node->node->id;
        const LongList* out = DBgetNodeOutNeighb(dataBase_, id);
        if (out == nullptr) return;
        for (Long i = 0; i < out->top; i++) {
            CPDijkNode* next = searchNode(out->cont[i]);
            if (next == nullptr || next->marked) continue;
            if (isForbidden(DBgetLinkID(dataBase_, id, out->cont[i]))) continue;
            const double cost =
                computeCost(dataBase_, lsList_, id, out->cont[i], node, primary_, type_);
            if (cost < 0.0) continue;
            const double val = node->val + cost;
            if (next->val != -1.0 && !(val > 0.0 && next->val > val)) continue;
            next->val = val;
            next->from = node;
            CPinsertPQ(&queue_, next, val);
        }
    }

    // Applies the request to the working states of the links on its path.
    void book(LSPRequest* req, operation op) {
        for (Long i = 0; i < req->path.top - 1; i++) {
            const Long src = req->path.cont[i];
            const Long dst = req->path.cont[i + 1];
            const Long id = DBgetLinkID(dataBase_, src, dst);
            if (id >= 0) evalLS(dataBase_, src, dst, lsList_[id], lsList_[id], req, op);
        }
    }

    // Writes the path found into the request; searches to come see its bandwidth.
    int record(LSPRequest* req, const CPDijkNode* end) {
        book(req, REMOVE);
        req->path.top = 0;
        if (pushChain(&req->path, end) < 0) return -1;
        book(req, SETUP);
        return 0;
    }

    DataBase* dataBase_;
    DBLabelSwitchedPath* primary_;
    BackupType type_;
    Long nbLinks_;  // link id slots
    Long nbNodes_;  // node id slots
    DBLinkState** lsList_ = nullptr;
    CPDijkNode** nodeList_ = nullptr;
    CPPrioQueue queue_;
    ScopedLongList forbiddenLinks_;
};

}  // namespace

int computeBackup(DataBase* dataBase, LSPRequestList* reqList, Long lspID,
                  BackupType type) {
    if (dataBase == nullptr || reqList == nullptr) return FAIL_WITH(-1, "Wrong argument");
    DBLabelSwitchedPath* primary = DBgetLSP(dataBase, lspID);
    if (primary == nullptr) return FAIL_WITH(-1, "Cannot find lsp ID %d", lspID);
    BackupSearch search(dataBase, primary, type);
    if (search.init() < 0) return -1;
    switch (type) {
        case NO_BACKUP:
            PUSH_ERROR(INFO, "Oups no backup were requested");
            return 0;
        case LOCAL_BACKUP:
            return search.protectLocally(reqList);
        case GLOBAL_BACKUP:
            return search.protectGlobally(reqList);
        default:
            PUSH_ERROR(WARNING, "Unknown backup type");
            return 0;
    }
}
