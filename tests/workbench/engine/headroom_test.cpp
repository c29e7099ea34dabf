#include "engine/headroom.h"

#include <gmock/gmock.h>

#include "cli/error.h"
#include "networks.h"

namespace workbench {
namespace {

using testing::HasSubstr;

Headroom roomOf(const std::vector<Cable>& cables, const std::vector<Demand>& demands,
                Protection protection) {
    Configuration configuration;
    configuration.protection = protection;
    return findHeadroom(networkOf(cables), demands, configuration, 1e-6, {});
}

//   A --100-- B --100-- C --100-- A
const std::vector<Cable> kTriangle = {{0, 1, 100}, {1, 2, 100}, {2, 0, 100}};

TEST(Headroom, IsWhatTheTightestLinkHas) {
    const Headroom room = roomOf({{0, 1, 100}}, {{0, 1, 8, ""}}, Protection::NONE);
    EXPECT_NEAR(12.5, room.factor, 1e-4);
    EXPECT_NEAR(12.5, room.failsAt, 1e-4);
    EXPECT_EQ(0, room.request);
    EXPECT_THAT(room.reason, HasSubstr("no path has room"));
}

TEST(Headroom, ProtectionTakesItsShare) {
    const std::vector<Demand> demands = {{0, 1, 10, ""}, {0, 1, 10, ""}};
    const double none = roomOf(kTriangle, demands, Protection::NONE).factor;
    EXPECT_NEAR(10, none, 1e-4);
    // Either both LSPs take A - B and their backups share A - C - B, or one each way and
    // each reserves beside the other.
    for (Protection kind : {Protection::LOCAL, Protection::GLOBAL}) {
        const Headroom room = roomOf(kTriangle, demands, kind);
        EXPECT_NEAR(5, room.factor, 1e-4) << toText(kind);
    }
}

TEST(Headroom, LeavesOutWhatCanNeverBe) {
    //   as the triangle, D hangs on A, E and F are on their own
    std::vector<Cable> cables = kTriangle;
    cables.push_back({0, 3, 100});
    cables.push_back({4, 5, 100});
    const Headroom room =
        roomOf(cables, {{0, 1, 10, ""}, {0, 3, 1, ""}, {0, 4, 1, ""}}, Protection::LOCAL);
    EXPECT_EQ(1, room.neverPlaced);
    EXPECT_EQ(1, room.neverProtected);
    EXPECT_NEAR(10, room.factor, 1e-3);
    EXPECT_EQ(0, room.request);
    EXPECT_THROW(roomOf(cables, {{0, 4, 1, ""}}, Protection::NONE), UserError);
}

TEST(Headroom, TheFactorWorksAndTheNextDoesNot) {
    for (std::uint64_t seed = 0; seed < 6; seed++) {
        const Network network = randomNetwork(seed);
        const std::vector<Demand> demands = randomDemands(network, seed);
        Configuration configuration = mixedConfiguration(seed);
        configuration.protection = Protection::NONE;
        const Headroom room = findHeadroom(network, demands, configuration, 0.01, {});
        const double scale = configuration.scale;
        configuration.scale = scale * room.factor;
        const Summary works = placed(network, demands, configuration).summary;
        EXPECT_EQ(room.neverPlaced, works.refused + works.preempted) << seed;
        configuration.scale = scale * room.failsAt;
        const Summary fails = placed(network, demands, configuration).summary;
        EXPECT_GT(fails.refused + fails.preempted, room.neverPlaced) << seed;
        EXPECT_LE(room.failsAt, room.factor * 1.02) << seed;
    }
}

}  // namespace
}  // namespace workbench
