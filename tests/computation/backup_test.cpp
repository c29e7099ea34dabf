#include "computation/backup/backup.h"

#include "support/support.h"

using Backup = KavrilTest;

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

// A detour takes the primary's own first link, which another detour of the same call has
// taken before: the primary still flows there, so that its bandwidth is not free for what
// a third LSP brings to the link in the same failure.
TEST_F(Backup, DetoursOverTheirOwnPrimaryDoNotCountItAsFreed) {
    for (const auto& [capacity, want] :
         {std::pair(35.0, Ids{2, 0, 1, 5, 4}), {34.0, Ids{2, 6, 7, 8, 9, 4}}}) {
        Net net;
        net.link(0, 1, capacity);
        const Ids walks[] = {{1, 2, 3, 4}, {3, 0},  {2, 0},      {1, 5, 4},
                             {11, 2},      {3, 12}, {1, 13, 12}, {2, 6, 7, 8, 9, 4}};
        for (const Ids& walk : walks)
            for (std::size_t i = 0; i + 1 < walk.size(); i++)
                net.link(walk[i], walk[i + 1]);
        EXPECT_EQ(0, net.add(Lsp(1, {0, 1, 2, 3, 4}, 10.0)));
        EXPECT_EQ(0, net.add(Lsp(2, {11, 2, 3, 12}, 15.0)));
        EXPECT_EQ(0, net.add(Lsp(3, {2, 0, 1, 13, 12}, 15.0, 0, DB_LOCAL_BACKUP_LSP, 2,
                                 {11, 2, 3, 12})));
        LSPRequestList found;
        lspRequestListInit(&found, -1);
        output([&] { EXPECT_EQ(-1, computeBackup(net, &found, 1, LOCAL_BACKUP)); });
        EXPECT_EQ((Ids{3, 0, 1, 5, 4}), values(found.cont[3].path));
        EXPECT_EQ(want, values(found.cont[2].path));
        lspRequestListEnd(&found);
    }
}
