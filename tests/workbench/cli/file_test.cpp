#include "cli/file.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>

#include "cli/error.h"
#include "cli/progress.h"

namespace workbench {
namespace {

namespace fs = std::filesystem;

class Files : public testing::Test {
  protected:
    void SetUp() override { fs::create_directory(folder_); }
    void TearDown() override { fs::remove_all(folder_); }
    std::string path(const char* name) const { return (folder_ / name).string(); }
    std::size_t entries() const {
        return std::distance(fs::directory_iterator(folder_), fs::directory_iterator());
    }

    fs::path folder_ =
        fs::path(testing::TempDir()) / ("kavril" + std::to_string(getpid()));
};

TEST_F(Files, AreReplacedAsAWhole) {
    writeFile(path("a"), "one");
    writeFile(path("a"), std::string("two\0\n", 5));
    EXPECT_EQ(std::string("two\0\n", 5), readFile(path("a")));
    EXPECT_EQ(1u, entries()) << "no temporary file stays";
    EXPECT_NE(fs::perms::none,
              fs::status(path("a")).permissions() & fs::perms::owner_write);
}

TEST_F(Files, SymbolicLinkStaysOne) {
    writeFile(path("a"), "one");
    fs::create_symlink(path("a"), path("link"));
    writeFile(path("link"), "two");
    EXPECT_TRUE(fs::is_symlink(path("link")));
    EXPECT_EQ("two", readFile(path("a")));
}

TEST_F(Files, FailureLeavesNothingBehind) {
    fs::create_directory(path("folder"));
    EXPECT_THROW(writeFile(path("folder"), "text"), UserError);
    EXPECT_THROW(writeFile(path("none/file"), "text"), UserError);
    EXPECT_THROW(writeFile("/dev/full", std::string(1 << 20, 'x')), UserError);
    EXPECT_THROW(readFile(path("none")), UserError);
    EXPECT_THROW(readFile(path("folder")), UserError);
    EXPECT_EQ(1u, entries());
}

TEST(Interrupt, EndsTheNextStep) {
    Shared shared;
    shared.quiet = true;
    Progress progress(shared, "working", 10);
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
