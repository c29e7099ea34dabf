#include "engine/explain.h"

#include <gmock/gmock.h>

#include <numeric>

#include "networks.h"

namespace workbench {
namespace {

//   a --100--> b --100--> d     80 of it taken from a to d over b, at level 1
//   a -- 40--> c -- 40--> d
const Network kNetwork = networkOf({{0, 1, 100}, {1, 3, 100}, {0, 2, 40}, {2, 3, 40}});

struct Case {
    double bandwidth;
    std::vector<int> path;      // without preemption
    std::vector<int> refusing;  // links
    std::vector<int> cut;
    std::vector<int> preempting;  // path
    std::vector<int> preempted;
};

const Case kCases[] = {
    {10, {0, 2, 3}, {}, {0, 2}, {0, 2, 3}, {}},
    {30, {0, 2, 3}, {0, 1}, {2}, {0, 2, 3}, {}},
    {50, {}, {0, 1, 2, 3}, {0, 2}, {0, 1, 3}, {0}},
    {120, {}, {0, 1, 2, 3}, {0, 2}, {}, {}},
};

TEST(Explain, SaysWhatARequestWouldMeet) {
    const Plan plan = newPlan(kNetwork, {}, {});
    Engine engine(plan);
    Request request = {.demand = 0, .src = 0, .dst = 3, .level = 1, .bandwidth = 80};
    request.route = {0, 1, 3};
    ASSERT_TRUE(engine.request(request).placed);
    for (const Case& one : kCases) {
        SCOPED_TRACE(one.bandwidth);
        const Explanation said = explain(
            &engine,
            {.demand = 1, .src = 0, .dst = 3, .level = 0, .bandwidth = one.bandwidth});
        EXPECT_EQ(one.path, said.path.nodes);
        std::vector<int> refusing;
        for (const Refusal& refusal : said.refusals) {
            refusing.push_back(refusal.link);
            const double room = refusal.link < 2 ? 20 : 40;
            EXPECT_DOUBLE_EQ(one.bandwidth - room, refusal.missing[0]);
        }
        EXPECT_EQ(one.refusing, refusing);
        EXPECT_EQ(one.cut, said.cut);
        EXPECT_DOUBLE_EQ(40, said.largest);
        EXPECT_DOUBLE_EQ(100, said.largestWithPreemption);
        EXPECT_EQ(one.preempting, said.preempting.nodes);
        EXPECT_EQ(one.preempted, said.preempted);
        for (const GiveWay& link : said.giveWay)
            EXPECT_DOUBLE_EQ(one.bandwidth - 20, link.missing);
        double score = 0;
        for (const ScoredLink& link : said.links) {
            score += link.score;
            EXPECT_NEAR(link.score,
                        std::accumulate(link.parts.begin(), link.parts.end(), 0.0), 1e-9);
        }
        EXPECT_NEAR(said.path.score, score, 1e-9);
    }
    EXPECT_EQ(1u, engine.lsps().size());  // a trial
}

}  // namespace
}  // namespace workbench
