#include "session/session.h"

#include <unistd.h>

#include <cstring>
#include <fstream>
#include <thread>

#include "support/support.h"

using Sessions = KavrilTest;

namespace {

int openOne() {
    beginSession();
    centralDB = DBnew(0);
    const int id = openSession();
    leaveSession();
    return id;
}

bool killOne(int id) {
    const bool isLive = loadSession(id) >= 0;
    if (isLive) closeSession();
    return isLive;
}

long residentPages() {
    long all = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> all >> resident;
    return resident;
}

}  // namespace

TEST_F(Sessions, KilledOnesGiveTheirMemoryBack) {
    loadSession(openOne());
    const long before = residentPages();
    std::vector<void*> blocks;
    for (std::size_t i = 0; i < 4000; i++)
        blocks.push_back(std::memset(mymalloc(16 * i), 1, 16 * i));
    const long filled = residentPages();
    for (void* block : blocks) myfree(block);
    closeSession();
    EXPECT_LT(before + 20'000, filled);
    EXPECT_GT(before + (filled - before) / 4, residentPages());
    errorInit();
}

// Nobody reads what the kill writes until others have done their work.
TEST_F(Sessions, NobodyWaitsForTheReportOfAKill) {
    int ends[2];
    ASSERT_EQ(0, pipe(ends));
    const int screen = dup(STDERR_FILENO);
    dup2(ends[1], STDERR_FILENO);
    const int talkative = openOne();
    std::thread killer([&] {
        loadSession(talkative);
        for (int i = 0; i < 5000; i++) addError(INFO, "%60d", i);
        closeSession();
    });
    char text[4096];
    long lines = 0;
    auto readSome = [&] {
        const ssize_t length = read(ends[0], text, sizeof text);
        lines += std::count(text, text + length, '\n');
    };
    readSome();  // it has begun
    const int other = openOne();
    EXPECT_TRUE(other >= 0 && other != talkative && killOne(other));
    EXPECT_FALSE(killOne(talkative));
    while (lines < 5000) readSome();
    killer.join();
    dup2(screen, STDERR_FILENO);
    for (int end : {screen, ends[0], ends[1]}) close(end);
    errorInit();
}

TEST_F(Sessions, KeepTheirStateApartAndReleaseStacksThatNobodyOwns) {
    currentSessId = lastSession = nbSessions = -1;
    for (int id = 0; id < kMaxSessions; id++) {
        EXPECT_EQ(0, beginSession());
        kavrilConfig.primaryComputationConfig.Fortz = id;
        centralDB = DBnew(id);
        EXPECT_EQ(id, openSession());
    }
    EXPECT_TRUE(killOne(7));
    EXPECT_EQ(7, openOne());  // the only free one
    EXPECT_EQ(-1, beginSession());
    EXPECT_EQ(-1, loadSession(128));  // on the same stack, to be released
    EXPECT_EQ(5, loadSession(5));
    EXPECT_EQ(std::pair(5.0, 5),
              std::pair(kavrilConfig.primaryComputationConfig.Fortz, DBgetID(centralDB)));
    for (int unknown : {-1, 128, kHuge}) EXPECT_EQ(-1, loadSession(unknown));
    EXPECT_EQ(127, loadSession(127));
    EXPECT_EQ(0, errorManager.top);
    for (int id = 0; id < kMaxSessions; id++) {
        loadSession(id);
        const std::string messages = output(closeSession);
        EXPECT_EQ(id == 5 ? 3 : 0, std::count(messages.begin(), messages.end(), '\n'));
        EXPECT_EQ(-1, loadSession(id));  // without a stack for the message
        EXPECT_EQ(nullptr, centralDB);
    }
    EXPECT_EQ(0, beginSession());
    leaveSession();  // its stack is the fixture's to release
}
