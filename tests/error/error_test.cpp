#include "error/error.h"

#include "support/support.h"

using ErrorStack = KavrilTest;

TEST_F(ErrorStack, GrowsWhileFewerThanSixSlotsAreFreeAndPrintsNewestFirst) {
    Ids sizes;
    for (int level : {0, 1, 2, 3, 7}) {
        addError(static_cast<GravityLevel>(level), "%d", level);
        sizes.push_back(errorManager.size);
    }
    EXPECT_THAT(sizes, ElementsAre(2, 4, 8, 16, 16));
    EXPECT_EQ("7\n[PANIC] 3\n[CRITICAL] 2\n[WARNING] 1\n[INFO] 0\n",
              output(printErrorStack));
    EXPECT_EQ(5U, errorTexts().size());  // printing takes none off
}

TEST_F(ErrorStack, CutsMessagesTo199Characters) {
    const std::string text(300, 'x'), shorter(185, 'x');
    addErrorAt(INFO, "long.c", 7, "%s", shorter.c_str());
    EXPECT_EQ(shorter + " in long.c at ", errorManager.list[0].message);
    addError(INFO, "%s", text.c_str());
    EXPECT_THAT(errorTexts(), ElementsAre(text.substr(0, 199), shorter));
}

TEST_F(ErrorStack, WithoutMemoryTakesANoteWhileThereIsRoomAndThenDropsMessages) {
    addError(INFO, "first");
    for (int i = 0; i < 2; i++) {
        failAllocation(1);
        addError(INFO, "lost");  // the note takes the last of two slots
    }
    const char* note = "Critical lack of memory encountered while resizing error manager";
    EXPECT_THAT(errorTexts(), ElementsAre(note, "first"));
    errorDestroy();
    addError(CRITICAL, "there is no stack");
    EXPECT_EQ("", output(printErrorStack));
    errorInit();
}
