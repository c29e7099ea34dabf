#include "computation/primary/primaryPath_util.h"

#define ERROR_SOURCE "computation/primary/primaryPath_util.c"
#include "common/vec.h"

namespace {

void setLink(BKConnect* slot, const BKConnect* val) {
    slot->neighbId = val->neighbId;
    slot->linkState = val->linkState;
}

// The two connection vectors of a cleared node.
int initNode(BKNode* node) {
    if (bkConnectVecInit(&node->inNeighb, 1) < 0) return -1;
    if (bkConnectVecInit(&node->outNeighb, 1) < 0) {
        bkConnectVecEnd(&node->inNeighb);
        return -1;
    }
    return 0;
}

void endNodes(BKNodeVec* vec, Long from, Long to) {
    for (Long i = from; i < to; i++) {
        bkConnectVecEnd(&vec->cont[i].inNeighb);
        bkConnectVecEnd(&vec->cont[i].outNeighb);
    }
}

// Initialises the nodes from..to-1, or none.
int initNodes(BKNodeVec* vec, Long from, Long to) {
    for (Long i = from; i < to; i++)
        if (initNode(&vec->cont[i]) < 0) {
            endNodes(vec, from, i);
            return FAIL_WITH(-1, "Unable to initialize structure");
        }
    return 0;
}

int copyNode(BKNode* dst, const BKNode* src) {
    if (bkConnectVecCopy(&dst->inNeighb, &src->inNeighb) < 0 ||
        bkConnectVecCopy(&dst->outNeighb, &src->outNeighb) < 0)
        return FAIL_WITH(-1, "Unable to copy the list of neighbours");
    dst->nodeId = src->nodeId;
    dst->neighbInd = src->neighbInd;
    return 0;
}

}  // namespace

BKConnectVec* bkConnectVecNew(Long size) {
    return vecNew<BKConnectVec>(size);
}
int bkConnectVecInit(BKConnectVec* vec, Long size) {
    return vecInit(vec, size);
}
int bkConnectVecEnd(BKConnectVec* vec) {
    return vecEnd(vec);
}
int bkConnectVecDestroy(BKConnectVec* vec) {
    return vecDestroy(vec);
}
int bkConnectVecCopy(BKConnectVec* dst, const BKConnectVec* src) {
    return vecCopy(dst, src);
}
int bkConnectVecResize(BKConnectVec* vec, Long newsize) {
    return vecResize(vec, newsize);
}

int bkConnectVecPushBack(BKConnectVec* vec, const BKConnect* val) {
    if (val == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    BKConnect* slot = vecNextSlot(vec);
    if (slot == nullptr) return -1;
    setLink(slot, val);
    vec->top++;
    return 0;
}

int bkConnectVecPopBack(BKConnectVec* vec, BKConnect* val) {
    if (!isUsable(vec) || val == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    if (vec->top <= 0) return FAIL_WITH(-1, "Pop on empty stack");
    val->neighbId = vec->cont[vec->top - 1].neighbId;
    val->linkState = vec->top < vec->size ? vec->cont[vec->top].linkState : nullptr;
    vec->top--;
    return 0;
}

int bkConnectVecGet(BKConnectVec* vec, Long index, const BKConnect* val) {
    if (val == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    if (vecCheckIndex(vec, index) < 0) return -1;
    setLink(&vec->cont[index], val);
    return 0;
}

int bkConnectVecSet(BKConnectVec* vec, Long index, const BKConnect* val) {
    if (val == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    BKConnect* slot = vecSlotAt(vec, index, "");
    if (slot == nullptr) return -1;
    setLink(slot, val);
    vec->top = std::max(vec->top, index + 1);
    return 0;
}

BKNodeVec* bkNodeVecNew(Long size) {
    BKNodeVec* vec = vecNew<BKNodeVec>(size);
    if (vec != nullptr && initNodes(vec, 0, vec->size) < 0) {
        vecDestroy(vec);
        return nullptr;
    }
    return vec;
}

int bkNodeVecInit(BKNodeVec* vec, Long size) {
    if (vecInit(vec, size) < 0) return -1;
    if (initNodes(vec, 0, vec->size) < 0) {
        vecEnd(vec);
        return -1;
    }
    return 0;
}

int bkNodeVecEnd(BKNodeVec* vec) {
    if (!isUsable(vec)) return FAIL_WITH(-1, "Bad argument (NULL)");
    endNodes(vec, 0, vec->size);
    return vecEnd(vec);
}

int bkNodeVecDestroy(BKNodeVec* vec) {
    if (bkNodeVecEnd(vec) < 0) return -1;
    myfree(vec);
    return 0;
}

int bkNodeVecPushBack(BKNodeVec* vec, const BKNode* val) {
    if (!isUsable(vec) || val == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    if (vec->top >= vec->size &&
        bkNodeVecResize(vec, grownSize(vec->size, vec->size)) < 0)
        return -1;
    if (copyNode(&vec->cont[vec->top], val) < 0) return -1;
    vec->top++;
    return 0;
}

int bkNodeVecSet(BKNodeVec* vec, Long index, const BKNode* val) {
    if (!isUsable(vec) || val == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    if (index < 0) return FAIL_WITH(-1, "Bad argument (index < 0)");
    if (index >= vec->size && bkNodeVecResize(vec, grownSize(vec->size, index)) < 0)
        return FAIL_WITH(-1, "Unable to resize vector");
    if (copyNode(&vec->cont[index], val) < 0) return -1;
    vec->top = std::max(vec->top, index + 1);
    return 0;
}

int bkNodeVecPopBack(BKNodeVec* vec, BKNode* val) {
    if (!isUsable(vec) || val == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    if (vec->top <= 0) return FAIL_WITH(-1, "Pop on empty stack");
    if (copyNode(val, &vec->cont[vec->top - 1]) < 0) return -1;
    vec->top--;
    return 0;
}

int bkNodeVecResize(BKNodeVec* vec, Long newsize) {
    if (!isUsable(vec)) return FAIL_WITH(-1, "Bad argument (NULL)");
    const Long oldSize = vec->size;
    if (newsize >= 0 && newsize < oldSize) endNodes(vec, newsize, oldSize);
    if (vecResize(vec, newsize) < 0) return -1;
    if (newsize > oldSize && initNodes(vec, oldSize, newsize) < 0) {
        vec->size = oldSize;
        return -1;
    }
    return 0;
}

BKNode* bkNodeVecGet(BKNodeVec* vec, Long index) {
    return vecCheckIndex(vec, index) == 0 ? &vec->cont[index] : nullptr;
}
