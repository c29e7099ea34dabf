#include "session/session.h"

#include "support/support.h"

using Sessions = KavrilTest;

TEST_F(Sessions, KeepTheirStateApartAndReleaseStacksThatNobodyOwns) {
    currentSessId = lastSession = nbSessions = -1;
    for (int id = 0; id < kMaxSessions; id++) {
        EXPECT_EQ(0, beginSession());
        kavrilConfig.primaryComputationConfig.Fortz = id;
        centralDB = DBnew(id);
        EXPECT_EQ(id, openSession());
    }
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
    EXPECT_EQ(0, beginSession());  // its stack is the fixture's to release
}
