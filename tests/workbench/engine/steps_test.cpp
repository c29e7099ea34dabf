#include "engine/steps.h"

#include <gmock/gmock.h>

#include "audit/audit.h"
#include "cli/error.h"
#include "networks.h"

namespace workbench {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

TEST(Steps, StrangeOnesAreRefusedByName) {
    const std::pair<const char*, const char*> cases[] = {
        {"[]", "an object expected"},
        {R"({"drian": ["a"]})", "no member \"drian\""},
        {R"({"drain": "a"})", "a list of texts expected as \"drain\""},
        {R"({"fail": ["a", 7]})", "texts expected in \"fail\""},
        {R"({"scale": [null]})", "texts expected in \"scale\""},
        {R"({"protection": ["local"]})", "texts expected in \"protection\""},
        {R"({"replan": "yes"})", "true or false expected as \"replan\""}};
    for (const auto& [text, message] : cases)
        EXPECT_THAT([text = text] { stepsFrom(nlohmann::json::parse(text)); },
                    testing::ThrowsMessage<UserError>(HasSubstr(message)));
    nlohmann::json many = {{"add", std::vector<std::string>(600, "a > b=1")}};
    EXPECT_EQ(600u, stepsFrom(many).add.size());
    many["fail"] = many["add"];
    EXPECT_THROW(stepsFrom(many), UserError);
    EXPECT_THROW(stepsFrom({{"add", {std::string(20000, '-')}}}), UserError);
}

//   a --8-- b --8-- d         the way of what matters most
//   a --8-- c --8-- d         of the other, which gives way if it may
TEST(Steps, WhatIsLostIsPlacedAgainByImportance) {
    for (const bool preempt : {true, false}) {
        Configuration configuration;
        configuration.preempt = preempt;
        Plan plan =
            newPlan(networkOf({{0, 1, 8}, {1, 3, 8}, {0, 2, 8}, {2, 3, 8}}, true),
                    {{.src = 0, .dst = 3, .bandwidth = 8, .name = "x", .level = 1},
                     {.src = 0, .dst = 3, .bandwidth = 5, .name = "y", .level = 4}},
                    configuration);
        runPlan(&plan, {}, nullptr);
        ASSERT_THAT(plan.lsps[0].path, ElementsAre(0, 1, 3));
        const Taken taken =
            takeSteps(&plan, stepsFrom({{"fail", {"a - b"}}, {"replan", true}}), {});
        EXPECT_EQ(1, taken.recovery->hit.lost.lsps);
        EXPECT_EQ(preempt ? 1 : 0, taken.recovery->again.lsps);
        EXPECT_EQ(preempt ? 5.0 : 0.0, taken.recovery->displaced.bandwidth);
        EXPECT_EQ(preempt ? "x" : "y", plan.demands[plan.lsps.at(0).demand].name);
        EXPECT_THAT(plan.lsps.at(0).path, ElementsAre(0, 2, 3));
    }
}

//   a --- b --- c             behind b the traffic comes back to a
//   a --- d --- c
TEST(Steps, WhatRunsOnABackupTakesNoLoop) {
    Configuration configuration;
    configuration.protection = Protection::LOCAL;
    Plan plan =
        newPlan(networkOf({{0, 1, 90}, {1, 2, 90}, {0, 3, 9}, {3, 2, 9}}, true),
                {{.src = 0, .dst = 2, .bandwidth = 5, .name = {}}}, configuration);
    runPlan(&plan, {}, nullptr);
    ASSERT_THAT(plan.lsps.back().path, ElementsAre(1, 0, 3, 2));
    takeSteps(&plan, {.fail = {"b - c"}, .replan = true}, {});
    EXPECT_THAT(plan.lsps.at(0).path, ElementsAre(0, 3, 2));
    EXPECT_TRUE(audit(plan, {}).isClean());
}

}  // namespace
}  // namespace workbench
