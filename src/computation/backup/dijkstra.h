// Queue of tentative nodes for the backup searches (prefix CP).
//
// A plain binary tree ordered by key, `top` on its leftmost entry. A node that gets
// cheaper is inserted again; the search skips the stale entry when it surfaces.
//
// Equal keys come out last in, first out. The choice between equally good paths rests
// on this.
//
// The queue owns its entries, the search owns the nodes they stand for.
//
//     CPinitPQ(&pq);
//     CPinsertPQ(&pq, &nodes[src], 0.0);
//     while (CPDijkNode* node = CPpopTop(&pq)) ...
//     CPendPQ(&pq);
#pragma once

#include "database/database_st.h"

struct CPDijkNode {
    CPDijkNode* from;  // predecessor on the best path so far; null for the start
    DBNode* node;
    double val;   // best cost so far, -1 while the node has not been reached
    bool marked;  // settled
};

struct CPTreeNode {
    CPTreeNode* father;
    CPTreeNode* leq;  // smaller or equal keys
    CPTreeNode* gt;   // greater keys
    double key;
    CPDijkNode* node;
};

struct CPPrioQueue {
    CPTreeNode* root;
    CPTreeNode* top;  // smallest key
    Long size;
};

CPTreeNode* CPnewTN();
int CPdestroyTN(CPTreeNode* tn);

// New/Destroy and Init/End: an empty queue. Ending one pops what is left; a null search
// node among the entries would stop that early.
CPPrioQueue* CPnewPQ();
int CPinitPQ(CPPrioQueue* pq);
int CPendPQ(CPPrioQueue* pq);
int CPdestroyPQ(CPPrioQueue* pq);

int CPinsertPQ(CPPrioQueue* pq, CPDijkNode* dn, double key);

// Removes the entry with the smallest key and returns its node; null when empty.
CPDijkNode* CPpopTop(CPPrioQueue* pq);
