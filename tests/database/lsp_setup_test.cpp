#include "database/lsp_setup.h"

#include <memory>
#include <random>

#include "computation/backup/backup.h"
#include "computation/primary/primaryPath.h"
#include "database/stored_link.h"
#include "support/support.h"

using LspSetup = KavrilTest;

class RandomNetwork : public KavrilTest {
  protected:
    Long below(Long n) { return static_cast<Long>(random() % static_cast<unsigned>(n)); }
    double amount() { return 0.25 * below(60); }  // sums are exact

    void build() {
        net = std::make_unique<Net>();
        const Long nodes = 4 + below(4);
        for (Long src = 0; src < nodes; src++)
            for (Long dst = 0; dst < nodes; dst++)
                if (src != dst && (dst == (src + 1) % nodes || below(2) == 0))
                    net->link(src, dst, 10.0 + amount());
    }

    Long any() { return up.empty() ? -1 : up[random() % up.size()]; }

    // Sets up what was computed for a request, and removes who has to give way.
    void add(const LSPRequest& req, Long partner, const Ids& primPath) {
        Lsp lsp(nextId++, values(req.path), 0.0, req.precedence, req.type, req.primID,
                primPath);
        std::copy_n(req.bw, kClasses, lsp.bw);
        lsp.noContentionId = partner;
        TestList preempted;
        if (DBaddLSP(*net, &lsp, &preempted) < 0) return;
        up.push_back(lsp.id);
        for (Long id : values(preempted)) remove(id);
    }

    // As the rerouting of a random LSP that is up and has no partner yet, if it is so.
    void place() {
        kavrilConfig.predicateConfig.allowReroute = below(2) == 0;
        Request req{{below(4), -1, below(4)}, amount(), below(kLevels)};
        req.bw[below(3)] = amount();
        const DBLabelSwitchedPath* old = DBgetLSP(*net, any());
        const bool reroutes = old != nullptr && old->noContentionId < 0;
        if (reroutes && below(2) == 0) req.precedence = old->precedence;
        if (computePrimaryPath(*net, &req) == 0) add(req, reroutes ? old->id : -1, {});
    }

    void protect(Long id, BackupType type) {
        kavrilConfig.predicateConfig.allowReroute = false;
        const Ids primPath = values(DBgetLSP(*net, id)->path);
        LSPRequestList requests;
        lspRequestListInit(&requests, -1);
        output([&] { computeBackup(*net, &requests, id, type); });
        for (Long i = 0; i < requests.size; i++)
            if (requests.cont[i].path.top > 1) add(requests.cont[i], -1, primPath);
        lspRequestListEnd(&requests);
    }

    // As a backup of an LSP that runs from one of its nodes to anywhere.
    void detour(Long id) {
        const Ids primPath = values(DBgetLSP(*net, id)->path);
        Request req{{primPath[random() % primPath.size()], -1, below(4)}, amount()};
        if (computePrimaryPath(*net, &req) < 0 || req.path.top < 2) return;
        req.type = below(2) == 0 ? DB_LOCAL_BACKUP_LSP : DB_GLOBAL_BACKUP_LSP;
        req.primID = id;
        add(req, -1, primPath);
    }

    void remove(Long id) {
        if (std::erase(up, id) == 0) return;  // a victim may be listed twice
        EXPECT_EQ(0, DBremoveLSP(*net, id));
    }

    std::mt19937 random;
    std::unique_ptr<Net> net;
    Ids up;
    Long nextId = 0;
};

TEST_F(LspSetup, RefusedMidPathListsVictimsWithTheGainOfTheLinkBefore) {
    Net net;
    net.link(0, 1, 10.0).link(1, 2, 12.0).link(2, 3, 10.0);
    EXPECT_EQ(0, net.add(Lsp(1, {0, 1}, 8.0, 5)) + net.add(Lsp(2, {1, 2}, 8.0, 1)));
    EXPECT_EQ(0, net.add(Lsp(3, {1, 2}, 4.0, 6)) + net.add(Lsp(5, {2, 3}, 8.0, 6)));
    kavrilConfig.predicateConfig.allowReroute = true;
    const std::string before = net.print();
    // 0 -> 1 has to gain 3 from LSP 1; 1 -> 2 refuses, and is asked for 3 all the same.
    Lsp lsp(9, {0, 1, 2, 3}, 5.0, 2);
    TestList preempted({4, 3}), asked;
    EXPECT_EQ(-1, DBaddLSP(net, &lsp, &preempted));
    EXPECT_THAT(errorTexts(), ElementsAre("LSP refused by the predicate"));
    EXPECT_EQ(0, getpreemptList(net, &lsp, &asked));
    EXPECT_THAT(values(preempted), ElementsAre(1, 3, 4));
    EXPECT_THAT(values(asked), ElementsAre(1, 3));
    EXPECT_TRUE(DBgetLSP(net, 9) == nullptr && before == net.print());
}

TEST_F(LspSetup, PathThatCrossesALinkTwiceIsBookedTwice) {
    Net net;
    net.link(0, 1).link(1, 0);
    EXPECT_EQ(0, net.add(Lsp(1, {0, 1, 0, 1}, 4.0)));
    EXPECT_EQ(8.0, net.state(0, 1).pbw[0][0]);
    EXPECT_EQ(0, DBremoveLSP(net, 1));
    expectTablesMatch(net);
}

TEST_F(LspSetup, PartnerWithLessThanNoBandwidthIsMadeUpFor) {
    Net net;
    net.link(0, 1, 4.0).link(1, 0, 40.0);
    EXPECT_EQ(0, net.add(Lsp(1, {0, 1, 0, 1}, -3.0)));
    EXPECT_EQ(6.0, net.state(0, 1).rbw[0][0]);
    Lsp partner(2, {0, 1, 0, 1});
    partner.noContentionId = 1;
    for (bool plain : {true, false}) {  // a link whose state was handed out, and another
        if (!plain) findLink(&net->linkTab, 0, 1)->handedOut = false;
        EXPECT_EQ(0, net.add(std::move(partner)));
        EXPECT_EQ(0.0, fullState(net, 0, 1)->rbw[0][0]);
        EXPECT_EQ(0, DBremoveLSP(net, 2));
    }
}

TEST_F(RandomNetwork, TablesAreAlwaysWhatTheLspsThatAreUpAmountTo) {
    for (unsigned seed = 1; seed <= 20 && !HasFailure(); seed++) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        random.seed(seed);
        build();
        for (int step = 0; step < 50 || !up.empty(); step++) {
            const Long action = step < 50 ? below(7) : 0;
            action > 3 || up.empty() ? place()
            : action == 0            ? remove(any())
            : action == 3            ? detour(any())
                                     : protect(any(), static_cast<BackupType>(action));
            errorTexts();  // of refusals
            expectTablesMatch(*net);
        }
    }
}

TEST_F(RandomNetwork, EveryAllocationMayFail) {
    Long nth = 0;
    while (failAllocation(++nth) == 0) {
        errorTexts();
        Net small;
        if (small == nullptr) continue;
        small.link(0, 1).link(2, 1).link(0, 2);
        Request req({0, 1});
        LSPRequestList backups = {};
        computePrimaryPath(small, &req);
        small.add(Lsp(1, {0, 1}, 4.0));
        small.add(Lsp(2, {0, 2, 1}, 4.0, 1, DB_LOCAL_BACKUP_LSP, 1, {0, 1}));
        if (lspRequestListInit(&backups, 3) == 0) {
            output([&] { computeBackup(small, &backups, 1, LOCAL_BACKUP); });
            lspRequestListEnd(&backups);
        }
        DBremoveLSP(small, 1);
        DBremoveNode(small, 2);
    }
    EXPECT_LT(2000, nth);
    EXPECT_THAT(errorTexts(), IsEmpty());  // once nothing failed
}
