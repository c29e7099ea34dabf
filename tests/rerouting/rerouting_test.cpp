#include "rerouting/rerouting.h"

#include <cmath>

#include "support/support.h"

using Rerouting = KavrilTest;

TEST_F(Rerouting, ChoosesWholeLevelsThenWhatFitsBest) {
    using Carried = std::vector<std::tuple<Long, int, double>>;  // id, level, bw
    const Carried five = {{1, 7, 3}, {2, 7, 1}, {3, 6, 4}, {4, 6, 1.5}, {5, 6, 0.5}};
    const Carried two = {{1, 7, 3}, {2, 6, 5}}, one = {{1, 2, 3}};
    const std::tuple<const char*, double, double, Carried, double, Ids> cases[] = {
        {"nothing", 1e-10, 0, five, 4, {}},
        {"a level and the smallest that does", 5, 0, five, 4, {1, 2, 4}},
        {"a level for what it reserves", 3, 0, five, 3, {1, 2}},
        {"levels as they are reserved", 10, 0, five, 4.5, {1, 2, 3, 4}},
        {"on into the next level", 8, 0, two, 10, {1, 2}},
        {"one twice", 4, 0, two, 10, {1, 1}},
        {"runs out", 9, 0, two, 10, {1, 2}},
        {"its own level stays", 1, 0, one, 0, {}},
        {"only the last class is served", 1, 1, two, 3, {}}};
    int failures = 0;
    for (const auto& [name, gain0, gain2, lsps, reserved7, want] : cases) {
        Net net;
        net.link(0, 1);
        for (const auto& [id, level, bw] : lsps) net.add(Lsp(id, {0, 1}, bw, level));
        DBLinkState& ls = net.state(0, 1);
        ls.rbw[0][7] = reserved7;
        double toGain[kClasses] = {gain0, 0, gain2};
        TestList ids;
        failures += chooseReroutedLSPs(2, &ls, DBgetLinkLSPs(net, 0, 1), toGain, &ids);
        EXPECT_EQ(want, values(ids)) << name;
    }
    EXPECT_EQ(-3, failures);
    EXPECT_EQ(Texts(3, "Not enough preemptable bandwidth for LSP selection"),
              errorTexts());
}

TEST_F(Rerouting, TinyLspIsNotTakenForEver) {
    for (const auto& [tiny, need] : {std::pair(2e-10, 1e300), {1e-6, 1e3}}) {
        kavrilConfig.predicateConfig = {};
        Net net;
        net.link(0, 1).add(Lsp(1, {0, 1}, tiny, 7));
        net.add(Lsp(2, {0, 1}, 2 * need, 6));
        net.state(0, 1).rbw[0][7] = 2 * need;
        double toGain[kClasses] = {need};
        TestList ids;
        EXPECT_EQ(-1, chooseReroutedLSPs(2, &net.state(0, 1), DBgetLinkLSPs(net, 0, 1),
                                         toGain, &ids));
        EXPECT_THAT(errorTexts(),
                    ElementsAre("Not enough preemptable bandwidth for LSP selection"));
    }
}

TEST_F(Rerouting, ScorePricesTheLeastImportantLevelsFirst) {
    const double cases[][3] = {{2, 3, 3},   {2, 0, 0},        {2, 2, 0.5},     {2, 7, 13},
                               {6, 2, 0.5}, {2, 8, HUGE_VAL}, {7, 1, HUGE_VAL}};
    for (const auto& [level, toGain, want] : cases) {
        Request req({}, 0.0, static_cast<int>(level));
        DBLinkState ls = {};
        ls.rbw[3][7] = 2.0;
        ls.rbw[3][6] = 5.0;
        kavrilConfig.reroutingConfig.scoreCoef[3][7] = 1.0;
        kavrilConfig.reroutingConfig.scoreCoef[3][6] = 10.0;
        req.bw[3] = 4.0;
        double gain[kClasses] = {0, 0, 0, toGain};
        EXPECT_EQ(want, makeRerouteScore(&req, gain, &ls, 3));
        EXPECT_EQ(want == HUGE_VAL, !errorTexts().empty());
    }
}
