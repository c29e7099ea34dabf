#include "engine/improve.h"

#include <gmock/gmock.h>

#include "audit/audit.h"
#include "engine/total_score.h"
#include "networks.h"
#include "plan_json.h"

namespace workbench {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

double scoreOf(const Plan& plan) {
    return totalScore(plan.network, plan.configuration, loadsOf(plan));
}

TEST(TotalScore, CongestionIsContinuousAndSteepens) {
    EXPECT_DOUBLE_EQ(20, congestion(20, 100));
    EXPECT_DOUBLE_EQ(100.0 / 3 + 3 * (50 - 100.0 / 3), congestion(50, 100));
    double slope = 0.0;
    for (double load = 0; load < 150; load++) {
        const double next = congestion(load + 1, 100) - congestion(load, 100);
        EXPECT_GE(next, slope - 1e-9) << load;
        slope = next;
    }
    EXPECT_NEAR(5000, slope, 1e-6);
}

TEST(Improve, MovesAnLspThatCameWhenTheBestWayWasFull) {
    //   A --100-- B,  A --100-- C --100-- B
    const Network network = networkOf({{0, 1, 100}, {0, 2, 100}, {2, 1, 100}});
    Plan plan = placed(network, {{0, 1, 60, "first"}, {0, 1, 50, "second"}}, {});
    ASSERT_THAT(plan.lsps[1].path, ElementsAre(0, 2, 1));
    // The first goes and leaves its room.
    plan.demands[0].lsp = -1;
    plan.lsps.erase(plan.lsps.begin());
    const Improvement result = improve(&plan, 0, {});
    ASSERT_THAT(result.moves, SizeIs(1));
    EXPECT_THAT(result.moves[0].before, ElementsAre(0, 2, 1));
    EXPECT_THAT(result.moves[0].after, ElementsAre(0, 1));
    EXPECT_TRUE(result.finished);
    EXPECT_EQ(2, result.rounds);
    EXPECT_DOUBLE_EQ(result.scoreAfter, scoreOf(plan));
    EXPECT_EQ(plan.demands[1].lsp, plan.lsps[0].id);
    EXPECT_EQ(50, plan.links[0].primary[0][0]);
    EXPECT_EQ(0, plan.links[2].primary[0][0]);
}

TEST(Improve, NeverRaisesTheScoreAndKeepsEveryPromise) {
    std::size_t moves = 0;
    for (std::uint64_t seed = 0; seed < 40; seed++) {
        Plan plan = randomPlan(seed);
        const Plan before = plan;
        const Improvement result = improve(&plan, 0, {});
        moves += result.moves.size();
        EXPECT_TRUE(result.finished);
        EXPECT_NEAR(scoreOf(before), result.scoreBefore, 1e-6 * result.scoreBefore);
        EXPECT_NEAR(scoreOf(plan), result.scoreAfter, 1e-6 * result.scoreBefore);
        EXPECT_LE(scoreOf(plan), scoreOf(before) * (1 + 1e-12)) << seed;
        EXPECT_EQ(before.summary.carried, plan.summary.carried) << seed;
        EXPECT_LE(plan.summary.unprotected, before.summary.unprotected) << seed;
        EXPECT_TRUE(audit(plan).isClean()) << seed;
        double gain = 0.0;
        for (const Move& move : result.moves) {
            EXPECT_GT(move.gain, 0.0);
            gain += move.gain;
        }
        EXPECT_NEAR(result.scoreBefore - result.scoreAfter, gain, 1e-6);
        EXPECT_THAT(improve(&plan, 0, {}).moves, IsEmpty()) << seed;
    }
    EXPECT_GT(moves, 20U);
}

TEST(Improve, StopsAfterTheRoundsAskedFor) {
    Plan plan = randomPlan(4);
    EXPECT_EQ(1, improve(&plan, 1, {}).rounds);
}

}  // namespace
}  // namespace workbench
