#include "computation/backup/dijkstra.h"

#include "common/memory.h"
#include "error/error.h"

#define ERROR_SOURCE "computation/backup/dijkstra.c"

namespace {

// Hangs the new entry below the leaf where its key belongs.
void descend(CPTreeNode* root, CPTreeNode* tn) {
    CPTreeNode* father = nullptr;
    CPTreeNode** child = &root;
    while (*child != nullptr) {
        father = *child;
        child = father->key >= tn->key ? &father->leq : &father->gt;
    }
    tn->father = father;
    *child = tn;
}

// Takes the top, which has no smaller entry below it, out of the tree.
void unlinkTop(CPPrioQueue* pq) {
    CPTreeNode* father = pq->top->father;
    CPTreeNode* child = pq->top->gt;
    (father != nullptr ? father->leq : pq->root) = child;
    if (child != nullptr) child->father = father;
    pq->top = child != nullptr ? child : father;
    if (pq->top == nullptr) return;
    while (pq->top->leq != nullptr) pq->top = pq->top->leq;
}

}  // namespace

CPTreeNode* CPnewTN() {
    auto* tn = static_cast<CPTreeNode*>(mycalloc(1, sizeof(CPTreeNode)));
    // The text speaks of the queue here too.
    return tn != nullptr ? tn
                         : FAIL_WITH(nullptr, "Impossible to allocated a new PrioQueue");
}

int CPdestroyTN(CPTreeNode* tn) {
    if (tn == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    myfree(tn);
    return 0;
}

CPPrioQueue* CPnewPQ() {
    auto* pq = static_cast<CPPrioQueue*>(mycalloc(1, sizeof(CPPrioQueue)));
    return pq != nullptr ? pq
                         : FAIL_WITH(nullptr, "Impossible to allocated a new PrioQueue");
}

int CPinitPQ(CPPrioQueue* pq) {
    if (pq == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    *pq = {};
    return 0;
}

int CPendPQ(CPPrioQueue* pq) {
    if (pq == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    while (CPpopTop(pq) != nullptr) {
    }
    *pq = {};
    return 0;
}

int CPdestroyPQ(CPPrioQueue* pq) {
    if (CPendPQ(pq) < 0) return -1;
    myfree(pq);
    return 0;
}

int CPinsertPQ(CPPrioQueue* pq, CPDijkNode* dn, double key) {
    if (pq == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    CPTreeNode* tn = CPnewTN();
    if (tn == nullptr) return FAIL_WITH(-1, "Impossible to allocated a new TreeNode");
    tn->key = key;
    tn->node = dn;
    if (pq->root == nullptr) {
        pq->root = pq->top = tn;
    } else if (pq->top->key >= key) {
        pq->top->leq = tn;
        tn->father = pq->top;
        pq->top = tn;
    } else {
        descend(pq->root, tn);
    }
    pq->size++;
    return 0;
}

CPDijkNode* CPpopTop(CPPrioQueue* pq) {
    if (pq == nullptr) return FAIL_WITH(nullptr, "Bad argument (NULL)");
    if (pq->top == nullptr) return nullptr;
    CPTreeNode* top = pq->top;
    pq->size--;
    unlinkTop(pq);
    CPDijkNode* node = top->node;
    myfree(top);
    return node;
}
