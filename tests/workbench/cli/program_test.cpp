// The program as it is called: exit statuses, messages, files.
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "cli/file.h"

namespace workbench {
namespace {

using testing::HasSubstr;
using testing::Not;

struct Outcome {
    int status;
    std::string text;  // of both streams
};

Outcome run(const std::string& arguments) {
    std::FILE* pipe = popen((KAVRIL_PROGRAM " " + arguments + " 2>&1").c_str(), "r");
    Outcome outcome{-1, ""};
    char part[4096];
    while (const std::size_t size = std::fread(part, 1, sizeof part, pipe))
        outcome.text.append(part, size);
    outcome.status = WEXITSTATUS(pclose(pipe));
    return outcome;
}

//     A === B --- C     two cables in parallel, and C hangs on one
const char* const kNetwork =
    "NODES 3\nlabel x y\nA 0 0\nB 1 0\nC 2 0\n\nEDGES 6\nlabel src dest weight bw delay\n"
    "e0 0 1 1 5000 1\ne1 1 0 1 5000 1\ne2 0 1 1 5000 1\ne3 1 0 1 5000 1\n"
    "e4 1 2 1 0 1\ne5 2 1 1 2000 1\n";

class Program : public testing::Test {
  protected:
    void SetUp() override {
        std::filesystem::create_directory(folder_);
        writeFile(network_, kNetwork);
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    std::string folder_ = testing::TempDir() + "program" + std::to_string(getpid());
    std::string network_ = folder_ + "/net.graph";
};

TEST_F(Program, InfoNamesWhatNoBackupCanProtect) {
    const Outcome outcome = run("info --findings --default-capacity 2G " + network_);
    EXPECT_EQ(0, outcome.status);
    EXPECT_THAT(outcome.text, HasSubstr("links         4, each with its reverse"));
    EXPECT_THAT(outcome.text,
                HasSubstr("2 pairs of neighbours that no backup can go around\n"
                          "              A - B\n              B - C\n"));
    EXPECT_THAT(outcome.text, HasSubstr("2 Gbit/s on 1 links"));
    EXPECT_THAT(outcome.text,
                HasSubstr("note: parallel links merged, capacities added: 2\n"));
    EXPECT_THAT(outcome.text,
                HasSubstr("net.graph:13: link e4 B > C: capacity 2 Gbit/s"));
}

TEST_F(Program, InfoAsJsonHasTheSameFigures) {
    const auto json = nlohmann::json::parse(run("info --json " + network_).text);
    EXPECT_EQ(3, json["nodes"]);
    EXPECT_EQ(4, json["links"]);
    EXPECT_EQ(nlohmann::json::parse(R"([["A", "B"], ["B", "C"]])"), json["bridges"]);
    EXPECT_EQ(nlohmann::json({"B"}), json["cutNodes"]);
    EXPECT_EQ(2, json["findings"]["counts"]["merged-link"]);
    EXPECT_FALSE(json["findings"].contains("list"));
}

TEST_F(Program, ConvertWritesWholeFilesOnly) {
    const std::string output = folder_ + "/net.json";
    Outcome outcome = run("convert " + network_ + " -o " + output);
    EXPECT_EQ(0, outcome.status);
    EXPECT_THAT(outcome.text, HasSubstr("net.json: 4 links"));
    const std::string text = readFile(output);
    writeFile(network_, std::string(kNetwork) + "junk\n");
    outcome = run("convert " + network_ + " -o " + output);
    EXPECT_EQ(2, outcome.status);
    EXPECT_THAT(outcome.text,
                HasSubstr("net.graph:15: expected NODES, EDGES or DEMANDS, got 'junk'"));
    EXPECT_EQ(text, readFile(output));
    EXPECT_EQ(text, run("convert --quiet --to json -o - " + output).text);
}

TEST_F(Program, ConvertTellsNetworkFromDemands) {
    const std::string demands = folder_ + "/d.demands";
    writeFile(demands, "DEMANDS 2\nlabel src dest bw\nd0 0 2 1500\nd1 1 1 7\n");
    Outcome outcome = run("convert " + demands + " -o " + folder_ + "/d.xml");
    EXPECT_EQ(2, outcome.status);
    EXPECT_THAT(outcome.text, HasSubstr("name their network with --network"));
    outcome = run("convert " + demands + " --network " + network_ + " -o " + folder_ +
                  "/d.xml");
    EXPECT_EQ(0, outcome.status);
    EXPECT_THAT(outcome.text, HasSubstr("d.xml: 1 demands"));
    outcome = run("convert " + folder_ + "/d.xml --to repetita --demands --quiet -o -");
    EXPECT_EQ("DEMANDS 1\nlabel src dest bw\nd0 0 2 1500\n", outcome.text);
    EXPECT_EQ(2, run("convert " + network_ + " --demands -o -  --to json").status);
    EXPECT_EQ(2, run("convert " + network_ + " -o " + folder_ + "/net.xyz").status);
}

TEST_F(Program, EveryCommandExplainsItself) {
    EXPECT_EQ(0, run("--version").status);
    const std::string help = run("--help").text;
    const std::string page = run("--man-page").text;
    int commands = 0;
    for (const char* command : {"info", "convert", "place", "audit", "headroom",
                                "improve", "explain", "report"}) {
        if (help.find(std::string("  ") + command + " ") == help.npos) continue;
        SCOPED_TRACE(command);
        commands++;
        const Outcome outcome = run(command + std::string(" --help"));
        EXPECT_EQ(0, outcome.status);
        EXPECT_THAT(outcome.text,
                    HasSubstr("\n  kavril " + std::string(command) + " "));
        EXPECT_THAT(outcome.text, Not(HasSubstr(" \n")));
        EXPECT_THAT(page, HasSubstr(".SS kavril " + std::string(command)));
    }
    EXPECT_GE(commands, 7) << "report may be left out";
}

struct OptionCase {
    const char* name;
    const char* options;
    const char* message;
};

const OptionCase kWrongOptions[] = {
    {"Shares", "--class a:0:0.5", "add up to 0.5, not 1"},
    {"Level", "--class a:8:1",
     "'a:8:1' is not NAME:LEVEL:SHARE with a level from 0 to 7"},
    {"Weight", "--weights speed=1", "'speed=1' is not NAME=WEIGHT with one of fortz"},
    {"NegativeWeight", "--weights fortz=-1", "'-1' is not a number of at least 0"},
    {"CapacityClass", "--class a:0:1 --capacity-share b:1", "with the name of a class"},
    {"CapacitySum", "--class a:0:1 --capacity-share a:1.5", "add up to 1.5, more than 1"},
    {"Bandwidth", "--default-capacity 5X", "'5X' is not a bandwidth such as 400"},
    {"ZeroScale", "--scale 0", "--scale"},
    {"Order", "--order random", "--order"},
};

class WrongOption : public testing::TestWithParam<OptionCase> {};

TEST_P(WrongOption, IsRefused) {
    const Outcome outcome = run(std::string("place x y ") + GetParam().options);
    EXPECT_EQ(2, outcome.status);
    EXPECT_THAT(outcome.text, HasSubstr(GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(Cases, WrongOption, testing::ValuesIn(kWrongOptions),
                         [](const auto& info) { return std::string(info.param.name); });

// Lists end with their option; what follows is the network.
TEST_F(Program, ClassesShareTrafficAndCapacity) {
    writeFile(folder_ + "/d.demands", "DEMANDS 1\nlabel src dest bw\nd0 0 1 1000\n");
    const std::string plan = folder_ + "/plan.json";
    const Outcome outcome =
        run("place --class voice:0:0.25 --class data:3:0.5,data:5:0.25 --weights "
            "fortz=2,delay=1 "
            "--capacity-share data:0.5 " +
            network_ + " " + folder_ + "/d.demands -o " + plan);
    ASSERT_EQ(0, outcome.status) << outcome.text;
    const auto json = nlohmann::json::parse(readFile(plan));
    const auto& configuration = json["configuration"];
    EXPECT_EQ("voice", configuration["classes"][0]["name"]);
    EXPECT_EQ(0.25, configuration["classes"][0]["capacityShare"]);
    EXPECT_EQ(0.5, configuration["classes"][1]["capacityShare"]);
    EXPECT_EQ(3u, configuration["parts"].size());
    EXPECT_EQ(2, configuration["weights"]["fortz"]);
    EXPECT_EQ(0, configuration["weights"]["load"]);
    EXPECT_THAT(run("info " + plan).text, HasSubstr("nodes         3"));
}

}  // namespace
}  // namespace workbench
