// The program as it is called: program.txt has the commands and what they must print.
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "cli/progress.h"

namespace workbench {
namespace {

namespace fs = std::filesystem;

constexpr const char* kLoop =
    "NODES 3\nlabel x y\nA 0 0\nB 1 0\nC 2 0\n\nEDGES 6\nlabel src dest weight bw delay\n"
    "e0 0 1 1 5000 1\ne1 1 0 1 5000 1\ne2 0 1 1 5000 1\ne3 1 0 1 5000 1\n"
    "e4 1 2 1 0 1\ne5 2 1 1 2000 1\n";
constexpr const char* kDemands =
    "DEMANDS 3\nlabel src dest bw\nd0 0 2 1500\nd1 2 0 500\nd2 1 1 7\n";

class Folder {
  public:
    Folder() {
        fs::copy(KAVRIL_SAMPLES, path_);
        std::ofstream(path_ / "loop.graph") << kLoop;
        std::ofstream(path_ / "d.demands") << kDemands;
    }
    ~Folder() { fs::remove_all(path_); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    // Exit status; the output of both streams in the order in which it came.
    int run(const std::string& command, std::string* output) const {
        const std::string shell = "cd '" + path_.string() +
                                  "' && kavril() { '" KAVRIL_PROGRAM "' \"$@\"; } && { " +
                                  command + "; } 2>&1";
        std::FILE* pipe = popen(shell.c_str(), "r");
        char part[4096];
        while (const std::size_t size = std::fread(part, 1, sizeof part, pipe))
            output->append(part, size);
        return WEXITSTATUS(pclose(pipe));
    }

  private:
    fs::path path_ =
        fs::path(testing::TempDir()) / ("program" + std::to_string(getpid()));
};

TEST(Program, PrintsWhatItsTranscriptSays) {
    const Folder folder;
    std::ifstream transcript(KAVRIL_TRANSCRIPT);
    int commands = 0;
    int status = 0;
    std::string output;
    std::size_t at = 0;
    std::string line;
    for (int number = 1; std::getline(transcript, line); number++) {
        SCOPED_TRACE("line " + std::to_string(number) + ": " + line + "\n" + output);
        if (line.empty()) {
            EXPECT_EQ(0, status) << output;
            status = 0;
        } else if (line.starts_with("$ ")) {
            commands++;
            output.clear();
            at = 0;
            status = folder.run(line.substr(2), &output);
        } else if (line.starts_with("? ")) {
            EXPECT_EQ(std::stoi(line.substr(2)), status);
            status = 0;
        } else if (line.starts_with("! ")) {
            EXPECT_EQ(output.npos, output.find(line.substr(2)));
        } else if (!line.starts_with("#")) {
            const std::size_t found = output.find(line, at);
            EXPECT_NE(output.npos, found);
            if (found != output.npos) at = found + line.size();
        }
    }
    EXPECT_GT(commands, 20);
}

TEST(Interrupt, EndsTheNextStep) {
    Shared shared;
    shared.quiet = true;
    Progress progress(shared, {{"working", 10}});
    watchInterrupt();
    EXPECT_NO_THROW(progress.advance());
    EXPECT_EXIT(
        {
            std::raise(SIGINT);
            try {
                progress.advance();
            } catch (const Interrupted&) {
                _exit(7);
            }
        },
        testing::ExitedWithCode(7), "");
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
}

}  // namespace
}  // namespace workbench
