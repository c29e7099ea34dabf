// What the tests share: a fixture, builders for networks, LSPs and requests.
#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <vector>

#include "admission/lsp_setup.h"
#include "common/setup.h"
#include "computation/computation.h"
#include "database/database.h"
#include "error/error.h"

using Ids = std::vector<Long>;
using Texts = std::vector<std::string>;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kHuge = 1 << 30;  // an id that no table has room for

// Takes the messages off the stack, newest first, without their source and line.
inline Texts errorTexts() {
    Texts texts;
    while (errorManager.top > 0) {
        texts.push_back(errorManager.list[--errorManager.top].message);
        texts.back().resize(std::min(texts.back().rfind(" in "), texts.back().size()));
    }
    return texts;
}

// Starts with an empty stack and the capacity clause alone. A test accounts for every
// message that it causes and leaves no memory behind, or it fails.
class KavrilTest : public testing::Test {
  protected:
    KavrilTest() {
        errorInit();
        kavrilConfig = {};
        kavrilConfig.predicateConfig.capacityClause = true;
    }
    ~KavrilTest() override {
        failAllocation(0);
        EXPECT_THAT(errorTexts(), IsEmpty());
        errorDestroy();
        EXPECT_EQ(before_, allocatedMemory);
    }

    Long before_ = allocatedMemory;
};

// What a call writes, first to standard output, then to standard error.
template <class Act, class... Args>
std::string output(Act act, Args... args) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    act(args...);
    const std::string out = testing::internal::GetCapturedStdout();
    return out + testing::internal::GetCapturedStderr();
}

inline Ids values(const LongList& list) {
    return {list.cont, list.cont + list.top};
}

struct TestList : ScopedLongList {
    TestList(const Ids& ids = {}) {
        longVecInit(this, -1);
        for (Long id : ids) longVecPushBack(this, id);
    }
};

// bw0 is the bandwidth of class 0, the others are 0.
struct Lsp : ScopedLSP {
    Lsp(Long lspId, const Ids& nodes, double bw0 = 0.0, int level = 0, DBLSPType kind = 0,
        Long prim = -1, const Ids& primNodes = {}) {
        DBlspInit(this);
        id = lspId;
        bw[0] = bw0;
        precedence = level;
        type = kind;
        primID = prim;
        for (Long node : nodes) longVecPushBack(&path, node);
        for (Long node : primNodes) longVecPushBack(&primPath, node);
    }
};

struct Request : ScopedRequest {
    Request(const Ids& nodes, double bw0 = 0.0, int level = 0) {
        lspRequestInit(this);
        bw[0] = bw0;
        precedence = level;
        for (Long node : nodes) longVecPushBack(&path, node);
    }
};

class Net {
  public:
    Net() : db_(DBnew(0)) {}
    ~Net() { DBdestroy(db_); }
    Net(const Net&) = delete;
    Net& operator=(const Net&) = delete;
    operator DataBase*() const { return db_; }
    DataBase* operator->() const { return db_; }

    // Adds a link with `cap` in all classes, and the nodes that are missing. Without an
    // id, the link gets the one behind the highest in use.
    Net& link(Long src, Long dst, double cap = 100.0, Long id = -1) {
        for (Long end : {src, dst})
            if (findNode(&db_->nodeVec, end) == nullptr) DBaddNode(db_, end);
        ScopedLinkState state;
        DBlinkStateInit(&state);
        std::fill_n(state.cap, kClasses, cap);
        DBaddLink(db_, id < 0 ? db_->linkSrcVec.top : id, src, dst, &state);
        return *this;
    }
    int add(Lsp&& lsp) {
        TestList preempted;
        return DBaddLSP(db_, &lsp, &preempted);
    }
    DBLinkState& state(Long src, Long dst) { return *DBgetLinkState(db_, src, dst); }
    std::string print() { return output(DBprintDB, db_); }

  private:
    DataBase* db_;
};
