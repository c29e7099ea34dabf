#include "engine/place.h"

#include <gmock/gmock.h>

#include "audit/audit.h"
#include "audit/failure_sets.h"
#include "engine/baseline.h"
#include "networks.h"

namespace workbench {
namespace {

using testing::ElementsAre;

struct WishCase {
    const char* name;
    int avoid;
    double maxDelay;
    int maxHops;
    bool withLongWay;
    std::vector<int> backup;
    std::vector<std::string> beyond;
};

const WishCase kWishes[] = {
    {"NoWish", 0, 0, 0, true, {0, 2, 3}, {}},
    {"Colour", 1, 0, 0, true, {0, 4, 5, 3}, {}},
    {"ColourInVain", 1, 0, 0, false, {0, 2, 3}, {"colours"}},
    {"Delay", 0, 5, 0, true, {0, 4, 5, 3}, {}},
    {"DelayInVain", 0, 5, 0, false, {0, 2, 3}, {"delay"}},
    {"ColourAgainstHops", 1, 0, 2, true, {0, 2, 3}, {"colours"}},
};

//   a --> b --> d             the primary's way
//   a ==> c ==> d             of colour 1, slow
//   a --> e --> f --> d
TEST(Place, BackupsKeepToLimitsWhereTheyCan) {
    for (const WishCase& one : kWishes) {
        SCOPED_TRACE(one.name);
        std::vector<Edge> edges = {
            {0, 1, 50}, {1, 3, 50}, {0, 2, 50, 1, 9}, {2, 3, 50, 1, 9}};
        if (one.withLongWay)
            edges.insert(edges.end(), {{0, 4, 50}, {4, 5, 50}, {5, 3, 50}});
        Configuration configuration;
        configuration.protection = Protection::GLOBAL;
        Plan plan = newPlan(networkOf(edges),
                            {{.src = 0,
                              .dst = 3,
                              .bandwidth = 10,
                              .name = {},
                              .avoid = one.avoid,
                              .maxDelay = one.maxDelay,
                              .maxHops = one.maxHops}},
                            configuration);
        runPlan(&plan, {}, nullptr);
        ASSERT_EQ(2u, plan.lsps.size());
        EXPECT_THAT(plan.lsps[0].path, ElementsAre(0, 1, 3));
        EXPECT_EQ(one.backup, plan.lsps[1].path);
        EXPECT_EQ(one.beyond, plan.demands[0].beyond);
    }
}

TEST(Place, ABaselinePromisesNoRoom) {
    Plan plan = newPlan(networkOf({{0, 1, 50}, {1, 2, 50}, {2, 0, 50}}),
                        {{.src = 0, .dst = 2, .bandwidth = 40, .name = {}},
                         {.src = 0, .dst = 1, .bandwidth = 40, .name = {}}},
                        {});
    runBaseline(&plan, {});
    EXPECT_EQ(2u, plan.lsps.size());
    AuditResult result = audit(plan, survivedFailures(plan));
    ASSERT_EQ(1u, result.overloads.size());
    EXPECT_DOUBLE_EQ(80, result.overloads[0].bandwidth);
    EXPECT_TRUE(result.isClean());
    plan.configuration.routing = Routing::ADMITTED;
    EXPECT_FALSE(audit(plan, survivedFailures(plan)).isClean());
}

}  // namespace
}  // namespace workbench
