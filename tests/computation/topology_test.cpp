// Vectors of the computation topology.

#include "computation/primary/primaryPath.h"
#include "support/support.h"

using TopologyVectors = KavrilTest;

namespace {

BKConnect connection(Long id) {
    static DBLinkState states[10];
    return {id, &states[id % 10], {{1.0 * id}}};
}

Ids neighbours(const BKConnectVec& vec) {
    Ids ids;
    for (Long i = 0; i < vec.top; i++) {
        ids.push_back(vec.cont[i].neighbId);
        EXPECT_EQ(connection(vec.cont[i].neighbId).linkState, vec.cont[i].linkState);
    }
    return ids;
}

}  // namespace

TEST_F(TopologyVectors, ConnectionsGrowCopyAndAreOverwritten) {
    BKConnectVec* vec = bkConnectVecNew(2);
    for (Long id : {1, 2, 3, 4}) {
        const BKConnect val = connection(id);
        EXPECT_EQ(0, bkConnectVecPushBack(vec, &val));
    }
    EXPECT_EQ(4, vec->size);
    EXPECT_EQ(0.0, vec->cont[0].info.gain[0]);  // is not stored
    vec->cont[1].info.gain[0] = 7.0;
    BKConnectVec copy = {};
    EXPECT_EQ(0, bkConnectVecInit(&copy, -1) + bkConnectVecCopy(&copy, vec));
    EXPECT_THAT(neighbours(copy), ElementsAre(1, 2, 3, 4));
    EXPECT_EQ(7.0, copy.cont[1].info.gain[0]);
    BKConnect val = connection(5);
    EXPECT_EQ(0, bkConnectVecGet(vec, 2, &val) + bkConnectVecSet(vec, 8, &val));
    EXPECT_THAT((Ids{vec->size, vec->top, vec->cont[2].neighbId, vec->cont[8].neighbId}),
                ElementsAre(9, 9, 5, 5));
    EXPECT_EQ(0, bkConnectVecPopBack(&copy, &val) + bkConnectVecPopBack(&copy, &val));
    EXPECT_EQ(3, val.neighbId);
    EXPECT_EQ(connection(4).linkState, val.linkState);  // that of the slot behind
    EXPECT_EQ(0, bkConnectVecResize(&copy, 6));
    EXPECT_TRUE(copy.size == 6 && copy.cont[5].linkState == nullptr);
    copy.top = 0;
    EXPECT_EQ(-1, bkConnectVecPopBack(&copy, &val));
    for (Long index : {9, -1}) EXPECT_EQ(-1, bkConnectVecGet(vec, index, &val));
    EXPECT_EQ(0, bkConnectVecEnd(&copy) + bkConnectVecDestroy(vec));
    EXPECT_EQ(-1, bkConnectVecPushBack(&copy, &val));
    EXPECT_THAT(errorTexts(),
                ElementsAre("Bad argument (NULL)", "Bad argument (index < 0)",
                            "Bad argument (wrong index)", "Pop on empty stack"));
}

TEST_F(TopologyVectors, NodesAreCopiedDeeply) {
    BKNodeVec* vec = bkNodeVecNew(-1);
    BKNode node = {};
    bkConnectVecInit(&node.inNeighb, 1);
    bkConnectVecInit(&node.outNeighb, 1);
    for (Long id : {1, 2, 3}) {
        const BKConnect in = connection(id), out = connection(id + 5);
        bkConnectVecPushBack(&node.inNeighb, &in);
        bkConnectVecPushBack(&node.outNeighb, &out);
        node.nodeId = id;
        node.neighbInd = id + 20;
        node.info.cost = 9.0;
        EXPECT_EQ(0, bkNodeVecPushBack(vec, &node));
    }
    EXPECT_EQ(std::pair(4, 3), std::pair(vec->size, vec->top));
    EXPECT_THAT(neighbours(bkNodeVecGet(vec, 1)->inNeighb), ElementsAre(1, 2));
    EXPECT_THAT(neighbours(vec->cont[0].outNeighb), ElementsAre(6));
    EXPECT_THAT((Ids{vec->cont[1].nodeId, vec->cont[1].neighbInd}), ElementsAre(2, 22));
    EXPECT_EQ(-2, bkNodeVecSet(nullptr, 0, &node) + bkNodeVecSet(vec, 0, nullptr));
    EXPECT_THAT(errorTexts(), ElementsAre("Bad argument (NULL)", "Bad argument (NULL)"));
    EXPECT_EQ(0.0, vec->cont[1].info.cost);  // keeps its own
    EXPECT_EQ(0, bkNodeVecSet(vec, 0, &node) + bkNodeVecSet(vec, 5, &node));
    EXPECT_EQ(std::pair(8, 6), std::pair(vec->size, vec->top));
    EXPECT_THAT(neighbours(vec->cont[0].inNeighb), ElementsAre(1, 2, 3));
    EXPECT_EQ(3, vec->cont[5].nodeId);
    EXPECT_EQ(0, bkNodeVecResize(vec, 9));
    EXPECT_TRUE(vec->cont[8].outNeighb.cont != nullptr);
    vec->top = 2;
    EXPECT_EQ(0, bkNodeVecPopBack(vec, &node));
    EXPECT_THAT(neighbours(node.inNeighb), ElementsAre(1, 2));
    EXPECT_THAT((Ids{node.nodeId, node.neighbInd, vec->top}), ElementsAre(2, 22, 1));
    EXPECT_TRUE(bkNodeVecGet(vec, 9) == nullptr && bkNodeVecGet(vec, -1) == nullptr);
    EXPECT_EQ(-1, bkNodeVecSet(vec, -1, &node));
    EXPECT_EQ(3U, errorTexts().size());
    EXPECT_EQ(0, bkConnectVecEnd(&node.inNeighb) + bkConnectVecEnd(&node.outNeighb));
    EXPECT_EQ(0, bkNodeVecDestroy(vec));
}
