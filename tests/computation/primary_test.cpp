#include "computation/primary/primaryPath.h"

#include "support/support.h"

using PrimaryPath = KavrilTest;

static PrimaryComputationConfig& weights = kavrilConfig.primaryComputationConfig;

static Ids path(DataBase* net, const Ids& ends, double bw = 0.0, int level = 0) {
    Request req(ends, bw, level);
    COST = 0.0;
    EXPECT_EQ(0, computePrimaryPath(net, &req));
    return values(req.path);
}

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

TEST_F(PrimaryPath, FirstElectedStaysButOfCandidatesTheLast) {
    // Costs of 0-3, 0-1, 1-3, 0-2, 2-3, and the way that the best path takes.
    const double cases[][6] = {{3, 2, 2, 2, 2, 3},
                               {4, 2, 2, 2, 2, 3},
                               {8, 2, 2, 2, 2, 2},
                               {8, 2, 2, 4, 2, 1},
                               {8, 4, 2, 2, 2, 2}};
    kavrilConfig.predicateConfig = {};
    weights.relLoad[0] = 1.0;
    for (const auto& [direct, to1, from1, to2, from2, want] : cases) {
        Net net;
        net.link(0, 0).link(0, 3, 16 / direct).link(0, 1, 16 / to1);
        net.link(1, 3, 16 / from1).link(0, 2, 16 / to2).link(2, 3, 16 / from2);
        EXPECT_EQ(want, path(net, {0, 7, 3}, 16.0)[1]);  // 7 does not matter
        EXPECT_EQ(std::min(direct, 4.0), COST);
        EXPECT_THAT(path(net, {0, -1, 0}), ElementsAre(0));
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

TEST_F(PrimaryPath, ReroutingWeightsPriceTheGainOfALink) {
    Net net;
    net.link(0, 1, 10.0).link(1, 3, 10.0).link(0, 2, 10.0).link(2, 3, 10.0);
    net.add(Lsp(1, {0, 1}, 8.0, 7));
    kavrilConfig.predicateConfig.allowReroute = true;
    weights.load[0] = weights.rerouting[0] = 1.0;
    EXPECT_THAT(path(net, {0, -1, 3}, 5.0, 2), ElementsAre(0, 1, 3));
    kavrilConfig.reroutingConfig.scoreCoef[0][7] = 1.0;
    EXPECT_THAT(path(net, {0, -1, 3}, 5.0, 2), ElementsAre(0, 2, 3));
    DBremoveLink(net, 2, 3);
    EXPECT_THAT(path(net, {0, -1, 3}, 5.0, 2), ElementsAre(0, 1, 3));
    EXPECT_EQ(5 + 5 * 3.0 / 5 + 5, COST);
}

TEST_F(PrimaryPath, FailsWhereLinksCannotBeEvaluated) {
    Net net;
    net.link(0, 1).link(1, 2).link(0, 3).link(3, 2);
    net.add(Lsp(1, {0, 1, 2}, 8.0));
    DBremoveLink(net, 1, 2);
    Request req({0, -1, 2}, 5.0);
    req.rerouteInfo = {1, -1, -1};  // whose path is not whole
    EXPECT_EQ(-1, computePrimaryPath(net, &req));
    const Texts texts = errorTexts();
    EXPECT_EQ("Unable to build topology", texts.at(0));
    EXPECT_EQ("Cannot determine link ID", texts.back());
}
