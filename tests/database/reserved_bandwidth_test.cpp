#include "database/reserved_bandwidth.h"

#include "support/support.h"

using ReservedBandwidth = KavrilTest;
using Entries = std::vector<std::tuple<int, Long, double>>;  // level, failing link, bw

TEST_F(ReservedBandwidth, IsThePrimariesPlusTheWorstFailuresNeed) {
    const std::tuple<const char*, Entries, Entries, std::vector<double>> cases[] = {
        {"two failures share", {{2, 1, 5}, {2, 3, 8}}, {}, {1, 1, 9, 1, 1, 1, 1, 1}},
        {"links into a node add", {{2, 1, 5}, {2, 2, 8}}, {}, {1, 1, 14, 1, 1, 1, 1, 1}},
        {"the need may fall", {{1, 1, 5}}, {{3, 1, 2}}, {1, 6, 1, -1, 1, 1, 1, 1}},
        {"cut off after summing", {{3, 1, 5}}, {{1, 1, 2}}, {1, 1, 1, 4, 1, 1, 1, 1}},
        {"no link has the id", {{2, 5, 9}, {2, 11, 9}}, {}, {1, 1, 1, 1, 1, 1, 1, 1}},
        {"the highest link", {{0, 7, 5}}, {{0, 6, 3}}, {6, 1, 1, 1, 1, 1, 1, 1}},
        {"not counted any more", {{0, 7, 5}}, {{0, 6, 3}}, {3, 1, 1, 1, 1, 1, 1, 1}}};
    Net net;  // links 1 and 2 enter node 3, links 6 and 7 node 2
    DBaddNode(net, 9);
    net.link(0, 1).link(2, 3).link(4, 3).link(3, 5).link(4, 2, 100.0, 6).link(5, 2);
    for (const auto& [name, bbw, fbw, want] : cases) {
        if (name == std::string("not counted any more")) DBremoveNode(net, 9);
        ScopedLinkState ls;
        DBlinkStateInit(&ls);
        std::fill_n(ls.pbw[3], kLevels, 1.0);
        for (const auto& [level, f, bw] : bbw) dblVecSet(&ls.bbw[3][level], f, bw);
        for (const auto& [level, f, bw] : fbw) dblVecSet(&ls.fbw[3][level], f, bw);
        EXPECT_EQ(0, computeRBW(net, ls.rbw, ls.pbw, ls.bbw, ls.fbw));
        EXPECT_EQ(want, std::vector<double>(ls.rbw[3], ls.rbw[3] + kLevels)) << name;
    }
}
