#include "computation/backup/backup.h"

#include <algorithm>
#include <cstdio>

#include "computation/backup/backup_request.h"
#include "computation/backup/exact_search.h"
#include "computation/backup/working_links.h"
#include "computation/computation.h"
#include "database/database.h"
#include "database/workspace.h"
#include "error/error.h"

#define ERROR_SOURCE "computation/backup/backup.c"

namespace {

// Everything one call works with.
class BackupSearch {
  public:
    BackupSearch(DataBase* dataBase, const DBTopology* topology,
                 DBLabelSwitchedPath* primary, BackupType type)
        : dataBase_(dataBase),
          topology_(topology),
          work_(workspaceOf(dataBase)),
          primary_(primary),
          type_(type),
          exact_(dataBase, topology, primary),
          links_(dataBase, topology, primary, type) {
        CPinitPQ(&queue_);
    }
    ~BackupSearch() { CPendPQ(&queue_); }
    BackupSearch(const BackupSearch&) = delete;
    BackupSearch& operator=(const BackupSearch&) = delete;

    // `requests` are those that the call will write to.
    int init(const LSPRequestList* requests) {
        if (longVecInit(&found_, -1) < 0)
            return FAIL_WITH(-1, "Cannot allocate a required structure");
        isExact_ = type_ != NO_BACKUP && type_ <= GLOBAL_BACKUP && !hasPaths(requests) &&
                   exact_.prepare();
        if (!isExact_) {
            nodes_ = scratchArray<CPDijkNode>(&work_->scratches[BACKUP_NODES],
                                              topology_->nodeSlots);
            if (nodes_ == nullptr || links_.init() < 0)
                return FAIL_WITH(-1, "Cannot allocate a required structure");
        }
        for (Long id = 0; topology_->nbFree > 0 && id < topology_->linkSlots; id++) {
            const TopoLink& link = topology_->byId[id];
            if (link.link == nullptr)
                PUSH_ERROR(
                    INFO,
                    "Warning there is no link numbered %d : src = %d, dst = %d ....", id,
                    link.tail, link.head);
        }
        return 0;
    }

    // One backup per link of the primary, the last link first.
    int protectLocally(LSPRequestList* reqList) {
        const LongList* path = &primary_->path;
        const Long nbBackups = path->top - 1;
        if (fillRequests(reqList, nbBackups) < 0) return -1;
        for (Long j = nbBackups - 1; j >= 0; j--) {
            if (clearForbidden() < 0 || forbidLinksInto(path->cont[j + 1]) < 0) return -1;
            protect(j, j + 1);
            // Nothing gets around the last node of the primary.
            bool isFound =
                !(isExact_ && j + 1 == nbBackups) && search(path->cont[j], j + 1);
            if (!isFound) {
                if (clearForbidden() < 0) return -1;
                forbidHop(j);
                isFound = search(path->cont[j], j + 1);
            }
            if (!isFound) {
                std::fputs("No local link disjoint protection path found\n", stderr);
                return -1;
            }
            if (record(&reqList->cont[j]) < 0) return -1;
        }
        return 0;
    }

    // One backup from end to end.
    int protectGlobally(LSPRequestList* reqList) {
        const Long last = primary_->path.top - 1;
        if (fillRequests(reqList, 1) < 0) return -1;
        if (clearForbidden() < 0) return -1;
        for (Long i = 1; i < last; i++)
            if (forbidLinksInto(primary_->path.cont[i]) < 0) return -1;
        if (last >= 1) forbidHop(last - 1);
        protect(0, last);
        bool isFound = searchGlobally();
        if (!isFound) {
            std::printf("Switching from node to link protection for lsp number: %d\n",
                        primary_->id);
            if (clearForbidden() < 0) return -1;
            for (Long hop = 0; hop < last; hop++) forbidHop(hop);
            isFound = searchGlobally();
        }
        if (!isFound) {
            std::printf("Oups ... no path found ...\n");
            std::fputs("No end to end link disjoint protection path found\n", stderr);
            return -1;
        }
        return record(&reqList->cont[0]);
    }

  private:
    // Whether there are paths to be taken back before new ones are written.
    static bool hasPaths(const LSPRequestList* requests) {
        return std::any_of(requests->cont, requests->cont + requests->size,
                           [](const LSPRequest& req) { return req.path.top > 0; });
    }

    // The node's record in the current search; null for a node that has been removed.
    CPDijkNode* searchNode(Long id) {
        DBNode* node = findNode(&dataBase_->nodeVec, id);
        if (node == nullptr) return nullptr;
        if (!isMarked(&work_->stamps[REACHED_NODES], id)) {
            mark(&work_->stamps[REACHED_NODES], id);
            nodes_[id] = {nullptr, node, -1.0, false};
        }
        return &nodes_[id];
    }

    int fillRequests(LSPRequestList* reqList, Long size) {
        if (lspRequestListResize(reqList, size) < 0) return -1;
        for (Long i = 0; i < reqList->size; i++)
            fillBackupRequest(&reqList->cont[i], primary_, type_);
        return 0;
    }

    int clearForbidden() {
        if (clearStamps(&work_->stamps[FORBIDDEN_LINKS], topology_->linkSlots) < 0)
            return FAIL_WITH(-1, "Cannot allocate a required structure");
        return 0;
    }

    // Forbids a link if it exists.
    void forbid(Long src, Long dst) {
        const Long id = DBgetLinkID(dataBase_, src, dst);
        if (id >= 0) mark(&work_->stamps[FORBIDDEN_LINKS], id);
    }

    // Forbids the link from node `hop` of the primary to the next.
    void forbidHop(Long hop) {
        forbid(primary_->path.cont[hop], primary_->path.cont[hop + 1]);
    }

    int forbidLinksInto(Long node) {
        const LongList* in = DBgetNodeInNeighb(dataBase_, node);
        if (in == nullptr)
            return FAIL_WITH(-1, "The protected node must have some neighbour");
        for (Long i = 0; i < in->top; i++) forbid(in->cont[i], node);
        return 0;
    }

    // Says from which hops of the primary the next searches protect.
    void protect(Long first, Long last) {
        if (isExact_) exact_.protect(first, last);
    }

    bool searchGlobally() {
        const LongList* path = &primary_->path;
        return path->top > 0 && search(path->cont[0], path->top - 1);
    }

    // Searches from start for the nearest of the primary's nodes from index firstGoal on;
    // the path found stands in found_.
    bool search(Long start, Long firstGoal) {
        found_.top = 0;
        if (isExact_) return exact_.search(start, firstGoal, &found_);
        const CPDijkNode* end = searchByTrials(start, firstGoal);
        return end != nullptr && pushChain(&found_, end) == 0;
    }

    // Dijkstra; returns the goal's search node, or null. Ends: links are relaxed once per
    // node, when it is marked.
    CPDijkNode* searchByTrials(Long start, Long firstGoal) {
        CPendPQ(&queue_);
        if (clearStamps(&work_->stamps[REACHED_NODES], topology_->nodeSlots) < 0)
            return nullptr;
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
        if (links_.setTail(node) < 0) return;
        for (Long i = topology_->firstOut[id]; i < topology_->firstOut[id + 1]; i++) {
            const TopoLink& link = topology_->out[i];
            CPDijkNode* next = searchNode(link.head);
            if (next->marked || isMarked(&work_->stamps[FORBIDDEN_LINKS], link.id))
                continue;
            const double cost = links_.cost(link, node);
            if (cost < 0.0) continue;
            const double val = node->val + cost;
            if (next->val != -1.0 && !(val > 0.0 && next->val > val)) continue;
            next->val = val;
            next->from = node;
            CPinsertPQ(&queue_, next, val);
        }
    }

    // Writes the path found into the request; searches to come see its bandwidth.
    int record(LSPRequest* req) {
        if (!isExact_) links_.book(req, REMOVE);
        if (longVecCopy(&req->path, &found_) < 0) return -1;
        if (isExact_)
            exact_.book(&found_);
        else
            links_.book(req, SETUP);
        return 0;
    }

    DataBase* dataBase_;
    const DBTopology* topology_;
    DBWorkspace* work_;
    DBLabelSwitchedPath* primary_;
    BackupType type_;
    ScopedLongList found_;
    ExactSearch exact_;
    bool isExact_ = false;
    // What searches by trials need.
    WorkingLinks links_;
    CPDijkNode* nodes_ = nullptr;  // by node id; valid where the search has been
    CPPrioQueue queue_;
};

}  // namespace

int computeBackup(DataBase* dataBase, LSPRequestList* reqList, Long lspID,
                  BackupType type) {
    if (dataBase == nullptr || reqList == nullptr) return FAIL_WITH(-1, "Wrong argument");
    DBLabelSwitchedPath* primary = DBgetLSP(dataBase, lspID);
    if (primary == nullptr) return FAIL_WITH(-1, "Cannot find lsp ID %d", lspID);
    const DBTopology* topology = currentTopology(dataBase);
    if (topology == nullptr) return FAIL_WITH(-1, "Cannot allocate a required structure");
    BackupSearch search(dataBase, topology, primary, type);
    if (search.init(reqList) < 0) return -1;
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
