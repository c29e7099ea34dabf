#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "cli/file.h"

namespace workbench {
namespace {

using nlohmann::json;
using testing::HasSubstr;

struct Outcome {
    int status = -1;
    std::string out;
};

// Repetita files of a ring of four with a chord; every direction holds 1 Gbit/s.
constexpr const char* kGraph =
    "NODES 4\n"
    "label x y\n"
    "A 0 0\nB 1 0\nC 1 1\nD 0 1\n"
    "\n"
    "EDGES 10\n"
    "label src dest weight bw delay\n"
    "e0 0 1 1 1000000 1\ne1 1 0 1 1000000 1\n"
    "e2 1 2 1 1000000 1\ne3 2 1 1 1000000 1\n"
    "e4 2 3 1 1000000 1\ne5 3 2 1 1000000 1\n"
    "e6 3 0 1 1000000 1\ne7 0 3 1 1000000 1\n"
    "e8 0 2 1 1000000 1\ne9 2 0 1 1000000 1\n";
constexpr const char* kDemands =
    "DEMANDS 4\n"
    "label src dest bw\n"
    "d0 0 2 300000\nd1 1 3 200000\nd2 3 1 100000\nd3 2 0 150000\n";

class Command : public testing::Test {
  protected:
    Command()
        : folder_(testing::TempDir() + "kavril-commands" + std::to_string(getpid())) {
        std::filesystem::create_directories(folder_);
        writeFile(file("net.graph"), kGraph);
        writeFile(file("net.demands"), kDemands);
    }
    ~Command() override { std::filesystem::remove_all(folder_); }

    std::string file(const std::string& name) const { return folder_ + "/" + name; }

    // Runs kavril in the folder; standard error comes along only if it is asked for.
    Outcome kavril(const std::string& arguments, bool withErrors = false) const {
        const std::string command = "cd '" + folder_ + "' && '" KAVRIL_PROGRAM "' " +
                                    arguments + (withErrors ? " 2>&1" : " 2>/dev/null");
        Outcome outcome;
        std::FILE* pipe = popen(command.c_str(), "r");
        std::array<char, 4096> buffer;
        while (std::size_t got = std::fread(buffer.data(), 1, buffer.size(), pipe))
            outcome.out.append(buffer.data(), got);
        outcome.status = WEXITSTATUS(pclose(pipe));
        return outcome;
    }

    std::string folder_;
};

TEST_F(Command, FromMatrixToBetterPlan) {
    const Outcome place =
        kavril("place net.graph net.demands --protection local -o plan.json --json");
    ASSERT_EQ(0, place.status);
    const json placed = json::parse(place.out);
    EXPECT_EQ(4, placed["summary"]["placed"]);
    EXPECT_EQ(0, placed["summary"]["unprotected"]);
    EXPECT_EQ(750, placed["summary"]["carried"]);
    EXPECT_EQ(4, placed["times"]["request"]["count"]);

    const Outcome audit = kavril("audit plan.json --json");
    EXPECT_EQ(0, audit.status);
    const json audited = json::parse(audit.out);
    EXPECT_EQ(true, audited["clean"]);
    EXPECT_EQ(14U, audited["failures"].size());
    EXPECT_EQ(0, audited["summary"]["lostProtected"]);
    EXPECT_GT(audited["summary"]["restored"], 0);

    EXPECT_EQ(0, kavril("improve plan.json -o better.json --json").status);
    EXPECT_EQ(0, kavril("audit better.json --quiet").status);

    const Outcome why =
        kavril("explain plan.json --from A --to C --bandwidth 10M --json");
    EXPECT_EQ(0, why.status);
    EXPECT_EQ(json({0, 2}), json::parse(why.out)["path"]["nodes"]);
}

TEST_F(Command, ReadableOutputNamesNodesAndFigures) {
    const Outcome place =
        kavril("place net.graph net.demands --protection global -o plan.json");
    EXPECT_THAT(place.out, HasSubstr("4 at once"));
    EXPECT_THAT(place.out, HasSubstr("750 Mbit/s offered"));
    EXPECT_THAT(kavril("audit plan.json").out, HasSubstr("All promises hold."));
    const std::string why =
        kavril("explain plan.json --from A --to C --bandwidth 2G").out;
    EXPECT_THAT(why, HasSubstr("No path"));
    EXPECT_THAT(why, HasSubstr("of class default missing"));
    EXPECT_THAT(kavril("headroom net.graph net.demands --protection none").out,
                HasSubstr("times the matrix"));
}

TEST_F(Command, SameInputsGiveTheSameFile) {
    const std::string place =
        "place net.graph net.demands --class a:0:0.5,b:3:0.5 --order shuffled --seed 7 "
        "--protection local --quiet -o ";
    ASSERT_EQ(0, kavril(place + "one.json").status);
    ASSERT_EQ(0, kavril(place + "two.json").status);
    EXPECT_EQ(readFile(file("one.json")), readFile(file("two.json")));
    EXPECT_EQ(readFile(file("one.json")), kavril(place + "-").out);
}

TEST_F(Command, AuditFailsForAPlanThatDoesNotHold) {
    ASSERT_EQ(
        0, kavril("place net.graph net.demands --protection local -o plan.json").status);
    json plan = json::parse(readFile(file("plan.json")));
    plan["links"][0]["reserved"][0][0] = 17;
    writeFile(file("wrong.json"), plan.dump());
    const Outcome wrong = kavril("audit wrong.json");
    EXPECT_EQ(1, wrong.status);
    EXPECT_THAT(wrong.out, HasSubstr("17 in the plan"));
    EXPECT_THAT(wrong.out, HasSubstr("Not all promises hold."));
    EXPECT_EQ(1, kavril("audit wrong.json --quiet").status);
}

TEST_F(Command, MistakesEndWithAMessageAndNoFile) {
    struct Mistake {
        const char* arguments;
        const char* message;
    };
    const Mistake kMistakes[] = {
        {"audit nowhere.json", "nowhere.json"},
        {"audit net.graph", "net.graph"},
        {"place net.graph nowhere -o plan.json", "nowhere"},
        {"place net.graph net.demands -o no/such/folder/plan.json", "no/such/folder"},
        {"place net.graph net.demands --class a:9:1 -o plan.json", "--class"},
    };
    for (const Mistake& mistake : kMistakes) {
        const Outcome outcome = kavril(mistake.arguments, true);
        EXPECT_EQ(2, outcome.status) << mistake.arguments;
        EXPECT_THAT(outcome.out, HasSubstr(mistake.message));
        EXPECT_FALSE(std::filesystem::exists(file("plan.json"))) << mistake.arguments;
    }
    ASSERT_EQ(0, kavril("place net.graph net.demands -o plan.json").status);
    EXPECT_THAT(kavril("explain plan.json --from A --to X --bandwidth 1", true).out,
                HasSubstr("no node 'X'"));
    EXPECT_THAT(kavril("explain plan.json --from A --to A --bandwidth 1", true).out,
                HasSubstr("one node"));
    EXPECT_EQ(2,
              kavril("explain plan.json --from A --to B --bandwidth 1 --class z").status);
}

TEST_F(Command, HelpHasExamples) {
    for (const char* command : {"place", "audit", "headroom", "improve", "explain"}) {
        const Outcome help = kavril(std::string(command) + " --help");
        EXPECT_EQ(0, help.status);
        EXPECT_THAT(help.out, HasSubstr("kavril " + std::string(command))) << command;
    }
}

// On real networks, where they are at hand: no link is above its capacity after any
// failure, and every table is that of its LSPs.
TEST_F(Command, RealNetworksKeepTheirPromises) {
    const char* set = std::getenv("KAVRIL_DATA");
    const std::string data = set != nullptr ? set : KAVRIL_DATA;
    if (!std::filesystem::exists(data + "/repetita")) GTEST_SKIP() << "no data";
    const std::string inputs[] = {
        data + "/sndlib-xml/germany50.xml",
        data + "/sndlib-xml/nobel-germany.xml",
        data + "/repetita/Abilene.graph " + data + "/repetita/Abilene.0000.demands",
    };
    for (const std::string& input : inputs)
        for (const char* options :
             {"--protection local", "--protection global --class a:1:0.4,b:4:0.6"}) {
            ASSERT_EQ(0, kavril("place " + input +
                                " --max-demands 200 --quiet -o plan.json " + options)
                             .status);
            EXPECT_EQ(0, kavril("audit plan.json --quiet").status) << input << options;
        }
}

}  // namespace
}  // namespace workbench
