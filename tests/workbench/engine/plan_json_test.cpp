#include "plan_json.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <cstdio>

#include "cli/error.h"
#include "cli/file.h"
#include "networks.h"

namespace workbench {
namespace {

using nlohmann::json;
using testing::HasSubstr;

class PlanFile : public testing::Test {
  protected:
    ~PlanFile() override { std::remove(name_.c_str()); }

    Plan readBack(const std::string& text) {
        writeFile(name_, text);
        return readPlan(name_);
    }

    std::string complaint(const std::string& text) {
        try {
            readBack(text);
        } catch (const UserError& error) {
            return error.what();
        }
        return "";
    }

    std::string name_ = testing::TempDir() + "kavril-plan" + std::to_string(getpid());
};

TEST_F(PlanFile, ReadsBackAsItWas) {
    for (std::uint64_t seed = 0; seed < 12; seed++) {
        const std::string text = planText(randomPlan(seed));
        EXPECT_EQ(text, planText(readBack(text))) << seed;
    }
}

struct Damage {
    const char* name;
    const char* at;
    json value;
    const char* complaint;
};

TEST_F(PlanFile, RefusesWhatPointsNowhere) {
    const json plan = json::parse(planText(randomPlan(1)));
    const Damage kDamages[] = {
        {"format", "/format", "other", "a plan expected"},
        {"version", "/version", 2, "version 1"},
        {"node of a path", "/lsps/0/path/0", 99, "LSP 0"},
        {"demand of an LSP", "/lsps/0/demand", -1, "LSP 0"},
        {"class of a demand", "/demands/0/trafficClass", 2, "demand 0"},
        {"failed link", "/links/0/freed/0/2", 999, "tables of link 0"},
        {"kind", "/lsps/0/kind", "spare", "\"spare\" is none of primary, local, global"},
        {"type", "/lsps/0/bandwidth", "much", "number"},
        {"tables", "/links", json::array(), "as many tables as links"},
    };
    for (const Damage& damage : kDamages) {
        json damaged = plan;
        damaged[json::json_pointer(damage.at)] = damage.value;
        const std::string said = complaint(damaged.dump());
        EXPECT_THAT(said, HasSubstr(damage.complaint)) << damage.name;
        EXPECT_THAT(said, HasSubstr(name_)) << damage.name;
    }
    EXPECT_THAT(complaint("{\n\"format\": oops}"), HasSubstr("line 2"));
}

}  // namespace
}  // namespace workbench
