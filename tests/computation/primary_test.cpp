#include "computation/primary/primaryPath.h"

#include <random>

#include "computation/backup/backup.h"
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

TEST_F(PrimaryPath, AnInfiniteUtilisationMakesEveryScoreInfinite) {
    Net net;
    net.link(0, 1).link(1, 2).link(0, 3, 5e-324);
    kavrilConfig.predicateConfig.capacityClause = false;
    ASSERT_EQ(0, net.add(Lsp(1, {0, 3}, 5.0)));
    weights = {};
    weights.loadBal[0] = 1.0;
    Request req({0, -1, 2}, 8.0);
    COST = 0.0;
    EXPECT_EQ(0, computePrimaryPath(net, &req));
    EXPECT_EQ(Ids({0, 1, 2}), values(req.path));
    EXPECT_EQ(HUGE_VAL, COST);
}

// The more utilisation a path has gathered, the less a link adds: 0 > 1 > 5, which costs
// 6.8, is known before 0 > 2 > 3 > 4, which costs 5.1. On from there to 5 it is 1.4; were
// nothing gathered, 2.1.
TEST_F(PrimaryPath, LoadBalanceMakesTheLastLinkOfALongPathCheaper) {
    Net net;
    net.link(0, 1, 1e12).link(1, 5, 1e12).link(0, 2, 10.0).link(2, 3, 10.0);
    net.link(3, 4, 1e12).link(4, 5, 10.0);
    net.state(1, 5).cap[3] = 1e-3;
    kavrilConfig.predicateConfig.capacityClause = false;
    weights = {};
    weights.loadBal[0] = 1.0;
    weights.load[0] = 0.125;
    weights.relLoad[3] = 4.3e-3;
    Request req({0, -1, 5}, 10.0);
    req.bw[3] = 1.0;
    COST = 0.0;
    EXPECT_EQ(0, computePrimaryPath(net, &req));
    EXPECT_EQ(Ids({0, 2, 3, 4, 5}), values(req.path));
    EXPECT_NEAR(6.5, COST, 1e-2);
}

// Networks in one piece or several, links without a way back, whole and broken numbers,
// ties, odd capacities, weights of both signs.
TEST_F(PrimaryPath, SearchesEndWhereThoseOnTheTopologyDo) {
    int found = 0;
    for (unsigned seed = 400; seed < 440; seed++) {
        std::mt19937 random(seed);
        auto draw = [&](Long end) { return static_cast<Long>(random() % end); };
        auto rarely = [&] { return draw(6) == 0; };
        const Long nodes = 6 + draw(50);
        const bool isWhole = draw(2) == 0, isOneWay = rarely(), isSplit = rarely();
        auto amount = [&](Long end) {
            return (1 + draw(end)) * (isWhole ? 1.0 : 0.1) * (rarely() ? 1e-3 : 1.0);
        };
        auto capacity = [&] { return 20.0 * (1 + draw(20)) * (rarely() ? 0.1 : 1.0); };
        Net net;
        DataBase* dataBase = net;
        for (Long i = 0; i < 2 * nodes; i++) {
            const Long from = i < nodes ? i : draw(nodes);
            const Long to = i < nodes ? (i + 1) % nodes : draw(nodes);
            if (from == to || (isSplit && (from < nodes / 2) != (to < nodes / 2)))
                continue;
            const double odd[] = {0.0, HUGE_VAL, std::nan(""), 1e-9, 1e160};
            net.link(from, to, draw(60) == 0 ? odd[draw(5)] : capacity());
            if (!isOneWay || !rarely()) net.link(to, from, capacity());
        }
        errorManager.top = 0;  // links that were there
        auto ask = [&](Request* req) {
            const Long src = draw(nodes), dst = draw(nodes);
            *req->bw = amount(6);
            if (rarely()) req->bw[3] = amount(3);
            for (Long node : {src, Long{-1}, dst}) longVecPushBack(&req->path, node);
        };
        weights = {};
        kavrilConfig.predicateConfig.capacityClause = true;
        weights.Fortz = rarely() ? 0.0 : 1.0;
        weights.relLoad[0] = isWhole ? 0.0 : 300.0;
        for (Long id = 0; id < nodes; id++) {
            Request req({});
            ask(&req);
            req.precedence = draw(3);
            if (computePrimaryPath(net, &req) < 0) continue;
            net.add(Lsp(id, values(req.path), *req.bw, req.precedence));
            LSPRequestList backups = {};
            lspRequestListInit(&backups, 1);
            if (rarely()) output(computeBackup, dataBase, &backups, id, GLOBAL_BACKUP);
            const LongList& way = backups.cont[0].path;
            if (way.top > 1)
                net.add(Lsp(1000 + id, values(way), *req.bw, req.precedence,
                            DB_GLOBAL_BACKUP_LSP, id, values(req.path)));
            lspRequestListEnd(&backups);
        }
        if (rarely()) weights.relLoad[0] = -0.25;
        if (draw(3) == 0) weights.loadBal[0] = 0.5;
        if (weights.loadBal[0] > 0.0 && draw(2) == 0)
            weights.Fortz = weights.relLoad[0] = 0.0;
        if (rarely()) weights.load[3] = weights.delay[0] = 2.0;
        if (rarely()) weights.loadBal[3] = isWhole ? 0.25 : -0.25;
        kavrilConfig.predicateConfig.capacityClause = !rarely();
        for (int i = 0; i < 12; i++) {
            Request fast({});
            ask(&fast);
            if (rarely()) fast.rerouteInfo = {draw(nodes), draw(nodes), draw(nodes)};
            Request slow(values(fast.path));
            std::copy_n(fast.bw, kClasses, slow.bw);
            slow.rerouteInfo = fast.rerouteInfo;
            errorManager.top = 0;
            COST = 0.0;
            const bool isFound = computePrimaryPath(net, &fast) == 0;
            ScopedTopo topo;
            initTopo(&topo, -1);
            const bool isRight = fillTopo(net, &slow, &topo) == 0 &&
                                 bellmanKalaba(&topo, &slow) == 0 &&
                                 updateRequest(&topo, &slow) == 0;
            ASSERT_EQ(isRight, isFound) << seed;
            if (!isFound) continue;
            ASSERT_EQ(values(slow.path), values(fast.path)) << seed;
            const Long last = topo.nodeInd.cont[slow.path.cont[slow.path.top - 1]];
            const double cost = topo.nodeVec.cont[last].info.cost;
            ASSERT_TRUE(cost == COST || (std::isnan(cost) && std::isnan(COST))) << seed;
            found++;
        }
        errorManager.top = 0;
    }
    EXPECT_LT(200, found);
}
