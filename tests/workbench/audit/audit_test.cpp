#include "audit/audit.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>

#include "networks.h"

namespace workbench {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

//   A --100-- B --100-- C --100-- D --100-- A, links 0 and 1, 2 and 3, 4 and 5, 6 and 7
Plan ringPlan(Protection protection) {
    Configuration configuration;
    configuration.protection = protection;
    return placed(networkOf({{0, 1, 100}, {1, 2, 100}, {2, 3, 100}, {3, 0, 100}}),
                  {{0, 2, 30, "across"}, {1, 2, 20, "beside"}}, configuration);
}

const Failure& failureOf(const AuditResult& result, bool isNode, int id) {
    return *std::ranges::find_if(result.failures, [&](const Failure& failure) {
        return failure.isNode == isNode && failure.id == id;
    });
}

TEST(Audit, LocalBackupsRestoreLinksAndNodes) {
    const Plan plan = ringPlan(Protection::LOCAL);
    ASSERT_THAT(plan.lsps[0].path, ElementsAre(0, 1, 2));
    const AuditResult result = audit(plan);
    EXPECT_TRUE(result.isClean());
    ASSERT_THAT(result.failures, SizeIs(12));

    // A > B: the first LSP goes A > D > C.
    const Failure& first = failureOf(result, false, 0);
    EXPECT_THAT(first.hit, ElementsAre(0));
    ASSERT_THAT(first.restored, SizeIs(1));
    EXPECT_EQ(plan.lsps[2].id, first.restored[0].backup);

    // B > C: both go B > A > D > C, the first on from B where it had come.
    const Failure& second = failureOf(result, false, 2);
    EXPECT_THAT(second.restored, SizeIs(2));
    EXPECT_EQ(50, second.fullest.bandwidth);

    // Node B: the first goes around it, the second starts there.
    const Failure& node = failureOf(result, true, 1);
    EXPECT_THAT(node.restored, SizeIs(1));
    ASSERT_THAT(node.lost, SizeIs(1));
    EXPECT_EQ(LossCause::ENDS_HERE, node.lost[0].cause);
    EXPECT_EQ(1, node.lost[0].lsp);
    EXPECT_EQ(30, node.fullest.bandwidth);
}

TEST(Audit, WithoutProtectionLossesBreakNoPromise) {
    const AuditResult result = audit(ringPlan(Protection::NONE));
    EXPECT_TRUE(result.isClean());
    EXPECT_EQ(0U, result.restored);
    EXPECT_EQ(3U, result.lostUnprotected - 1);  // three hops, and node B
    const Failure& failure = failureOf(result, false, 2);
    ASSERT_THAT(failure.lost, SizeIs(2));
    EXPECT_EQ(LossCause::UNPROTECTED, failure.lost[0].cause);
    EXPECT_EQ(0, failure.fullest.link);
}

// A cable of which a backup takes the far side: B's own link fails, not its node.
TEST(Audit, LinkProtectionDoesNotCoverTheNode) {
    //   A - B - C and a second way from A to B over D: nothing goes around B
    Configuration configuration;
    configuration.protection = Protection::LOCAL;
    const Plan plan = placed(
        networkOf(
            {{0, 1, 100}, {1, 2, 100}, {0, 3, 100}, {3, 1, 100}, {1, 4, 9}, {4, 2, 9}}),
        {{0, 2, 5, ""}}, configuration);
    ASSERT_THAT(plan.lsps, SizeIs(3));
    const AuditResult result = audit(plan);
    EXPECT_TRUE(result.isClean());
    EXPECT_EQ(0U, failureOf(result, false, 0).lost.size());
    const Failure& node = failureOf(result, true, 1);
    ASSERT_THAT(node.lost, SizeIs(1));
    EXPECT_EQ(LossCause::UNPROTECTED, node.lost[0].cause);
    EXPECT_THAT(node.lost[0].reason, HasSubstr("the link only"));
}

TEST(Audit, PlacedPlansKeepEveryPromise) {
    std::size_t restored = 0;
    std::size_t cells = 0;
    for (std::uint64_t seed = 0; seed < 150; seed++) {
        const Plan plan = randomPlan(seed);
        const AuditResult result = audit(plan);
        EXPECT_TRUE(result.isClean()) << seed;
        EXPECT_EQ(result.hit, result.restored + result.lostEndsHere +
                                  result.lostUnprotected + result.lostBroken);
        EXPECT_EQ(result.tables.cells, result.tables.exact + result.tables.rounding);
        restored += result.restored;
        cells += result.tables.cells;
        for (const Failure& failure : result.failures)
            EXPECT_LE(failure.fullest.share(), plan.summary.reserved.maximum + 1e-9);
    }
    EXPECT_GT(restored, 1000U);
    EXPECT_GT(cells, 10000U);
}

struct Damage {
    const char* name;
    std::function<void(Plan*)> act;
    std::function<bool(const AuditResult&)> isFound;
};

bool differs(const AuditResult& result, const char* table) {
    return std::ranges::any_of(
        result.tables.differing,
        [table](const CellDifference& cell) { return cell.table == table; });
}

bool hasProblem(const AuditResult& result, const char* text) {
    return std::ranges::any_of(result.problems, [text](const std::string& problem) {
        return problem.find(text) != std::string::npos;
    });
}

const Damage kDamages[] = {
    {"primary cell", [](Plan* p) { p->links[0].primary[0][0] += 1; },
     [](const AuditResult& r) {
         return differs(r, "primary") && r.tables.differing.size() == 1 &&
                r.lostBroken == 0;
     }},
    {"reserved cell", [](Plan* p) { p->links[5].reserved[0][1] -= 0.001; },
     [](const AuditResult& r) { return differs(r, "reserved"); }},
    {"backup cell gone", [](Plan* p) { p->links[7].backup.clear(); },
     [](const AuditResult& r) { return differs(r, "backup"); }},
    {"freed cell of another link", [](Plan* p) { p->links[0].freed[0].failedLink = 6; },
     [](const AuditResult& r) { return differs(r, "freed"); }},
    {"capacity", [](Plan* p) { p->links[3].capacity[0] = 99; },
     [](const AuditResult& r) { return differs(r, "capacity"); }},
    {"backup gone", [](Plan* p) { p->lsps.erase(p->lsps.begin() + 2); },
     [](const AuditResult& r) { return r.lostBroken == 1 && differs(r, "backup"); }},
    {"backup over the node that it goes around",
     [](Plan* p) {
         p->lsps[2].path = {0, 1, 2};
     },
     [](const AuditResult& r) { return r.lostBroken == 2 && differs(r, "backup"); }},
    {"backup for another link", [](Plan* p) { p->lsps[2].protectedLinks = {2}; },
     [](const AuditResult& r) {
         return hasProblem(r, "in front of the links that it protects");
     }},
    {"path over a link that is not there",
     [](Plan* p) {
         p->lsps[0].path = {0, 2};
     },
     [](const AuditResult& r) { return hasProblem(r, "A to C that is not there"); }},
    {"path to the wrong end",
     [](Plan* p) {
         p->lsps[0].path = {0, 1};
     },
     [](const AuditResult& r) { return hasProblem(r, "does not join the ends"); }},
    {"an id twice", [](Plan* p) { p->lsps[1].id = 0; },
     [](const AuditResult& r) { return hasProblem(r, "is there twice"); }},
    {"more bandwidth than asked for", [](Plan* p) { p->lsps[0].bandwidth = 31; },
     [](const AuditResult& r) { return hasProblem(r, "bandwidth and level"); }},
    {"an LSP that its demand does not know", [](Plan* p) { p->demands[1].lsp = -1; },
     [](const AuditResult& r) { return hasProblem(r, "is not the one"); }},
    {"links too small for a failure",
     [](Plan* p) {
         for (Link& link : p->network.links) link.capacity = 45;
         for (LinkTables& link : p->links) link.capacity = {45};
     },
     [](const AuditResult& r) {
         return r.overloadedFailures > 0 && !r.overloads.empty();
     }},
};

TEST(Audit, DamageIsFound) {
    for (const Damage& damage : kDamages) {
        Plan plan = ringPlan(Protection::LOCAL);
        damage.act(&plan);
        const AuditResult result = audit(plan);
        EXPECT_FALSE(result.isClean()) << damage.name;
        EXPECT_TRUE(damage.isFound(result)) << damage.name;
    }
}

// Whatever single cell is changed, it is found, and nothing else is.
TEST(Audit, EveryCellCounts) {
    for (std::uint64_t seed = 0; seed < 30; seed++) {
        Plan plan = randomPlan(seed);
        std::mt19937_64 random(seed);
        LinkTables& link = plan.links[random() % plan.links.size()];
        if (link.freed.empty()) continue;
        link.freed[random() % link.freed.size()].bandwidth += 0.01;
        const AuditResult result = audit(plan);
        ASSERT_THAT(result.tables.differing, SizeIs(1)) << seed;
        EXPECT_NEAR(
            0.01,
            result.tables.differing[0].inPlan - result.tables.differing[0].recomputed,
            1e-9);
        EXPECT_FALSE(result.isClean());
    }
}

TEST(Audit, EmptyPlan) {
    Plan plan = placed(networkOf({{0, 1, 10}}), {}, {});
    const AuditResult result = audit(plan);
    EXPECT_TRUE(result.isClean());
    EXPECT_THAT(result.failures[0].hit, IsEmpty());
    EXPECT_EQ(0.0, result.failures[0].fullest.bandwidth);
}

}  // namespace
}  // namespace workbench
