// Results at the edges of double precision.

#include <cmath>
#include <numeric>
#include <random>

#include "admission/lsp_setup.h"
#include "computation/primary/primaryPath.h"
#include "support/support.h"

using Exactness = KavrilTest;

// The first link reserves 50000 for a backup that does not run over it. To free 20000
// there, the LSP of 1 is taken 20000 times.
TEST_F(Exactness, ChoiceTakesOneLspUntilTheNeedIsMet) {
    Net net;
    net.link(0, 1, 1050001.0).link(1, 2, 1e6).link(1, 3, 1e6).link(3, 2, 1e6);
    EXPECT_EQ(0, net.add(Lsp(1, {0, 1, 2})));
    EXPECT_EQ(0, net.add(Lsp(2, {1, 3, 2}, 5e4, 7, DB_LOCAL_BACKUP_LSP, 1, {0, 1, 2})));
    EXPECT_EQ(0, DBremoveLSP(net, 1));
    EXPECT_EQ(0, net.add(Lsp(3, {0, 1}, 1.0, 7)) + net.add(Lsp(4, {0, 1}, 1e6, 6)));
    kavrilConfig.predicateConfig.allowReroute = true;
    Request req({0, -1, 1}, 20000.0);
    EXPECT_EQ(0, computePrimaryPath(net, &req));
    Lsp lsp(5, values(req.path), 20000.0);
    TestList preempted;
    EXPECT_EQ(0, DBaddLSP(net, &lsp, &preempted));
    EXPECT_NE(nullptr, DBgetLSP(net, 5));
    EXPECT_EQ(Ids(20000, 3), values(preempted));
}

// A state in somebody's hands is the link's own for as long as the topology is there.
TEST_F(Exactness, ConnectionsOfATopologyReadTheTruth) {
    Net net;
    net.link(0, 1).link(1, 2).link(0, 2).link(2, 0);
    Request req({0, -1, 2}, 1.0);
    ScopedTopo topo;
    ASSERT_TRUE(initTopo(&topo, -1) == 0 && fillTopo(net, &req, &topo) == 0);
    for (Long id : {1, 2, 3}) {
        Request other({0, -1, 2}, 1.0);
        EXPECT_EQ(0, net.add(Lsp(id, {0, 1, 2}, 2.0)) + computePrimaryPath(net, &other));
        const DBLinkState* state = topo.nodeVec.cont[0].outNeighb.cont[0].linkState;
        EXPECT_EQ(2.0 * id, state->pbw[0][0]);
        ASSERT_TRUE(state->fbw[0][0].size > 1);
        EXPECT_EQ(2.0 * id, state->fbw[0][0].cont[1]);
    }
}

// The LSP of -3 crosses the link twice, and the failure that frees both crossings needs
// 12: 6 are reserved. Its partner, without bandwidth, takes the place of -3 twice.
TEST_F(Exactness, PartnerWithLessThanNoBandwidthIsMadeUpFor) {
    for (bool handedOut : {true, false}) {
        Net net;
        net.link(0, 1, 4.0).link(1, 0, 40.0);
        if (handedOut) net.state(0, 1);
        EXPECT_EQ(0, net.add(Lsp(1, {0, 1, 0, 1}, -3.0)));
        Lsp partner(2, {0, 1, 0, 1});
        partner.noContentionId = 1;
        EXPECT_EQ(0, net.add(std::move(partner)));
        EXPECT_EQ(0.0, net.state(0, 1).rbw[0][0]);
    }
}

// The capacity is the sum of all levels as it rounds, or a last bit less.
TEST_F(Exactness, CapacityDecidesToTheLastBit) {
    std::mt19937 random(1);
    for (int round = 0; round < 300; round++) {
        std::vector<std::pair<int, double>> lsps;
        double levels[kLevels] = {};
        for (int i = 0; i < 5; i++) {
            lsps.push_back(
                {static_cast<int>(random() % kLevels), 0.1 * (1 + random() % 99)});
            levels[lsps.back().first] += lsps.back().second;
        }
        const double total = std::accumulate(levels, levels + kLevels, 0.0);
        for (bool isEnough : {true, false}) {
            Net net;
            net.link(0, 1, isEnough ? total : std::nextafter(total, 0.0));
            Long placed = 0;
            for (const auto& [level, amount] : lsps) {
                Request request({0, -1, 1}, amount, level);
                const bool isFound = computePrimaryPath(net, &request) == 0;
                const bool isPlaced = net.add(Lsp(placed, {0, 1}, amount, level)) == 0;
                EXPECT_EQ(isPlaced, isFound) << round;
                if (isPlaced) placed++;
            }
            EXPECT_EQ(isEnough ? 5 : 4, placed) << round;
            EXPECT_EQ(isEnough ? 0U : 3U, errorTexts().size());
        }
    }
}
