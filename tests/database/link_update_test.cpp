#include "database/link_update.h"

#include "support/support.h"

using LinkUpdate = KavrilTest;

TEST_F(LinkUpdate, FailuresBookNothingMoreAndLeaveTheReservationStale) {
    Net net;
    net.link(1, 2).link(2, 3);
    DBLinkState& ls = net.state(1, 2);
    Lsp lsp(1, {1, 2, -1}, 4.0);
    Lsp backup(2, {3, 1, 2}, 4.0, 0, DB_LOCAL_BACKUP_LSP, 9, {3, 1});
    const auto unknown = static_cast<operation>(2);
    EXPECT_EQ(0, updateLS(net, 2, 3, &ls, &lsp, unknown));  // is not looked at
    EXPECT_EQ(-1, updateLS(net, 1, 2, &ls, &lsp, unknown));
    EXPECT_EQ(0.0, ls.pbw[0][0]);
    EXPECT_EQ(-1, updateLS(net, 1, 2, &ls, &backup, SETUP));  // no link to protect
    EXPECT_EQ(-1, updateLS(net, 1, 2, &ls, &lsp, SETUP));
    EXPECT_THAT(
        errorTexts(),
        ElementsAre("Cannot determine link ID", "Bad argument (NULL or negative value)",
                    "Cannot determine link ID", "Bad argument (unknown operation)"));
    EXPECT_EQ(std::pair(4.0, 0.0), std::pair(ls.pbw[0][0], ls.rbw[0][0]));
}

TEST_F(LinkUpdate, PartnersShareTheLargerBandwidthAndEitherLeavesTheOther) {
    Net net;
    net.link(0, 1).link(1, 2).link(1, 3);
    for (const auto& [first, second] : {std::pair(10.0, 6.0), std::pair(6.0, 10.0)})
        for (Long removed : {1, 2}) {
            Lsp rerouted(2, {0, 1, 3}, second, 2);
            rerouted.noContentionId = 1;
            EXPECT_EQ(0, net.add(Lsp(1, {0, 1, 2}, first, 2)));
            EXPECT_EQ(0, net.add(std::move(rerouted)));
            EXPECT_EQ(10.0, net.state(0, 1).pbw[0][2]);
            expectTablesMatch(net);
            EXPECT_EQ(0, DBremoveLSP(net, removed));
            expectTablesMatch(net);
            EXPECT_EQ(0, DBremoveLSP(net, 3 - removed));
        }
}
