#include "computation/backup/backup.h"

#include <algorithm>
#include <cmath>

#include "common/print.h"
#include "computation/backup/backup_request.h"
#include "computation/backup/node_queue.h"
#include "computation/backup/working_links.h"
#include "computation/computation.h"
#include "database/database.h"
#include "error/error.h"

#define ERROR_SOURCE "computation/backup/backup.c"

namespace {

constexpr double kNotReached = -1.0;
constexpr CPDijkNode kUntouched = {nullptr, nullptr, kNotReached, false};

// The queue of dijkstra.h, for keys that are not numbers: they keep no order, so that
// what comes out depends on its tree.
class TreeQueue {
  public:
    explicit TreeQueue(Array<CPDijkNode>* nodes) : nodes_(nodes) { CPinitPQ(&queue_); }
    ~TreeQueue() { CPendPQ(&queue_); }
    TreeQueue(const TreeQueue&) = delete;
    TreeQueue& operator=(const TreeQueue&) = delete;

    void clear() { CPendPQ(&queue_); }
    bool isEmpty() const { return queue_.top == nullptr; }
    void push(double key, Long node) { CPinsertPQ(&queue_, &(*nodes_)[node], key); }
    Long pop() { return static_cast<Long>(CPpopTop(&queue_) - nodes_->cont); }

  private:
    Array<CPDijkNode>* nodes_;
    CPPrioQueue queue_;
};

// Everything one call works with.
class BackupSearch {
  public:
    BackupSearch(DataBase* dataBase, DBLabelSwitchedPath* primary, BackupType type)
        : dataBase_(dataBase),
          graph_(&dataBase->live->graph),
          primary_(primary),
          type_(type),
          links_(dataBase, primary, type) {}

    int init() {
        if (!links_.init() || longVecInit(&found_, -1) < 0)
            return FAIL_WITH(-1, "Cannot allocate a required structure");
        const Long nodes = graph_->nodeSlots();
        if (!nodes_.fill(nodes, kUntouched) || !makeRoom(&reached_, nodes) ||
            !lastOnPrimary_.fill(nodes, -1) ||
            !isForbidden_.fill(graph_->out.top, false) ||
            !queue_.init(graph_->out.top + 1))
            return FAIL_WITH(-1, "Cannot allocate a required structure");
        for (Long i = 0; i < primary_->path.top; i++)
            if (const Long node = primary_->path.cont[i]; node >= 0 && node < nodes)
                lastOnPrimary_[node] = i;
        reportFreeIds();
        return 0;
    }

    // One backup per link of the primary, the last link first; `all` of them or none.
    int protectLocally(LSPRequestList* reqList, bool all) {
        const LongList* path = &primary_->path;
        const Long nbBackups = path->top - 1;
        if (fillRequests(reqList, nbBackups) < 0) return -1;
        for (Long j = nbBackups - 1; j >= 0; j--) {
            isProtectable_ = links_.startAt(path->cont[j]);
            clearForbidden();
            if (forbidLinksInto(path->cont[j + 1]) < 0) return -1;
            // Nothing gets around the last node of the primary.
            bool isFound =
                !(isProtectable_ && j + 1 == nbBackups) && search(path->cont[j], j + 1);
            if (!isFound) {
                clearForbidden();
                forbid(path->cont[j], path->cont[j + 1]);
                isFound = search(path->cont[j], j + 1);
            }
            if (!isFound && all) {
                say(stderr, "No local link disjoint protection path found\n");
                return -1;
            }
            if (isFound && record(&reqList->cont[j]) < 0) return -1;
        }
        return 0;
    }

    // One backup from end to end.
    int protectGlobally(LSPRequestList* reqList) {
        const LongList* path = &primary_->path;
        const Long last = path->top - 1;
        if (fillRequests(reqList, 1) < 0) return -1;
        if (last >= 0) isProtectable_ = links_.startAt(path->cont[0]);
        for (Long i = 1; i < last; i++)
            if (forbidLinksInto(path->cont[i]) < 0) return -1;
        if (last >= 1) forbid(path->cont[last - 1], path->cont[last]);
        bool isFound = last >= 0 && search(path->cont[0], last);
        if (!isFound) {
            say(stdout, "Switching from node to link protection for lsp number: %d\n",
                primary_->id);
            clearForbidden();
            for (Long i = 0; i < last; i++) forbid(path->cont[i], path->cont[i + 1]);
            isFound = last >= 0 && search(path->cont[0], last);
        }
        if (!isFound) {
            say(stdout, "Oups ... no path found ...\n");
            say(stderr, "No end to end link disjoint protection path found\n");
            return -1;
        }
        return record(&reqList->cont[0]);
    }

  private:
    void reportFreeIds() const {
        const LongVec* sources = &dataBase_->linkSrcVec;
        if (dataBase_->live->nbUsed == sources->top) return;
        for (Long id = 0; id < sources->top; id++)
            if (sources->cont[id] == 0)
                PUSH_ERROR(
                    INFO,
                    "Warning there is no link numbered %d : src = %d, dst = %d ....", id,
                    -1, -1);
    }

    int fillRequests(LSPRequestList* reqList, Long size) {
        if (lspRequestListResize(reqList, size) < 0) return -1;
        for (Long i = 0; i < reqList->size; i++)
            fillBackupRequest(&reqList->cont[i], primary_, type_);
        return 0;
    }

    void clearForbidden() { std::fill(isForbidden_.begin(), isForbidden_.end(), false); }

    void forbid(Long tail, Long head) {
        if (findLink(&dataBase_->linkTab, tail, head) != nullptr)
            isForbidden_[positionOf(graph_, tail, head)] = true;
    }

    int forbidLinksInto(Long node) {
        const LongList* in = DBgetNodeInNeighb(dataBase_, node);
        if (in == nullptr)
            return FAIL_WITH(-1, "The protected node must have some neighbour");
        for (Long i = 0; i < in->top; i++) forbid(in->cont[i], node);
        return 0;
    }

    // Searches from start for the nearest of the primary's nodes from index firstGoal on;
    // the path found stands in found_.
    bool search(Long start, Long firstGoal) {
        found_.top = 0;
        if (findNode(&dataBase_->nodeVec, start) == nullptr) return false;
        bool areNumbers = true;
        Long goal = searchWith(&queue_, start, firstGoal, &areNumbers);
        if (!areNumbers) {
            TreeQueue tree(&nodes_);
            goal = searchWith(&tree, start, firstGoal, nullptr);
        }
        for (Long n = goal; n >= 0; n = idOf(nodes_[n].from))
            if (longVecPushBack(&found_, n) < 0) return false;
        std::reverse(found_.cont, found_.cont + found_.top);
        return goal >= 0;
    }

    Long idOf(const CPDijkNode* node) const {
        return node != nullptr ? static_cast<Long>(node - nodes_.cont) : -1;
    }

    // Dijkstra; returns the goal, or -1. Ends: links are relaxed once per node, when it
    // is marked. Gives up, where that may be told, at the first key that is not a number.
    template <class Queue>
    Long searchWith(Queue* queue, Long start, Long firstGoal, bool* areNumbers) {
        for (Long n : reached_) nodes_[n] = kUntouched;
        reached_.top = 0;
        queue->clear();
        nodes_[start].val = 0.0;
        reached_[reached_.top++] = start;
        queue->push(0.0, start);
        while (!queue->isEmpty()) {
            const Long n = queue->pop();
            CPDijkNode* node = &nodes_[n];
            if (node->marked) continue;
            node->marked = true;
            if (lastOnPrimary_[n] >= firstGoal) return n;
            for (Long i = graph_->first[n]; i < graph_->first[n + 1]; i++) {
                const Long head = graph_->heads[i];
                CPDijkNode* next = &nodes_[head];
                if (next->marked || isForbidden_[i]) continue;
                // Where the least that a link can cost is no gain, it need not be tried.
                if (isProtectable_ && next->val != kNotReached &&
                    !(next->val > node->val + links_.leastCostTo(head)))
                    continue;
                const double cost = links_.cost(i, n);
                if (cost < 0.0) continue;
                const double val = node->val + cost;
                if (next->val != kNotReached && !(val > 0.0 && next->val > val)) continue;
                if (areNumbers != nullptr && std::isnan(val)) {
                    *areNumbers = false;
                    return -1;
                }
                if (next->val == kNotReached) reached_[reached_.top++] = head;
                next->val = val;
                next->from = node;
                queue->push(val, head);
            }
        }
        return -1;
    }

    // Writes the path found into the request; searches to come see its bandwidth.
    int record(LSPRequest* req) {
        if (links_.book(req, REMOVE) < 0) return -1;
        if (longVecCopy(&req->path, &found_) < 0) return -1;
        return links_.book(req, SETUP);
    }

    DataBase* dataBase_;
    Graph* graph_;
    DBLabelSwitchedPath* primary_;
    BackupType type_;
    WorkingLinks links_;
    bool isProtectable_ = false;  // all links that the next backup protects exist
    ScopedLongList found_;
    ScopedArray<CPDijkNode> nodes_;    // by node
    ScopedArray<Long> reached_;        // those that the last search has met
    ScopedArray<Long> lastOnPrimary_;  // by node: last index on the primary's path, or -1
    ScopedArray<bool> isForbidden_;    // by position in the graph
    NodeQueue queue_;
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
            return search.protectLocally(reqList, true);
        case GLOBAL_BACKUP:
            return search.protectGlobally(reqList);
        default:
            PUSH_ERROR(WARNING, "Unknown backup type");
            return 0;
    }
}

int computeLocalBackups(DataBase* dataBase, LSPRequestList* reqList, Long lspID) {
    if (dataBase == nullptr || reqList == nullptr) return FAIL_WITH(-1, "Wrong argument");
    DBLabelSwitchedPath* primary = DBgetLSP(dataBase, lspID);
    if (primary == nullptr) return FAIL_WITH(-1, "Cannot find lsp ID %d", lspID);
    BackupSearch search(dataBase, primary, LOCAL_BACKUP);
    return search.init() == 0 ? search.protectLocally(reqList, false) : -1;
}
