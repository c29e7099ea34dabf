#include "engine/place.h"

#include <gmock/gmock.h>

#include <numeric>

#include "networks.h"
#include "plan_json.h"

namespace workbench {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

//   A --100-- B --100-- D      the short way from A to D
//   A --100-- C --100-- E --100-- D
const std::vector<Cable> kTwoWays = {
    {0, 1, 100}, {1, 3, 100}, {0, 2, 100}, {2, 4, 100}, {4, 3, 100}};

PlanDemand demand(int src, int dst, double bandwidth, int level) {
    PlanDemand demand;
    demand.src = src;
    demand.dst = dst;
    demand.bandwidth = bandwidth;
    demand.level = level;
    return demand;
}

Plan run(const Network& network, const std::vector<PlanDemand>& demands,
         Configuration configuration = {}) {
    Plan plan;
    plan.network = network;
    plan.configuration = configuration;
    plan.demands = demands;
    runPlan(&plan, {}, nullptr);
    return plan;
}

std::vector<int> pathOf(const Plan& plan, int demand) {
    for (const PlanLsp& lsp : plan.lsps)
        if (lsp.id == plan.demands[demand].lsp) return lsp.path;
    return {};
}

TEST(Place, PreemptedLspsAreRequestedAgain) {
    const Network network = networkOf(kTwoWays);
    // The second finds the short way congested and takes the long one. The third pushes
    // the first over there, the fourth out of the network.
    const Plan plan = run(network, {demand(0, 3, 60, 5), demand(0, 3, 40, 3),
                                    demand(0, 1, 60, 0), demand(0, 2, 50, 1)});
    EXPECT_EQ(Outcome::PREEMPTED, plan.demands[0].outcome);
    EXPECT_THAT(plan.demands[0].reason, HasSubstr("no path has room"));
    EXPECT_EQ(-1, plan.demands[0].lsp);
    EXPECT_EQ(Outcome::PLACED, plan.demands[1].outcome);
    EXPECT_THAT(pathOf(plan, 1), ElementsAre(0, 2, 4, 3));
    EXPECT_THAT(pathOf(plan, 2), ElementsAre(0, 1));
    EXPECT_THAT(pathOf(plan, 3), ElementsAre(0, 2));
    EXPECT_EQ(1, plan.summary.preempted);
    EXPECT_EQ(150, plan.summary.carried);
    EXPECT_EQ(210, plan.summary.offered);
}

TEST(Place, PreemptedLspMovesToTheOtherWay) {
    const Plan plan =
        run(networkOf(kTwoWays), {demand(0, 3, 60, 5), demand(0, 1, 60, 0)});
    EXPECT_EQ(Outcome::REPLACED, plan.demands[0].outcome);
    EXPECT_THAT(pathOf(plan, 0), ElementsAre(0, 2, 4, 3));
    EXPECT_EQ(1, plan.summary.replaced);
}

TEST(Place, WithoutPreemptionTheNewcomerIsRefused) {
    Configuration configuration;
    configuration.preempt = false;
    const Plan plan = run(networkOf({{0, 1, 100}}),
                          {demand(0, 1, 60, 5), demand(0, 1, 60, 0)}, configuration);
    EXPECT_EQ(Outcome::PLACED, plan.demands[0].outcome);
    EXPECT_EQ(Outcome::REFUSED, plan.demands[1].outcome);
}

TEST(Place, SaysWhatIsMissing) {
    //   A -- B -- C -- A, D hangs on A, nothing leads to or from E and F
    Network network =
        networkOf({{0, 1, 10}, {1, 2, 10}, {2, 0, 10}, {0, 3, 10}, {4, 5, 10}});
    Configuration configuration;
    configuration.protection = Protection::LOCAL;
    const Plan plan = run(network,
                          {demand(0, 4, 1, 0), demand(0, 1, 11, 0), demand(1, 3, 1, 0),
                           demand(0, 1, 6, 0), demand(0, 1, 4, 0), demand(2, 1, 5, 0)},
                          configuration);
    EXPECT_THAT(plan.demands[0].reason, HasSubstr("no links lead"));
    EXPECT_THAT(plan.demands[1].reason, HasSubstr("no path has room"));
    EXPECT_THAT(plan.demands[2].unprotected, HasSubstr("there is no way around A > D"));
    EXPECT_THAT(plan.demands[3].unprotected, HasSubstr("no way around A > B has room"));
    EXPECT_EQ(2, plan.summary.refused);
}

TEST(Place, GlobalBackupNamesLinksAndNodesThatItAvoids) {
    Configuration configuration;
    configuration.protection = Protection::GLOBAL;
    const Plan plan = run(networkOf(kTwoWays), {demand(0, 3, 10, 0)}, configuration);
    ASSERT_THAT(plan.lsps, SizeIs(2));
    const PlanLsp& backup = plan.lsps[1];
    EXPECT_EQ(LspKind::GLOBAL_BACKUP, backup.kind);
    EXPECT_THAT(backup.path, ElementsAre(0, 2, 4, 3));
    EXPECT_THAT(backup.protectedLinks, ElementsAre(0, 2));
    EXPECT_THAT(backup.protectedNodes, ElementsAre(1));
    EXPECT_EQ(1, backup.level);
    EXPECT_EQ(30, plan.summary.backupShared);
    EXPECT_EQ(30, plan.summary.backupDedicated);
}

TEST(Place, LocalBackupOfTheLastHopProtectsTheLinkOnly) {
    Configuration configuration;
    configuration.protection = Protection::LOCAL;
    const Plan plan = run(networkOf(kTwoWays), {demand(0, 3, 10, 0)}, configuration);
    ASSERT_THAT(plan.lsps, SizeIs(3));
    EXPECT_THAT(plan.lsps[1].protectedLinks, ElementsAre(0));
    EXPECT_THAT(plan.lsps[1].protectedNodes, ElementsAre(1));
    EXPECT_THAT(plan.lsps[2].path, ElementsAre(1, 0, 2, 4, 3));
    EXPECT_THAT(plan.lsps[2].protectedLinks, ElementsAre(2));
    EXPECT_THAT(plan.lsps[2].protectedNodes, IsEmpty());
}

TEST(Place, MatrixIsSplitOrderedAndCut) {
    const std::vector<Demand> demands = {
        {0, 1, 10, "small"}, {1, 0, 30, "large"}, {0, 2, 20, "middle"}};
    Configuration configuration = mixedConfiguration(0);
    configuration.order = Order::LARGEST;
    configuration.maxDemands = 2;
    configuration.scale = 2;
    const std::vector<PlanDemand> requests = requestsOf(demands, configuration);
    ASSERT_THAT(requests, SizeIs(6));
    EXPECT_EQ("large", requests[0].name);
    EXPECT_EQ("middle", requests[3].name);
    EXPECT_DOUBLE_EQ(18, requests[1].bandwidth);
    EXPECT_EQ(6, requests[2].level);
    EXPECT_EQ(1, requests[2].trafficClass);
}

TEST(Place, SameInputsGiveTheSamePlan) {
    for (std::uint64_t seed = 0; seed < 12; seed++)
        EXPECT_EQ(planText(randomPlan(seed)), planText(randomPlan(seed))) << seed;
    const std::vector<Demand> demands = randomDemands(randomNetwork(8), 8);
    Configuration one = mixedConfiguration(8);
    one.order = Order::SHUFFLED;
    Configuration other = one;
    other.seed++;
    EXPECT_NE(requestsOf(demands, one)[0].bandwidth,
              requestsOf(demands, other)[0].bandwidth);
}

TEST(Place, StepsAreAsManyAsAnnouncedAndMayEndTheWork) {
    for (std::uint64_t seed = 0; seed < 6; seed++) {
        const Network network = randomNetwork(seed);
        Plan plan =
            newPlan(network, randomDemands(network, seed), mixedConfiguration(seed));
        std::size_t steps = 0;
        runPlan(
            &plan, [&steps] { steps++; }, nullptr);
        EXPECT_EQ(stepsOf(plan), steps);
        EXPECT_THROW(runPlan(
                         &plan, [] { throw std::runtime_error("enough"); }, nullptr),
                     std::runtime_error);
    }
}

TEST(Place, SummaryAddsUp) {
    for (std::uint64_t seed = 0; seed < 20; seed++) {
        const Plan plan = randomPlan(seed);
        const Summary& s = plan.summary;
        EXPECT_EQ(s.requested, s.placed + s.refused + s.preempted + s.replaced);
        EXPECT_LE(s.carried, s.offered);
        EXPECT_LE(s.primary.maximum, s.reserved.maximum);
        EXPECT_LE(s.reserved.maximum, 1 + 1e-9);
        EXPECT_LE(s.backupShared, s.backupDedicated + 1e-9);
        EXPECT_EQ(plan.demands.size(), static_cast<std::size_t>(s.requested));
    }
}

TEST(Shares, NearestRank) {
    std::vector<double> shares(100);
    std::iota(shares.begin(), shares.end(), 1.0);
    const Shares found = sharesOf(shares);
    EXPECT_EQ(50.5, found.mean);
    EXPECT_EQ(95, found.percentile95);
    EXPECT_EQ(100, found.maximum);
    EXPECT_EQ(7, sharesOf({7}).percentile95);
}

}  // namespace
}  // namespace workbench
