#include "predicate/predicate.h"

#include "support/support.h"

using Predicate = KavrilTest;

TEST_F(Predicate, CapacityClauseCountsWhatCannotBePreempted) {
    const std::tuple<int, bool, double, double> cases[] = {
        {2, true, 10, 2}, {2, false, 10, -1}, {5, true, 10, -1},
        {2, true, 7, 5},  {2, false, 12, 0},  {1, true, 3.75, -1}};
    // The gain is -1, not written, where the link refuses.
    for (const auto& [level, allowReroute, cap, want] : cases)
        for (int oa : {0, 6}) {
            DBLinkState ls = {};
            ls.cap[oa] = cap;
            ls.rbw[oa][0] = 4.0;
            ls.rbw[oa][2] = 3.0;
            ls.rbw[oa][5] = 5.0;
            double gain[kClasses] = {-1, -1, -1, -1, -1, -1, -1, -1};
            kavrilConfig.predicateConfig.allowReroute = allowReroute;
            Request req({}, 0.0, level);
            EXPECT_EQ(want >= 0.0, capacityClause(&ls, &req, gain));
            EXPECT_EQ(want, gain[oa]);
            EXPECT_EQ(want >= 0.0 ? 0.0 : -1.0, gain[7]);  // the first refusal ends it
        }
}

TEST_F(Predicate, SwitchesColoursAndExcludedLinksDecide) {
    Net net;
    net.link(2, 3, 5.0).link(3, 2, 5.0);
    net.state(2, 3).color = 7;
    double gain[kClasses] = {9.0};
    auto admits = [&](Request* req, Long src, Long dst) {
        return isValidRequestLink(net, src, dst, &net.state(src, dst), req, gain);
    };
    Request req({1, -1, 4}, 6.0), empty({});
    EXPECT_FALSE(admits(&req, 2, 3));
    kavrilConfig.predicateConfig = {};
    for (Long colour : {3, 7}) longVecPushBack(&req.forbidLinks, colour);
    req.rerouteInfo = {5, 3, 2};
    EXPECT_TRUE(admits(&req, 2, 3));
    EXPECT_FALSE(admits(&req, 3, 2));
    EXPECT_EQ(9.0, gain[0]);
    kavrilConfig.predicateConfig.colorClause = true;
    req.rerouteInfo.id = -1;
    EXPECT_FALSE(admits(&req, 2, 3));
    EXPECT_TRUE(admits(&req, 3, 2));
    EXPECT_THAT(values(req.path), ElementsAre(1, -1, 4));  // restored
    EXPECT_FALSE(admits(&empty, 2, 3));
    EXPECT_EQ("Unable to update link state", errorTexts().at(0));
}
