// headroom and improve do the same whatever number of trials goes on at a time.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <random>

#include "engine/headroom.h"
#include "engine/improve.h"
#include "networks.h"
#include "plan_json.h"

namespace workbench {
namespace {

// A ring of ten nodes with chords, and a matrix of amounts without a pattern.
Network roundNetwork() {
    std::vector<Edge> edges;
    for (int node = 0; node < 10; node++) {
        edges.push_back({node, (node + 1) % 10, 60.0 + node});
        edges.push_back({node, (node + 3) % 10, 40.0 + node});
    }
    return networkOf(edges, true);
}

std::vector<Demand> someDemands(int number) {
    std::mt19937_64 random(7);
    std::vector<Demand> demands;
    for (int i = 0; i < number; i++) {
        const int src = static_cast<int>(random() % 10);
        const int dst = static_cast<int>((src + 1 + random() % 9) % 10);
        demands.push_back({.src = src,
                           .dst = dst,
                           .bandwidth = 1.0 + static_cast<double>(random() % 97) / 31.0,
                           .name = {}});
    }
    return demands;
}

struct JobsCase {
    const char* name;
    Protection protection;
    bool byLoad;
    int maxRounds;
};
const JobsCase kJobsCases[] = {
    {"Unprotected", Protection::NONE, false, 0},
    {"Local", Protection::LOCAL, false, 0},
    {"Global", Protection::GLOBAL, true, 0},
    {"OneRound", Protection::LOCAL, true, 1},
};

Configuration configurationOf(const JobsCase& one) {
    Configuration configuration;
    configuration.protection = one.protection;
    configuration.weights.load = one.byLoad ? 1.0 : 0.0;
    return configuration;
}

std::string headroomWith(int jobs, const JobsCase& one) {
    std::string told;
    const HeadroomWatch watch = {
        .start = [&](double factor) { told += fmt::format("{} ", factor); }, .step = {}};
    const Headroom found = findHeadroom(roundNetwork(), someDemands(80),
                                        configurationOf(one), 0.01, jobs, watch);
    return told + fmt::format("{} {} {} {} {} {} {}", found.factor, found.failsAt,
                              found.largest, found.checked, found.request, found.reason,
                              found.runs);
}

std::string improvedWith(int jobs, const JobsCase& one, std::size_t* moves) {
    Plan plan = newPlan(roundNetwork(), someDemands(80), configurationOf(one));
    plan.configuration.weights.fortz = 0.0;
    runPlan(&plan, {}, nullptr);
    plan.configuration.weights.fortz = 1.0;
    int steps = 0;
    const Improvement done = improve(&plan, one.maxRounds, jobs, [&] { steps++; });
    *moves += done.moves.size();
    std::string told = planText(plan);
    for (const Move& move : done.moves)
        told +=
            fmt::format("{} {} {} {}\n", move.round, move.demand, move.lsp, move.gain);
    return told + fmt::format("{} {} {} {}", steps, done.rounds, done.keptForProtection,
                              done.scoreAfter);
}

TEST(Jobs, ChangeNothing) {
    std::size_t moves = 0;
    for (const JobsCase& one : kJobsCases) {
        SCOPED_TRACE(one.name);
        const std::string headroom = headroomWith(1, one);
        const std::string improved = improvedWith(1, one, &moves);
        for (const int jobs : {2, 8}) {
            EXPECT_EQ(headroom, headroomWith(jobs, one));
            EXPECT_EQ(improved, improvedWith(jobs, one, &moves));
        }
    }
    EXPECT_GT(moves, 0u);
}

struct Enough {};

// The user's error, or Ctrl-C, ends the work of all threads.
TEST(Jobs, EndWithTheStepThatThrows) {
    int steps = 0;
    const Step step = [&] {
        if (++steps == 150) throw Enough();
    };
    const JobsCase& one = kJobsCases[1];
    EXPECT_THROW(findHeadroom(roundNetwork(), someDemands(80), configurationOf(one), 0.01,
                              4, {[](double) {}, step}),
                 Enough);
    Plan plan = newPlan(roundNetwork(), someDemands(80), configurationOf(one));
    runPlan(&plan, {}, nullptr);
    steps = 140;
    EXPECT_THROW(improve(&plan, 0, 4, step), Enough);
}

}  // namespace
}  // namespace workbench
