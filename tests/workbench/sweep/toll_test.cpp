// What failures and pairs cost is what the plain drill says, to the last bit.
#include <gmock/gmock.h>

#include <random>

#include "../engine/networks.h"
#include "audit/drill.h"
#include "audit/failure_sets.h"
#include "audit/toll.h"
#include "engine/replan.h"

namespace workbench {
namespace {

// A ring with chords of which some are one-way, and amounts without a pattern.
Plan placedPlan(Protection protection, std::uint64_t seed) {
    std::mt19937_64 random(seed);
    constexpr int kNodes = 11;
    std::vector<Edge> edges;
    for (int node = 0; node < kNodes; node++)
        edges.push_back({node, (node + 1) % kNodes, 30.0 + static_cast<double>(node)});
    for (int node = 0; node < kNodes; node += 2)
        edges.push_back({node, (node + 4) % kNodes, 25.0});
    std::vector<Demand> demands;
    for (int i = 0; i < 90; i++) {
        const int src = static_cast<int>(random() % kNodes);
        demands.push_back(
            {.src = src,
             .dst = static_cast<int>((src + 1 + random() % (kNodes - 1)) % kNodes),
             .bandwidth = 0.1 + static_cast<double>(random() % 97) / 31.0,
             .name = {}});
    }
    Configuration configuration;
    configuration.classes = {{"voice", 0.4}, {"data", 0.6}};
    configuration.parts = {{0, 1, 0.3}, {1, 3, 0.5}, {1, 5, 0.2}};
    configuration.protection = protection;
    Plan plan = newPlan(networkOf(edges, true), demands, configuration);
    runPlan(&plan, {}, nullptr);
    return plan;
}

double sumOf(const std::vector<int>& ids, const Plan& plan) {
    double sum = 0.0;
    for (const PlanLsp& lsp : plan.lsps)
        if (std::ranges::count(ids, lsp.id) > 0) sum += lsp.bandwidth;
    return sum;
}

// All that both can tell of one case.
std::vector<double> figuresOf(const Toll& toll) {
    return {static_cast<double>(toll.all.restored.lsps),
            static_cast<double>(toll.all.lost.lsps),
            static_cast<double>(toll.all.ended.lsps),
            toll.all.restored.bandwidth,
            toll.all.lost.bandwidth,
            toll.all.ended.bandwidth,
            static_cast<double>(toll.fullest.link),
            static_cast<double>(toll.fullest.trafficClass),
            toll.fullest.bandwidth,
            static_cast<double>(toll.overloads)};
}

std::vector<double> figuresOf(const Failure& failure, const Plan& plan) {
    std::vector<int> restored;
    double ended = 0.0;
    for (const Restored& one : failure.restored) restored.push_back(one.lsp);
    for (const Lost& one : failure.lost) ended += one.cause == LossCause::ENDS_HERE;
    return {static_cast<double>(restored.size()),
            static_cast<double>(failure.lost.size()) - ended,
            ended,
            sumOf(restored, plan),
            failure.bandwidthLost,
            failure.bandwidthEndsHere,
            static_cast<double>(failure.fullest.link),
            static_cast<double>(failure.fullest.trafficClass),
            failure.fullest.bandwidth,
            static_cast<double>(failure.overloads.size())};
}

class TollOf : public ::testing::TestWithParam<Protection> {};

TEST_P(TollOf, EveryFailureAndPairIsThatOfTheDrill) {
    for (const std::uint64_t seed : {1U, 2U, 3U}) {
        const Plan plan = placedPlan(GetParam(), seed);
        std::vector<std::string> problems;
        const Routes routes(plan, &problems);
        const auto sets =
            failuresOf(plan, {FailureKind::LINK, FailureKind::CABLE, FailureKind::NODE});
        const Effects effects(plan, routes, sets);
        TollKeeper keeper(effects);
        Drill drill(plan, routes);
        std::vector<double> worst;
        for (const WorstLoad& one : drill.worst()) worst.push_back(one.load.bandwidth);
        const auto compare = [&](FailedSets failed, const FailureSet& set) {
            const Toll toll = keeper.fail(failed, {}, [&](std::size_t cell, double load) {
                worst[cell] = std::max(worst[cell], load);
            });
            ASSERT_EQ(figuresOf(drill.fail(set), plan), figuresOf(toll)) << set.name;
            Tally sum;
            for (const LevelTally& level : toll.levels) {
                sum.lost.lsps += level.tally.lost.lsps;
                sum.restored.lsps += level.tally.restored.lsps;
            }
            ASSERT_EQ(toll.all.lost.lsps, sum.lost.lsps) << set.name;
            ASSERT_EQ(toll.all.restored.lsps, sum.restored.lsps) << set.name;
        };
        for (int i = 0; i < std::ssize(sets); i++) {
            compare({i, -1}, sets[i]);
            for (int j = i + 1; j < std::ssize(sets); j++)
                compare({i, j}, pairsOf({sets[i], sets[j]}).front());
        }
        for (std::size_t cell = 0; cell < worst.size(); cell++)
            ASSERT_EQ(drill.worst()[cell].load.bandwidth, worst[cell]);
    }
}

INSTANTIATE_TEST_SUITE_P(Protections, TollOf,
                         ::testing::Values(Protection::NONE, Protection::LOCAL,
                                           Protection::GLOBAL),
                         [](const auto& one) { return toText(one.param); });

// Placed again is what finds room: nothing that was up gives way, no link overflows that
// did not before, and an important LSP stays down only where it finds no way.
TEST(PlanAfter, PlacesWhatWasLostWhereThereIsRoom) {
    const Plan plan = placedPlan(Protection::NONE, 4);
    std::vector<std::string> problems;
    const Routes routes(plan, &problems);
    const auto sets = failuresOf(plan, {FailureKind::CABLE, FailureKind::NODE});
    const Effects effects(plan, routes, sets);
    TollKeeper keeper(effects);
    int again = 0;
    for (int i = 0; i < std::ssize(sets); i++) {
        const Plan after = planAfter(effects, {i, -1}, true);
        const Toll toll = keeper.fail({i, -1});
        const auto placed = placedAgain(after, effects.of(FailedSets{i, -1}));
        again += static_cast<int>(placed.size());
        EXPECT_EQ(std::ssize(plan.lsps) - toll.all.lost.lsps - toll.all.ended.lsps +
                      std::ssize(placed),
                  std::ssize(after.lsps));
        const AuditResult result = audit(after, {});
        EXPECT_TRUE(result.problems.empty());
        EXPECT_TRUE(result.tables.differing.empty());
        EXPECT_TRUE(result.overloads.empty()) << sets[i].name;
        const Toll with = keeper.fail({i, -1}, placed, [](std::size_t, double) {});
        EXPECT_NEAR(result.fullest.share(), with.fullest.share(), 1e-12);
    }
    EXPECT_GT(again, 20);
}

}  // namespace
}  // namespace workbench
