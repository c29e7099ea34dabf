#include "engine/promises.h"

#include <gmock/gmock.h>

#include "audit/audit.h"
#include "audit/failure_sets.h"
#include "networks.h"

namespace workbench {
namespace {

// A ring a - b - c - d with all demands between neighbours clockwise, each of 10, and
// backups the other way round: 40 on every link after the worst failure.
Plan ringPlan() {
    Configuration configuration;
    configuration.protection = Protection::GLOBAL;
    std::vector<Demand> demands;
    for (int src = 0; src < 4; src++)
        demands.push_back({.src = src,
                           .dst = (src + 1) % 4,
                           .bandwidth = 10,
                           .name = {},
                           .level = src});
    Plan plan = newPlan(networkOf({{0, 1, 30}, {1, 2, 30}, {2, 3, 30}, {3, 0, 30}}, true),
                        demands, configuration);
    runPlan(&plan, {}, nullptr);
    return plan;
}

// The plan as its LSPs stand, on links that may have changed.
void bookAgain(Plan* plan) {
    const std::vector<PlanLsp> lsps = plan->lsps;
    Engine engine(*plan);
    engine.load(lsps);
    finishPlan(engine, plan);
}

bool isClean(const Plan& plan) {
    return audit(plan, survivedFailures(plan)).isClean();
}

TEST(KeepPromises, LeavesAPlanAloneThatKeepsThem) {
    Plan plan = ringPlan();
    ASSERT_EQ(8u, plan.lsps.size());
    EXPECT_FALSE(keepPromises(&plan, {}).any());
    EXPECT_EQ(8u, plan.lsps.size());
}

struct Damage {
    const char* name;
    void (*doIt)(Plan* plan);
    int exposed, backups, lsps;  // taken back
};

void setCapacity(Plan* plan, int link, double capacity) {
    plan->network.links[static_cast<std::size_t>(link)].capacity = capacity;
}

const Damage kDamages[] = {
    {"NoRoom", [](Plan* plan) { setCapacity(plan, 0, 5); }, 0, 0, 1},
    {"NoRoomForBackups", [](Plan* plan) { setCapacity(plan, 1, 5); }, 0, 3, 0},
    // To the failure of its link and of its cable.
    {"NoBackupWherePromised", [](Plan* plan) { plan->lsps.pop_back(); }, 2, 0, 0},
};

TEST(KeepPromises, TakesBackWhatDoesNotHold) {
    for (const Damage& damage : kDamages) {
        SCOPED_TRACE(damage.name);
        Plan plan = ringPlan();
        damage.doIt(&plan);
        bookAgain(&plan);
        ASSERT_FALSE(isClean(plan));
        const TakenBack takenBack = keepPromises(&plan, {});
        EXPECT_TRUE(isClean(plan));
        EXPECT_EQ(damage.exposed, takenBack.exposed);
        EXPECT_EQ(damage.backups, takenBack.backups);
        EXPECT_EQ(damage.lsps, takenBack.lsps);
        for (const PlanDemand& demand : plan.demands)
            EXPECT_EQ(demand.lsp < 0, !demand.reason.empty());
    }
}

TEST(KeepPromises, RefusesTablesThatAreNotThoseOfTheLsps) {
    Plan plan = ringPlan();
    plan.links[0].primary[0][0] += 1;
    EXPECT_THROW(keepPromises(&plan, {}), std::logic_error);
}

}  // namespace
}  // namespace workbench
