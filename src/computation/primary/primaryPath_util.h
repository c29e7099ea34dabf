// Records of the computation topology: the private graph of one primary path request,
// with the admitted links only (prefix bk).
//
// A vector owns its storage; a node slot owns its two connection vectors for as long as
// the node vector lives and reuses them. Link states are borrowed from the database.
// New slots are cleared.
#pragma once

#include "common/common.h"
#include "database/database_st.h"

struct BKConnectInfo {
    double gain[kClasses];  // what preemption would have to free on the link
};

// One admitted link, seen from one of its end nodes.
struct BKConnect {
    Long neighbId;  // the node at the other end
    DBLinkState* linkState;
    BKConnectInfo info;
};

struct BKConnectVec {
    Long size;
    Long top;
    BKConnect* cont;
};

// Labels of the search. The `new` fields are candidates of the current pass.
struct BKNodeInfo {
    Long newNeighbInd;
    double newCost;
    double cost;  // score of the best path to the node
    double newSum[kClasses];
    double sum[kClasses];  // link utilisations, summed over the network
};

struct BKNode {
    Long nodeId;
    BKConnectVec inNeighb;
    BKConnectVec outNeighb;
    Long neighbInd;  // index in inNeighb of the elected predecessor, -1 for none
    BKNodeInfo info;
};

struct BKNodeVec {
    Long size;
    Long top;
    BKNode* cont;
};

struct BKTopology {
    BKNodeVec nodeVec;  // in the order in which the nodes were built
    LongVec nodeInd;    // position in nodeVec by node id; 0 for ids never built
    Long nbNodes;       // of the database, not of the topology
    Long nbLinks;       // likewise
};

// A size of -1 means 1.
BKConnectVec* bkConnectVecNew(Long size);
int bkConnectVecInit(BKConnectVec* vec, Long size);
int bkConnectVecEnd(BKConnectVec* vec);
int bkConnectVecDestroy(BKConnectVec* vec);

// Copies the whole capacity of src, gains included.
int bkConnectVecCopy(BKConnectVec* dst, const BKConnectVec* src);

// Appends neighbour and link state; the gain of the slot is left as it is.
int bkConnectVecPushBack(BKConnectVec* vec, const BKConnect* val);

// Takes the last connection off. *val gets its neighbour, but the link state of the
// slot behind it (null behind the end of the storage).
int bkConnectVecPopBack(BKConnectVec* vec, BKConnect* val);
int bkConnectVecResize(BKConnectVec* vec, Long newsize);

// Despite its name this writes *val's neighbour and link state into the slot.
int bkConnectVecGet(BKConnectVec* vec, Long index, const BKConnect* val);

// The same, growing the vector to hold the slot.
int bkConnectVecSet(BKConnectVec* vec, Long index, const BKConnect* val);

BKNodeVec* bkNodeVecNew(Long size);
int bkNodeVecInit(BKNodeVec* vec, Long size);
int bkNodeVecEnd(BKNodeVec* vec);
int bkNodeVecDestroy(BKNodeVec* vec);

// Store a deep copy of the connections of *val with its nodeId and neighbInd; the
// labels of the slot stay as they are.
int bkNodeVecPushBack(BKNodeVec* vec, const BKNode* val);
int bkNodeVecSet(BKNodeVec* vec, Long index, const BKNode* val);

// Takes the last node off and copies it, deeply, into the initialised *val.
int bkNodeVecPopBack(BKNodeVec* vec, BKNode* val);
int bkNodeVecResize(BKNodeVec* vec, Long newsize);

// The slot itself; its bound is the capacity. Null on failure.
BKNode* bkNodeVecGet(BKNodeVec* vec, Long index);
