#include "plan_json.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>

#include "cli/file.h"
#include "networks.h"

namespace workbench {
namespace {

class PlanFile : public testing::Test {
  protected:
    ~PlanFile() override { std::remove(name_.c_str()); }

    Plan readBack(const std::string& text) {
        writeFile(name_, text);
        return readPlan(name_);
    }

    std::string name_ = testing::TempDir() + "kavril-plan" + std::to_string(getpid());
};

TEST_F(PlanFile, ReadsBackAsItWas) {
    for (std::uint64_t seed = 0; seed < 12; seed++) {
        const std::string text = planText(randomPlan(seed));
        EXPECT_EQ(text, planText(readBack(text))) << seed;
    }
}

}  // namespace
}  // namespace workbench
