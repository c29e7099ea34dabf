#include "computation/backup/backup.h"

#include "support/support.h"

using Backup = KavrilTest;

// The level and the path of each backup, or none.
static std::vector<Ids> protect(DataBase* net, Long prim, BackupType type) {
    LSPRequestList requests;
    lspRequestListInit(&requests, -1);
    const bool found = computeBackup(net, &requests, prim, type) == 0;
    std::vector<Ids> backups;
    for (Long i = 0; found && i < requests.size; i++) {
        backups.push_back({requests.cont[i].precedence});
        for (Long node : values(requests.cont[i].path)) backups.back().push_back(node);
    }
    lspRequestListEnd(&requests);
    return backups;
}

TEST_F(Backup, QueuePopsTheSmallestKeyAndAmongEqualOnesTheLast) {
    const std::pair<std::vector<double>, Ids> cases[] = {
        {{5, 3, 8, 3}, {3, 1, 0, 2}}, {{4, 6, 5, 5, 6}, {0, 3, 2, 4, 1}}};
    for (const auto& [keys, want] : cases) {
        CPDijkNode nodes[5] = {};
        CPPrioQueue queue = {};
        for (double key : keys) CPinsertPQ(&queue, &nodes[queue.size], key);
        Ids popped;
        while (CPDijkNode* node = CPpopTop(&queue))
            popped.push_back(static_cast<Long>(node - nodes));
        EXPECT_EQ(want, popped);
        EXPECT_EQ(0, queue.size);
    }
}

TEST_F(Backup, RingIsProtectedByItsOtherSideUntilANodeIsGone) {
    Net net;
    for (Long node : {1, 2, 3, 4}) net.link(node, node % 4 + 1).link(node % 4 + 1, node);
    for (int p : {6, 7}) net.add(Lsp(p, {1, 2, 3}, 4.0, p));
    EXPECT_EQ(0, net.add(Lsp(1, {3})) + net.add(Lsp(2, {})));
    EXPECT_THAT(protect(net, 1, GLOBAL_BACKUP), ElementsAre(Ids{1, 3}));
    for (Long id : {1, 2}) EXPECT_THAT(protect(net, id, LOCAL_BACKUP), IsEmpty());
    EXPECT_THAT(protect(net, 7, LOCAL_BACKUP),
                ElementsAre(Ids{7, 1, 4, 3}, Ids{7, 2, 1, 4, 3}));
    EXPECT_THAT(protect(net, 6, GLOBAL_BACKUP), ElementsAre(Ids{7, 1, 4, 3}));
    auto none = [&] { EXPECT_THAT(protect(net, 2, GLOBAL_BACKUP), IsEmpty()); };
    EXPECT_EQ(
        "Switching from node to link protection for lsp number: 2\n"
        "Oups ... no path found ...\nNo end to end link disjoint protection path found\n",
        output(none));
    DBremoveNode(net, 2);
    auto local = [&] { EXPECT_THAT(protect(net, 6, LOCAL_BACKUP), IsEmpty()); };
    EXPECT_EQ("No local link disjoint protection path found\n", output(local));
    EXPECT_THAT(protect(net, 6, GLOBAL_BACKUP), IsEmpty());
    EXPECT_EQ(4U + 4 + 2, errorTexts().size());  // links and a node are missing
}

TEST_F(Backup, LaterBackupsOfACallShareWithEarlierOnes) {
    Net net;
    net.link(1, 2).link(2, 3).link(1, 4).link(4, 3).link(1, 5).link(5, 3).link(2, 4);
    net.link(3, 8).link(3, 9).link(9, 8).add(Lsp(1, {1, 2, 3, 8}, 4.0));
    // By way of 5 the first link's backup would be as short, but 4 -> 3 is reserved.
    EXPECT_THAT(protect(net, 1, LOCAL_BACKUP),
                ElementsAre(Ids{1, 1, 4, 3}, Ids{1, 2, 4, 3}, Ids{1, 3, 9, 8}));
}

TEST_F(Backup, CostIsTheAddedReservationAndTheLength) {
    Net net;
    net.link(0, 1).link(0, 2, 4.0);
    net.add(Lsp(1, {0, 1}, 4.0));
    DBLinkState* states[] = {&net.state(0, 1), &net.state(0, 2)};
    CPDijkNode start = {nullptr, net->nodeVec.cont[0], 0.0, true};
    auto cost = [&](double bw, BackupType type, const Ids& primPath) {
        Lsp lsp(1, {0, 1}, bw, 7, DB_PRIMARY_LSP, -1, primPath);
        return computeCost(net, states, 0, 2, &start, &lsp, type);
    };
    EXPECT_DOUBLE_EQ(4.0, cost(4.0, LOCAL_BACKUP, {}));
    EXPECT_DOUBLE_EQ(4.0 * (10 + 4) / 11, cost(4.0, GLOBAL_BACKUP, {0, 2, 1, 3}));
    EXPECT_EQ(-1.0, cost(4.25, LOCAL_BACKUP, {}));  // does not fit
    EXPECT_EQ(-1.0, cost(4.0, NO_BACKUP, {}));
    EXPECT_THAT(errorTexts(), ElementsAre("Unknown backup type"));
}
