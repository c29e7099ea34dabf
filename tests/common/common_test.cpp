#include "common/common.h"

#include <random>
#include <type_traits>

#include "support/support.h"

using Memory = KavrilTest;
using Vectors = KavrilTest;

TEST_F(Memory, SecondFreeWarnsCountsOneUpAndLeavesTheBlockReusable) {
    const Long start = allocatedMemory;
    void* block = mymalloc(24);
    EXPECT_EQ(24, static_cast<Long*>(block)[-1]);
    EXPECT_EQ("", output(myfree, block));
    EXPECT_EQ("Warning already freed\n", output(myfree, block));
    EXPECT_EQ(start + 1, allocatedMemory);
    before_++;
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

// The operations of one kind of vector.
template <class V, auto init, auto end, auto pushBack, auto popBack, auto copy, auto get,
          auto set, auto resize>
void checkVector(const char* resizeFailure) {
    V vec = {}, large = {};
    EXPECT_TRUE(init(&vec, -1) == 0 && init(&large, 6) == 0);
    using Value = std::remove_pointer_t<decltype(vec.cont)>;
    Ids sizes;
    for (int i = 1; i <= 5; i++) {
        EXPECT_EQ(0, pushBack(&vec, static_cast<Value>(i)));
        sizes.push_back(vec.size);
    }
    EXPECT_THAT(sizes, ElementsAre(1, 2, 4, 4, 8));
    Value val = 0;
    EXPECT_TRUE(popBack(&vec, &val) == 0 && val == 5 && vec.top == 4);
    for (const auto& [index, size] : {std::pair(8, 16), std::pair(2, 16), {40, 41}}) {
        EXPECT_EQ(0, set(&vec, index, 7));
        EXPECT_EQ(std::pair(size, std::max(index + 1, 4 + (size > 16 ? 37 : 5))),
                  std::pair(vec.size, vec.top));
    }
    EXPECT_EQ((std::vector<Value>{1, 2, 7, 4, 5, 0, 0, 0, 7, 0}),
              std::vector<Value>(vec.cont, vec.cont + 10));
    // Copies reach the capacity of the source, and leave what a larger one has behind it.
    V small = {};
    EXPECT_TRUE(init(&small, 2) == 0 && set(&small, 1, 3) == 0 && set(&large, 5, 9) == 0);
    small.top = 1;
    EXPECT_TRUE(copy(&large, &small) == 0 && large.size == 6 && large.top == 1);
    EXPECT_TRUE(large.cont[1] == 3 && large.cont[5] == 9);
    EXPECT_TRUE(copy(&small, &vec) == 0 && small.size == 41 && small.top == 41);
    EXPECT_TRUE(get(&small, 40, &val) == 0 && val == 7);
    EXPECT_TRUE(resize(&small, 50) == 0 && small.size == 50 && small.top == 41);
    EXPECT_TRUE(get(&small, 49, &val) == 0 && val == 0);
    EXPECT_TRUE(errorTexts().empty());
    for (int ret : {get(&small, 50, &val), get(&small, -1, &val), set(&vec, -1, 1),
                    set(&vec, kHuge, 1)})
        EXPECT_EQ(-1, ret);
    failAllocation(1);
    EXPECT_EQ(-1, resize(&vec, 100));
    failAllocation(1);
    EXPECT_EQ(-1, copy(&large, &small));
    EXPECT_EQ(std::pair(41, 6), std::pair(vec.size, large.size));
    const char* lack = "Critical lack of memory";
    EXPECT_THAT(errorTexts(),
                ElementsAre(lack, lack, resizeFailure, lack, "Bad argument (index < 0)",
                            "Bad argument (index < 0)", "Bad argument (wrong index)"));
    large.top = 0;
    EXPECT_EQ(-1, popBack(&large, &val));
    for (V* each : {&vec, &small, &large}) EXPECT_EQ(0, end(each));
    for (int ret : {end(&vec), pushBack(&vec, 1)}) EXPECT_EQ(-1, ret);
    EXPECT_THAT(errorTexts(), ElementsAre("Bad argument (NULL)", "Bad argument (NULL)",
                                          "Pop on empty stack"));
}

TEST_F(Vectors, OfBothKindsGrowCopyAndRefuse) {
    checkVector<LongVec, longVecInit, longVecEnd, longVecPushBack, longVecPopBack,
                longVecCopy, longVecGet, longVecSet, longVecResize>(
        "Unable to resize long vector");
    checkVector<DoubleVec, dblVecInit, dblVecEnd, dblVecPushBack, dblVecPopBack,
                dblVecCopy, dblVecGet, dblVecSet, dblVecResize>(
        "Unable to resize double vector");
    EXPECT_EQ(0, longVecDestroy(longVecNew(3)) + dblVecDestroy(dblVecNew(-1)));
}

TEST_F(Vectors, ListsOpenUpAndCloseAsStandardOnesDo) {
    std::mt19937 random(1);
    TestList list;
    Ids plain;
    for (Long value = 0; value < 400; value++) {
        const auto at = static_cast<Long>(random() % (plain.size() + 1));
        if (random() % 3 != 0) {
            EXPECT_EQ(0, longListInsert(&list, at, value));
            plain.insert(plain.begin() + at, value);
        } else if (static_cast<std::size_t>(at) < plain.size()) {
            EXPECT_EQ(0, longListRemove(&list, at));
            plain.erase(plain.begin() + at);
        }
        ASSERT_EQ(plain, values(list));
    }
    const Long top = list.top;
    EXPECT_EQ(0, longListInsert(&list, top + 2, 9));  // a gap that top does not cover
    EXPECT_EQ(std::pair(9, top + 1), std::pair(list.cont[top + 2], list.top));
    EXPECT_EQ(-1, longListRemove(&list, top + 1));
    EXPECT_EQ(WARNING, errorManager.list[0].gravity);
    for (int ret : {longListRemove(&list, -1), longListInsert(&list, -1, 0)})
        EXPECT_EQ(-1, ret);
    EXPECT_THAT(errorTexts(),
                ElementsAre("Bad argument (index < 0)", "Bad argument (index < 0)",
                            "Removing inexistent list element"));
}

TEST_F(Vectors, MergeSortsBothListsAndKeepsDuplicatesOfOne) {
    TestList la({3, 1, 3}), lb({4, 3, 2, 0}), empty;
    EXPECT_EQ(0, longListMerge(&la, &lb, &lb));
    EXPECT_THAT(values(la), ElementsAre(1, 3, 3));
    EXPECT_THAT(values(lb), ElementsAre(0, 1, 2, 3, 3, 4));
    EXPECT_EQ(0, longListMerge(&empty, &la, &empty));
    EXPECT_THAT(values(empty), ElementsAre(1, 3, 3));
    for (Long nth : {1, 2}) {
        failAllocation(nth);
        EXPECT_EQ(-1, longListMerge(&la, &lb, &empty));
        EXPECT_THAT(values(empty), ElementsAre(1, 3, 3));
    }
    EXPECT_FALSE(errorTexts().empty());
}
