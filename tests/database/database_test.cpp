#include "database/database.h"

#include "support/support.h"

using NetworkDatabase = KavrilTest;

TEST_F(NetworkDatabase, WithoutMemoryThereIsNone) {
    DataBase* dataBase = nullptr;
    for (Long nth = 1; dataBase == nullptr; nth++) {
        failAllocation(nth);
        dataBase = DBnew(3);
        EXPECT_EQ(dataBase == nullptr, !errorTexts().empty());
        EXPECT_TRUE(failAllocation(0) > 0 || dataBase == nullptr);
    }
    DBdestroy(dataBase);
}

TEST_F(NetworkDatabase, IdsThatNoTableHasRoomForLeaveItAsItWas) {
    Net net;
    net.link(3, 1).link(2, 1);
    EXPECT_EQ(0, DBaddNode(net, 20000));  // the link table would take 3 GB
    const std::string before = net.print();
    ScopedLinkState state;
    DBlinkStateInit(&state);
    EXPECT_EQ(-1, DBaddNode(net, kHuge));
    EXPECT_EQ(-1, net.add(Lsp(kHuge, {})));
    EXPECT_EQ(-1, DBaddLink(net, 9, 20000, 3, &state));
    EXPECT_EQ(-1, DBaddLink(net, kHuge, 3, 2, &state));
    EXPECT_EQ(14U, errorTexts().size());
    EXPECT_EQ(before, net.print());
    EXPECT_EQ(std::pair(2, 2), std::pair(DBgetNbLinks(net), net->linkSrcVec.top));
}

TEST_F(NetworkDatabase, RemovingANodeTakesItsLinksAndOneMoreOffTheCount) {
    Net net;
    net.link(2, 1).link(0, 1).link(1, 3).link(1, 1).link(0, 3).link(0, 2);
    EXPECT_THAT(values(*DBgetNodeInNeighb(net, 1)), ElementsAre(0, 1, 2));
    EXPECT_EQ(0, DBremoveNode(net, 1));
    EXPECT_EQ(6 - 4 - 1, DBgetNbLinks(net));
    EXPECT_THAT(values(*DBgetNodeOutNeighb(net, 0)), ElementsAre(2, 3));
    EXPECT_EQ(0, DBremoveLink(net, 0, 2));
    EXPECT_EQ(std::pair(5, 6), std::pair(net->linkSrcVec.top, net->linkDstVec.top));
    net.link(3, 0, 100.0, 0);  // ids of removed links are free
    EXPECT_EQ(5, net->linkDstVec.top);
    EXPECT_EQ(-1, DBgetLinkSrc(net, 1));          // no message for a free id
    net->nodeVec.cont[0]->outNeighb.cont[0] = 9;  // missing, so the first entry goes
    EXPECT_EQ(0, DBremoveLink(net, 0, 3));
    EXPECT_EQ(0, net->nodeVec.cont[0]->outNeighb.top);
    longVecPushBack(&net->nodeVec.cont[0]->outNeighb, 9);  // cannot be removed
    EXPECT_EQ(-1, DBremoveNode(net, 0));
    EXPECT_EQ(2U, errorTexts().size());
}
