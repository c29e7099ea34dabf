// Ordinary input takes the short road: no topology, no copy of a link's state, no literal
// sum of its tables, hardly a trial, and a graph that is built once. Results are the same
// on the long ones, so that nothing else would notice.
#include "computation/backup/backup.h"
#include "computation/primary/primaryPath.h"
#include "database/live/live.h"
#include "database/reserved_bandwidth.h"
#include "predicate/link_trial.h"
#include "support/support.h"

using Vectors = Vec<double> (*)[kLevels];
using Table = double (*)[kLevels];

static struct { int topologies, sums, copies, trials, graphs; } calls;

// The linker (--wrap) leads calls of the library to COUNTED_..., which pass them on.
#define COUNTED(result, name, symbol, counter, parameters, arguments) \
    result real##name parameters __asm__("__real_" symbol);           \
    result counted##name parameters __asm__("__wrap_" symbol);        \
    result counted##name parameters {                                 \
        calls.counter++;                                              \
        return real##name arguments;                                  \
    }

COUNTED(int, FillTopo, "_Z8fillTopoP8DataBaseP10LSPRequestP10BKTopology", topologies,
        (DataBase * dataBase, LSPRequest* req, BKTopology* topo), (dataBase, req, topo))
COUNTED(int, ComputeRBW, "_Z10computeRBWP8DataBasePA8_dS2_PA8_3VecIdES6_", sums,
        (DataBase * dataBase, Table rbw, Table pbw, Vectors bbw, Vectors fbw),
        (dataBase, rbw, pbw, bbw, fbw))
COUNTED(int, CopyState, "_Z15DBlinkStateCopyP11DBLinkStateS0_", copies,
        (DBLinkState * dst, DBLinkState* src), (dst, src))
COUNTED(bool, Admits, "_ZN9LinkTrial6admitsEP6DBLinkiiPd", trials,
        (LinkTrial * trial, DBLink* link, Long src, Long dst, double* gain),
        (trial, link, src, dst, gain))
COUNTED(bool, BuildGraph, "_Z10buildGraphPK8DataBaseP5Graph", graphs,
        (const DataBase* dataBase, Graph* graph), (dataBase, graph))

using Roads = KavrilTest;

TEST_F(Roads, OrdinaryInputTakesTheShortOnes) {
    constexpr Long kNodes = 30;
    Net net;
    for (Long n = 0; n < kNodes; n++)
        for (Long step : {1, 7, kNodes - 7, kNodes - 1}) net.link(n, (n + step) % kNodes);
    kavrilConfig.primaryComputationConfig.Fortz = 1.0;
    calls = {};
    int placed = 0, protecting = 0;
    Long hops = 0;
    for (Long id = 0; id < 300; id++) {
        const Long src = id * 11 % kNodes;
        const int level = static_cast<int>(id % 4);
        Request req({src, -1, (src + 1 + id * 7 % (kNodes - 1)) % kNodes}, 3.0, level);
        ASSERT_EQ(0, computePrimaryPath(net, &req));
        const Ids path = values(req.path);
        placed += net.add(Lsp(id, path, 3.0, level)) == 0;
        hops += req.path.top - 1;
        LSPRequestList backups = {};
        lspRequestListInit(&backups, 1);
        computeBackup(net, &backups, id, id % 2 == 0 ? LOCAL_BACKUP : GLOBAL_BACKUP);
        for (Long i = 0; i < backups.size; i++) {
            const LSPRequest& backup = backups.cont[i];
            protecting += net.add(Lsp(1000 + 50 * id + i, values(backup.path), 3.0,
                                      level + 1, backup.type, id, path)) == 0;
            hops += backup.path.top - 1;
        }
        lspRequestListEnd(&backups);
    }
    EXPECT_EQ(300, placed);
    EXPECT_EQ(566, protecting);
    EXPECT_EQ(0, calls.topologies);
    EXPECT_EQ(0, calls.sums);
    EXPECT_EQ(0, calls.copies);
    EXPECT_EQ(1, calls.graphs);
    EXPECT_TRUE(isTwoWay(&net->live->graph));  // so that no order is made
    // Setting up an LSP tries each of its hops once; a request tries links that are full.
    EXPECT_LT(hops, calls.trials);
    EXPECT_GT(hops + 300 * net->nbLinks / 10, calls.trials);
}
