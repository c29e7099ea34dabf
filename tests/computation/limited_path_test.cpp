#include "computation/primary/limited_path.h"

#include "support/support.h"

using LimitedPaths = KavrilTest;

// What is told of limits is in tests/java, against all paths there are; here is what Java
// cannot see.
TEST_F(LimitedPaths, WithoutMemoryNothingIsFoundAndNothingChanged) {
    for (long nth = 1;; nth++) {
        Net net;
        net.link(0, 1).link(1, 2).link(2, 3).link(0, 2, 50.0).link(1, 3);
        kavrilConfig.primaryComputationConfig.relLoad[0] = 1.0;
        Request req({0, -1, 1, -1, 3}, 8.0);
        ScopedLimits limits;
        pathLimitsInit(&limits);
        limits.maxLinks = 2;
        const double cost = COST;
        failAllocation(nth);
        const LimitedPath result = computeLimitedPath(net, &req, limits);
        if (failAllocation(0) > 0) {
            EXPECT_EQ(Ids({0, 1, 3}), values(req.path));
            EXPECT_DOUBLE_EQ(cost + 0.16, COST);
            EXPECT_GT(nth, 10);
            break;
        }
        EXPECT_EQ(LimitedPath::FAILED, result) << nth;
        EXPECT_EQ(cost, COST);
        EXPECT_FALSE(errorTexts().empty()) << nth;
    }
}

// A ladder of 24 steps leads to node 50; the only way to 51 and back to the destination,
// 52, is by way of 50 twice.
TEST_F(LimitedPaths, SearchForAWayThatNeedsANodeTwiceIsGivenUp) {
    Net net;
    for (Long rung = 0; rung < 24; rung++)
        for (Long side : {0, 1})
            net.link(2 * rung + side, 2 * rung + 2).link(2 * rung + side, 2 * rung + 3);
    net.link(48, 50).link(49, 50).link(50, 51).link(51, 50).link(50, 52);
    Request req({0, -1, 51, -1, 52}, 1.0);
    ScopedLimits none;
    pathLimitsInit(&none);
    EXPECT_EQ(LimitedPath::GIVEN_UP, computeLimitedPath(net, &req, none));
    EXPECT_EQ(Ids({0, -1, 51, -1, 52}), values(req.path));
    Request shorter({40, -1, 51, -1, 52}, 1.0);
    EXPECT_EQ(LimitedPath::NO_WAY, computeLimitedPath(net, &shorter, none));
}
