#include "computation/primary/primaryPath.h"

#include "support/support.h"

using PrimaryPath = KavrilTest;

static PrimaryComputationConfig& weights = kavrilConfig.primaryComputationConfig;

TEST_F(PrimaryPath, ScoreAddsWhatTheWeightsOfEveryClassSay) {
    using Config = PrimaryComputationConfig;
    double(Config::*const tables[])[kClasses] = {&Config::loadBal,   &Config::load,
                                                 &Config::sqLoad,    &Config::relLoad,
                                                 &Config::sqRelLoad, &Config::delay};
    // Weight (-1: Fortz), load, bandwidth, score.
    const double cases[][4] = {
        {-1, 30, 20, 20},     {-1, 50, 10, 30},   {-1, 70, 10, 700}, {-1, 105, 10, 5000},
        {-1, 115, 10, 50000}, {0, 50, 10, 0.055}, {1, 50, 10, 10},   {2, 50, 10, 1100},
        {3, 50, 10, 0.1},     {4, 50, 10, 0.11},  {5, 50, 10, 0.005}};
    Net net;
    net.link(0, 1).link(1, 0);
    kavrilConfig.predicateConfig = {};
    for (const auto& [weight, load, bw, want] : cases)
        for (int oa : {0, 6}) {
            const auto table = static_cast<int>(weight);
            weights = {};
            (table < 0 ? weights.Fortz : (weights.*tables[table])[oa]) = 1.0;
            net.state(0, 1).pbw[oa][3] = load;
            Request req({0, 1});
            req.bw[oa] = bw;
            COST = 0.0;
            EXPECT_EQ(0, computePrimaryPath(net, &req));
            EXPECT_NEAR(want, COST, 1e-9) << table;
            net.state(0, 1).pbw[oa][3] = 0.0;
        }
}

TEST_F(PrimaryPath, TopologyHoldsReachedNodesAndAdmittedLinks) {
    Net net;
    net.link(0, 1).link(1, 3, 1.0);
    Request req({0, -1, 3}, 8.0);
    ScopedTopo topo;
    ASSERT_TRUE(initTopo(&topo, -1) == 0 && fillTopo(net, &req, &topo) == 0);
    EXPECT_EQ(
        "Node 0\n--------\nIncoming neighboors : \n\nOutgoing neighboors : \n1 \n"
        "Chosen Neighbour Index: -1 \n\nNode 1\n--------\nIncoming neighboors : \n0 \n"
        "Outgoing neighboors : \n\nChosen Neighbour Index: -1 \n\n",
        output(printTopo, &topo));
    EXPECT_EQ(0, topoNode(&topo, 2)->nodeId);  // never built
    EXPECT_EQ(3, topoNode(&topo, 3)->nodeId);
    EXPECT_EQ(-1, computePrimaryPath(net, &req));
    EXPECT_EQ("Destination unreachable", errorTexts().at(1));
}

// Backups of two links into node 1 lead over a third one, and likewise at node 2. Were
// node 1 to fail, they need 10 there; but its failure frees what the request books on
// that link, and a link's alone needs 5.
TEST_F(PrimaryPath, LinksTakeWhatTheFailureOfTheirHeadFrees) {
    Net net;
    net.link(0, 1, 15.0).link(1, 2, 15.0);
    for (Long head : {1, 2})
        for (Long src : {2 * head + 1, 2 * head + 2}) {
            const Long id = 10 * head + src;
            net.link(src, head).link(src, head - 1).link(head, src);
            net.add(Lsp(id, {src, head}, 5.0));
            net.add(Lsp(100 + id, {src, head - 1, head}, 5.0, 1, DB_LOCAL_BACKUP_LSP, id,
                        {src, head}));
            EXPECT_EQ(src % 2 == 1 ? 5.0 : 10.0, net.state(head - 1, head).rbw[0][1]);
        }
    for (double bw : {10.0, 10.5}) {
        Request req({0, -1, 2}, bw);
        EXPECT_EQ(bw == 10.0 ? 0 : -1, computePrimaryPath(net, &req));
        EXPECT_EQ(bw == 10.0 ? Ids({0, 1, 2}) : Ids(), values(req.path));
    }
    EXPECT_EQ("Destination unreachable", errorTexts().at(1));
}
