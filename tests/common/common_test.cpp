#include "common/common.h"

#include <random>

#include "support/support.h"

using Memory = KavrilTest;
using Vectors = KavrilTest;

TEST_F(Memory, SecondFreeWarnsCountsOneUpAndLeavesTheBlockReusable) {
    const Long start = allocatedMemory;
    void* block = mymalloc(24);
    EXPECT_EQ(24, static_cast<Long*>(block)[-1]);
    EXPECT_EQ("", output(myfree, block));
    EXPECT_EQ("Warning already freed\n", output(myfree, block));
    EXPECT_EQ(start + 1, allocatedMemory--);
    void* again = mymalloc(24);
    void* other = mymalloc(24);
    EXPECT_EQ(block, again);  // on offer once,
    EXPECT_NE(block, other);  // not twice
    for (void* live : {again, other}) myfree(live);
}

TEST_F(Memory, BlocksKeepTheirContentsThroughRandomUse) {
    struct Block {
        char* at;
        std::string contents;
    } blocks[64] = {};
    std::mt19937 random(1);
    Long total = allocatedMemory;
    for (int step = 0; step < 20000; step++) {
        const std::size_t size = random() % (step % 50 == 0 ? 100000 : 300);
        auto& [at, contents] = blocks[random() % 64];
        ASSERT_TRUE(std::equal(contents.begin(), contents.end(), at)) << step;
        total += static_cast<Long>(size) - static_cast<Long>(contents.size());
        if (at != nullptr && random() % 2 == 0) {
            at = static_cast<char*>(myrealloc(at, size));
            contents.resize(std::min(size, contents.size()));
        } else {
            myfree(at);
            at = static_cast<char*>(mycalloc(size, 1));
            contents.assign(size, '\0');
        }
        ASSERT_TRUE(std::equal(contents.begin(), contents.end(), at)) << step;
        ASSERT_EQ(0U, reinterpret_cast<std::uintptr_t>(at) % alignof(double));
        ASSERT_EQ(total, allocatedMemory);
        contents.assign(size, static_cast<char>(random()));
        std::copy(contents.begin(), contents.end(), at);
    }
    // Sizes beyond the size word are refused; the last would be 0 bytes if it wrapped.
    EXPECT_EQ(nullptr, myrealloc(blocks[0].at, std::size_t{1} << 31));
    EXPECT_EQ(nullptr, mycalloc(std::size_t{1} << 61, 8));
    for (const Block& block : blocks) myfree(block.at);
}

TEST_F(Vectors, GrowByDoublingOrToTheIndexThatIsSetOrNotAtAll) {
    TestList vec;
    Ids sizes;
    for (Long i = 1; i <= 5; i++) {
        longVecPushBack(&vec, i);
        sizes.push_back(vec.size);
    }
    EXPECT_THAT(sizes, ElementsAre(1, 2, 4, 4, 8));
    for (const auto& [index, size] : {std::pair(8, 16), std::pair(40, 41)}) {
        EXPECT_EQ(0, longVecSet(&vec, index, 7));
        EXPECT_EQ(std::pair(size, index + 1), std::pair(vec.size, vec.top));
        EXPECT_EQ(std::pair(0, 7), std::pair(vec.cont[index - 1], vec.cont[index]));
    }
    EXPECT_EQ(-1, longVecSet(&vec, kHuge, 1));
    failAllocation(1);
    EXPECT_EQ(-1, longVecPushBack(&vec, 5));
    EXPECT_EQ(41, vec.top);
    EXPECT_EQ(3U, errorTexts().size());
}

TEST_F(Vectors, CopyAndGetReachTheCapacityNotTheTop) {
    TestList src({1, 2, 3}), small, large;
    src.cont[3] = 9;
    longVecSet(&large, 5, 7);
    Long val = 0;
    for (TestList* dst : {&small, &large}) {
        EXPECT_TRUE(longVecCopy(dst, &src) == 0 && longVecGet(dst, 3, &val) == 0);
        EXPECT_EQ(std::pair(3, 9), std::pair(dst->top, val));
    }
    EXPECT_EQ(std::pair(4, 7), std::pair(small.size, large.cont[5]));
    EXPECT_EQ(-1, longVecGet(&small, 4, &val));
    EXPECT_THAT(errorTexts(), ElementsAre("Bad argument (wrong index)"));
}

TEST_F(Vectors, ListsOpenUpCloseAndMerge) {
    TestList list({1, 2});
    longListInsert(&list, 0, 7);
    longListInsert(&list, 2, 8);
    longListRemove(&list, 1);
    EXPECT_THAT(values(list), ElementsAre(7, 8, 2));
    longListInsert(&list, 5, 9);  // behind a gap that top does not cover
    EXPECT_EQ(std::pair(9, 4), std::pair(list.cont[5], list.top));
    EXPECT_EQ(-1, longListRemove(&list, 4));
    EXPECT_EQ(WARNING, errorManager.list[0].gravity);
    EXPECT_THAT(errorTexts(), ElementsAre("Removing inexistent list element"));
    TestList la({3, 1, 3}), lb({4, 3, 2, 0});
    EXPECT_EQ(0, longListMerge(&la, &lb, &lb));
    EXPECT_THAT(values(la), ElementsAre(1, 3, 3));
    EXPECT_THAT(values(lb), ElementsAre(0, 1, 2, 3, 3, 4));
}
