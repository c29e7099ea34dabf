#include "engine/explain.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <numeric>

#include "networks.h"

namespace workbench {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

Request requestFor(int src, int dst, double bandwidth, int level) {
    Request request;
    request.src = src;
    request.dst = dst;
    request.bandwidth = bandwidth;
    request.level = level;
    return request;
}

//   A --100-- B --50-- D,  A --40-- C --100-- D
const std::vector<Cable> kDiamond = {{0, 1, 100}, {1, 3, 50}, {0, 2, 40}, {2, 3, 100}};

TEST(Explain, SaysWhyThisPath) {
    const Network network = networkOf(kDiamond);
    Configuration configuration;
    configuration.weights = {.fortz = 1, .load = 2};
    Engine engine(network, configuration);
    const Explanation found = explain(&engine, requestFor(0, 3, 30, 0));
    EXPECT_THAT(found.path.nodes, ElementsAre(0, 1, 3));
    // An empty link costs 1 per unit in congestion and 2 in load.
    EXPECT_DOUBLE_EQ(180, found.path.score);
    ASSERT_THAT(found.links, SizeIs(2));
    EXPECT_DOUBLE_EQ(90, found.links[0].score);
    EXPECT_DOUBLE_EQ(30, found.links[0].parts[0]);
    EXPECT_DOUBLE_EQ(60, found.links[0].parts[2]);
    ASSERT_THAT(found.detours, SizeIs(2));
    EXPECT_THAT(found.detours[0].path.nodes, ElementsAre(0, 2, 3));
    EXPECT_THAT(found.refusals, IsEmpty());
    EXPECT_THAT(found.cut, SizeIs(2));
    EXPECT_DOUBLE_EQ(50, found.largest);
}

TEST(Explain, SaysWhyNone) {
    const Network network = networkOf(kDiamond);
    Engine engine(network, {});
    const Explanation found = explain(&engine, requestFor(0, 3, 70, 0));
    EXPECT_FALSE(found.path.found);
    // Both directions of the two thin cables.
    ASSERT_THAT(found.refusals, SizeIs(4));
    EXPECT_EQ(2, found.refusals[0].link);
    EXPECT_THAT(found.refusals[0].missing, ElementsAre(20));
    EXPECT_EQ(4, found.refusals[2].link);
    EXPECT_THAT(found.refusals[2].missing, ElementsAre(30));
    EXPECT_THAT(found.cut, ElementsAre(2, 4));
    EXPECT_DOUBLE_EQ(50, found.largest);
    EXPECT_FALSE(found.preempting.found);
}

TEST(Explain, ForbiddenColoursRefuse) {
    Network network = networkOf(kDiamond);
    network.links[0].colour = 4;
    Engine engine(network, {});
    Request request = requestFor(0, 3, 10, 0);
    request.avoidColours = {4};
    const Explanation found = explain(&engine, request);
    EXPECT_THAT(found.path.nodes, ElementsAre(0, 2, 3));
    ASSERT_THAT(found.refusals, SizeIs(1));
    EXPECT_TRUE(found.refusals[0].colour);
}

TEST(Explain, NoLinksNoCut) {
    const Network network = networkOf({{0, 1, 10}, {2, 3, 10}});
    Engine engine(network, {});
    const Explanation found = explain(&engine, requestFor(0, 3, 1, 0));
    EXPECT_FALSE(found.path.found);
    EXPECT_THAT(found.cut, IsEmpty());
    EXPECT_EQ(0, found.largest);
}

// One request on the network of a random plan.
class OnRandomPlan : public testing::TestWithParam<std::uint64_t> {
  protected:
    OnRandomPlan()
        : plan_(randomPlan(GetParam())), engine_(plan_.network, plan_.configuration) {
        engine_.load(plan_.lsps);
        std::mt19937_64 random(GetParam());
        request_ = requestFor(static_cast<int>(random() % plan_.network.nodes.size()), 0,
                              static_cast<double>(1 + random() % 20), 2);
        request_.dst = (request_.src + 1 +
                        static_cast<int>(random() % (plan_.network.nodes.size() - 1))) %
                       static_cast<int>(plan_.network.nodes.size());
        request_.trafficClass = static_cast<int>(random() % 2);
    }

    Plan plan_;
    Engine engine_;
    Request request_;
};

TEST_P(OnRandomPlan, NothingChanges) {
    const std::vector<LinkTables> before = engine_.tables();
    explain(&engine_, request_);
    const std::vector<LinkTables> after = engine_.tables();
    for (std::size_t i = 0; i < before.size(); i++) {
        EXPECT_EQ(before[i].primary, after[i].primary);
        EXPECT_EQ(before[i].reserved, after[i].reserved);
        EXPECT_EQ(before[i].backup, after[i].backup);
        EXPECT_EQ(before[i].freed, after[i].freed);
    }
    EXPECT_EQ(plan_.lsps.size(), engine_.lsps().size());
    EXPECT_THAT(engine_.takeErrors(), IsEmpty());
}

TEST_P(OnRandomPlan, AnswersFitTogether) {
    const Explanation found = explain(&engine_, request_);
    double score = 0.0;
    for (const ScoredLink& link : found.links) {
        EXPECT_NEAR(link.score,
                    std::accumulate(link.parts.begin(), link.parts.end(), 0.0),
                    1e-9 * std::abs(link.score));
        score += link.score;
    }
    EXPECT_NEAR(found.path.score, score, 1e-9 * std::abs(score));
    for (const Detour& detour : found.detours) {
        if (!detour.path.found) continue;
        EXPECT_GE(detour.path.score, found.path.score - 1e-9);
        const Link& link = plan_.network.links[detour.withoutLink];
        for (std::size_t i = 0; i + 1 < detour.path.nodes.size(); i++)
            EXPECT_FALSE(detour.path.nodes[i] == link.src &&
                         detour.path.nodes[i + 1] == link.dst);
    }
    EXPECT_EQ(found.path.found, found.largest >= request_.bandwidth);
    EXPECT_GE(found.largestWithPreemption, found.largest);
    for (int link : found.cut)
        EXPECT_EQ(!found.path.found,
                  std::ranges::count(found.refusals, link, &Refusal::link) > 0);
    Request request = request_;
    request.bandwidth = found.largest * (1 + 1e-6) + 1e-6;
    EXPECT_FALSE(engine_.findPath(request).found);
    request.bandwidth = found.largest;
    EXPECT_TRUE(found.largest == 0.0 || engine_.findPath(request).found);
    engine_.takeErrors();
}

// The dry run names those that a real request removes.
TEST_P(OnRandomPlan, DryRunIsWhatWouldHappen) {
    const Explanation found = explain(&engine_, request_);
    request_.preempt = true;
    const Answer answer = engine_.request(request_);
    EXPECT_EQ(found.preempting.found, answer.placed) << answer.reason;
    EXPECT_EQ(found.preempting.nodes, answer.path);
    std::vector<int> removed;
    for (const PlanLsp& lsp : answer.removed) removed.push_back(lsp.id);
    std::ranges::sort(removed);
    EXPECT_EQ(found.preempted, removed);
}

INSTANTIATE_TEST_SUITE_P(Seeds, OnRandomPlan, testing::Range<std::uint64_t>(0, 24));

}  // namespace
}  // namespace workbench
