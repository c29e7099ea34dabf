// Records and containers that callers of the C++ interface make for themselves.

#include <algorithm>
#include <functional>
#include <random>

#include "admission/link_eval.h"
#include "admission/lsp_setup.h"
#include "database/database.h"
#include "support/support.h"

using Records = KavrilTest;

TEST_F(Records, NullOrEndedArgumentsAreRefused) {
    LongVec ended = {};
    DoubleVec endedDoubles = {};
    DBLSPList endedList = {};
    ScopedLinkState state;
    DBlinkStateInit(&state);
    Lsp lsp(1, {});
    TestList list;
    Net net;
    const std::function<int()> calls[] = {
        [&] { return longVecInit(nullptr, 1); },
        [&] { return longVecCopy(&list, &ended); },
        [&] { return longVecPopBack(&list, nullptr); },
        [&] { return longListMerge(&list, &ended, &list); },
        [&] { return dblVecPushBack(&endedDoubles, 1.0); },
        [&] { return DBlinkStateCopy(&state, nullptr); },
        [&] { return DBlinkStateEnd(nullptr); },
        [&] { return DBlspCopy(nullptr, &lsp); },
        [&] { return DBlspEnd(nullptr); },
        [&] { return DBlspListInsert(&endedList, &lsp); },
        [&] { return DBlspListRemove(nullptr, &lsp); },
        [&] { return DBnodeInit(nullptr); },
        [&] { return DBnodeVecSet(&net->nodeVec, nullptr, 1); },
        [&] { return DBnodeVecRemove(&net->nodeVec, 4); },
        [&] { return DBlspVecSet(&net->lspVec, &lsp, -1); },
        [&] { return DBlspVecRemove(&net->lspVec, 0); },
        [&] { return DBlinkTabRemove(&net->linkTab, 0, 0); },
        [&] { return DBaddNode(nullptr, 1); },
        [&] { return DBaddLink(net, 1, 0, 1, nullptr); },
        [&] { return DBsetLinkState(net, 0, 1, nullptr); },
        [&] { return DBremoveLink(nullptr, 0, 1); },
        [&] { return DBremoveNode(nullptr, 0); },
        [&] { return DBaddLSP(net, nullptr, &list); },
        [&] { return DBremoveLSP(nullptr, 0); },
        [&] { return getpreemptList(nullptr, &lsp, &list); },
        [&] { return updateLS(net, 0, 1, nullptr, &lsp, SETUP); },
        [&] { return evalLS(net, 0, 1, &state, &state, nullptr, SETUP); },
        [&] { return computeRBW(net, nullptr, state.pbw, state.bbw, state.fbw); },
        [&] { return lspRequestInit(nullptr); },
        [&] { return lspRequestEnd(nullptr); },
        [&] { return DBgetLinkState(nullptr, 0, 1) == nullptr ? -1 : 0; },
        [&] { return DBgetLSP(nullptr, 0) == nullptr ? -1 : 0; }};
    for (std::size_t i = 0; i < std::size(calls); i++) {
        EXPECT_EQ(-1, calls[i]()) << i;
        EXPECT_THAT(errorTexts(), ElementsAre("Bad argument (NULL)")) << i;
    }
}

TEST_F(Records, CopiesHaveAllFields) {
    Lsp lsp(7, {1, 2}, 3.0, 5, 2, 9, {3, 4}), copy(0, {8, 8, 8});
    lsp.bw[7] = 2.0;
    lsp.noContentionId = 11;
    longVecPushBack(&lsp.forbidLinks, 6);
    longVecPushBack(&lsp.backLSPIDs, 12);
    EXPECT_EQ(0, DBlspCopy(&copy, &lsp));
    EXPECT_THAT(
        (Ids{copy.id, copy.precedence, copy.type, copy.primID, copy.noContentionId}),
        ElementsAre(7, 5, 2, 9, 11));
    EXPECT_TRUE(std::equal(lsp.bw, lsp.bw + kClasses, copy.bw));
    EXPECT_THAT(values(copy.path), ElementsAre(1, 2));
    EXPECT_THAT(values(copy.primPath), ElementsAre(3, 4));
    EXPECT_THAT(values(copy.forbidLinks), ElementsAre(6));
    EXPECT_THAT(values(copy.backLSPIDs), ElementsAre(12));
    DBLinkState* state = DBlinkStateNew();
    ScopedLinkState other;
    DBlinkStateInit(&other);
    state->color = 3;
    state->cap[7] = state->rbw[7][6] = state->pbw[6][7] = 4.0;
    DoubleVec* vectors[] = {&state->bbw[1][2], &state->remoteBbw[3][4], &state->fbw[5][6],
                            &state->remoteFbw[7][0]};
    for (DoubleVec* vec : vectors) dblVecSet(vec, 11, 5.0);
    EXPECT_EQ(0, DBlinkStateCopy(&other, state));
    EXPECT_EQ(3, other.color);
    EXPECT_TRUE(other.cap[7] == 4.0 && other.rbw[7][6] == 4.0 && other.pbw[6][7] == 4.0);
    for (const DoubleVec* vec : {&other.bbw[1][2], &other.remoteBbw[3][4],
                                 &other.fbw[5][6], &other.remoteFbw[7][0]})
        EXPECT_TRUE(vec->size == 12 && vec->cont[11] == 5.0);
    dblVecSet(&state->bbw[1][2], 90, 5.0);
    dblVecSet(&state->fbw[5][6], 0, 6.0);
    failAllocation(1);  // one table cannot grow; the others are copied
    EXPECT_EQ(-1, DBlinkStateCopy(&other, state));
    EXPECT_TRUE(other.bbw[1][2].size == 12 && other.fbw[5][6].cont[0] == 6.0);
    EXPECT_EQ("Link state copy uncomplete", errorTexts().at(0));
    DBlinkStateDestroy(state);
}

TEST_F(Records, LspListsStandInTheOrderOfTheComparison) {
    std::mt19937 random(2);
    auto below = [&](unsigned n) { return static_cast<int>(random() % n); };
    std::vector<DBLabelSwitchedPath> lsps(60);
    for (std::size_t i = 0; i < lsps.size(); i++) {
        lsps[i].id = static_cast<Long>(i);
        lsps[i].precedence = below(4);
        lsps[i].bw[0] = below(3);
        lsps[i].bw[1] = below(9);  // does not decide
    }
    std::shuffle(lsps.begin(), lsps.end(), random);
    DBLSPList* list = DBlspListNew(-1);
    auto isBefore = [](const DBLabelSwitchedPath* a, const DBLabelSwitchedPath* b) {
        if (a->precedence != b->precedence) return a->precedence > b->precedence;
        if (a->bw[0] != b->bw[0]) return a->bw[0] > b->bw[0];
        return a->id < b->id;
    };
    for (DBLabelSwitchedPath& lsp : lsps) {
        const int at = DBlspListInsert(list, &lsp);
        ASSERT_EQ(&lsp, list->cont[at]);
        ASSERT_TRUE(std::is_sorted(list->cont, list->cont + list->top, isBefore));
        for (DBLabelSwitchedPath& b : lsps)
            ASSERT_EQ(isBefore(&lsp, &b)   ? 1
                      : isBefore(&b, &lsp) ? -1
                                           : 0,
                      DBlspCompare(&lsp, &b));
    }
    EXPECT_EQ(64, list->size);
    for (DBLabelSwitchedPath& lsp : lsps) {
        ASSERT_EQ(0, DBlspListRemove(list, &lsp));
        ASSERT_EQ(list->cont + list->top,
                  std::find(list->cont, list->cont + list->top, &lsp));
    }
    EXPECT_EQ(-1, DBlspListRemove(list, &lsps[0]));
    EXPECT_EQ(WARNING, errorManager.list[0].gravity);
    DBlspListInsert(list, &lsps[0]);
    EXPECT_EQ(-1, DBlspListRemove(list, &lsps[1]));
    EXPECT_EQ(Texts(2, "Removing inexistent LSP"), errorTexts());
    EXPECT_EQ(0, DBlspListDestroy(list));
}

TEST_F(Records, TablesOfCallersOwnWhatTheyHold) {
    DBNodeVec* nodes = DBnodeVecNew(-1);
    DBLSPVec* lsps = DBlspVecNew(2);
    DBLinkTab* links = DBlinkTabNew(-1);
    for (Long id : {4, 1, 6}) {
        EXPECT_EQ(0, DBnodeVecSet(nodes, DBnodeNew(), id));
        EXPECT_EQ(0, DBlspVecSet(lsps, DBlspNew(), id));
        EXPECT_EQ(0, DBlinkTabSet(links, DBlinkNew(), id, 1));
    }
    EXPECT_THAT((Ids{nodes->size, nodes->top, lsps->size, links->size}),
                ElementsAre(10, 7, 10, 10));
    DBLabelSwitchedPath* taken = lsps->cont[6];
    EXPECT_EQ(-1, DBlspVecSet(lsps, taken, 4));
    EXPECT_EQ(0, DBlspVecRemove(lsps, 6) + DBlspDestroy(taken));
    EXPECT_EQ(0, DBnodeVecResize(nodes, 5) + DBlspVecResize(lsps, 3));
    EXPECT_THAT((Ids{nodes->size, nodes->top, lsps->size}), ElementsAre(5, 5, 3));
    EXPECT_EQ(0, DBnodeVecRemove(nodes, 4) + DBlinkTabRemove(links, 4, 1));
    EXPECT_EQ(2, nodes->top);
    EXPECT_EQ(-1, DBlinkTabResize(links, 3));  // never shrinks
    EXPECT_EQ(0, DBlinkTabResize(links, 12));
    EXPECT_TRUE(links->cont[6][1] != nullptr && links->cont[11][11] == nullptr);
    EXPECT_EQ(2U, errorTexts().size());
    EXPECT_EQ(0,
              DBnodeVecDestroy(nodes) + DBlspVecDestroy(lsps) + DBlinkTabDestroy(links));
}

TEST_F(Records, RequestsAndListsOfThem) {
    LSPRequest* req = lspRequestNew();
    Request other({1, 2}, 5.0, 3);
    other.primID = 8;
    other.type = 2;
    other.rerouteInfo = {4, 5, 6};
    longVecPushBack(&other.forbidLinks, 9);
    EXPECT_TRUE(req->rerouteInfo.id == -1 && req->path.top == 0 && req->primID == 0);
    EXPECT_EQ(0, lspRequestCopy(req, &other));
    EXPECT_THAT(
        (Ids{req->precedence, req->primID, req->type, req->rerouteInfo.id,
             req->rerouteInfo.src, req->rerouteInfo.dst, req->forbidLinks.cont[0]}),
        ElementsAre(3, 8, 2, 4, 5, 6, 9));
    EXPECT_THAT(values(req->path), ElementsAre(1, 2));
    EXPECT_EQ(0.0, req->bw[0]);  // not copied
    EXPECT_EQ(0, lspRequestDestroy(req));
    LSPRequestList list = {};
    EXPECT_TRUE(lspRequestListInit(&list, -5) == 0 && list.size == 1);
    EXPECT_EQ(0, lspRequestListResize(&list, 3));
    longVecPushBack(&lspRequestListGet(&list, 2)->path, 1);
    EXPECT_EQ(0, lspRequestListResize(&list, 1) + lspRequestListResize(&list, 3));
    EXPECT_EQ(3, lspRequestListSize(&list));
    EXPECT_EQ(0, lspRequestListGet(&list, 2)->path.top);
    failAllocation(3);
    EXPECT_EQ(-1, lspRequestListResize(&list, 9));
    EXPECT_EQ(3, list.size);
    EXPECT_TRUE(lspRequestListGet(&list, 3) == nullptr &&
                lspRequestListGet(&list, -1) == nullptr);
    EXPECT_EQ(0, lspRequestListSet(&list, &other, 0));
    EXPECT_EQ(0, lspRequestListEnd(&list));
    const Texts texts = errorTexts();
    EXPECT_EQ("Trying to call an undefined function", texts.at(0));
    EXPECT_EQ("Out of bound index", texts.at(1));
}
