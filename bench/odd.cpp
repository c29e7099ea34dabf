// Rows on networks of which one thing is odd.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <utility>

#include "apart.h"
#include "common/setup.h"
#include "computation/primary/primaryPath.h"
#include "error/error.h"
#include "rows.h"

namespace {

constexpr Long kLSPs = 2000;

double overDecades(double whole, Random& random) {
    return static_cast<float>(whole * std::pow(10.0, -7.0 * random.real()));
}

void addTinyLSP(State& state) {
    const Long before = state.facts.primaries;
    while (state.facts.primaries == before) {
        Ask ask = state.draw();
        ask.bw = 1e-12F;
        state.offer(ask, false);
    }
}

Long someLink(const State& state) {
    return state.facts.links / 2;
}

void replaceLink(State& state, double capacity) {
    const Link& link = state.network.links[someLink(state)];
    require(DBremoveLink(state.dataBase, link.src, link.dst) == 0, "a link stays");
    state.addLink(someLink(state), capacity);
}

void flap(State& state) {
    replaceLink(state, state.network.links[someLink(state)].capacity);
}

void makeInfinite(State& state) {
    replaceLink(state, INFINITY);
}

void handOut(State& state) {
    const Link& link = state.network.links[someLink(state)];
    require(DBgetLinkState(state.dataBase, link.src, link.dst) != nullptr, "no state");
}

void setWeights(double congestion, double balance) {
    kavrilConfig.primaryComputationConfig.Fortz = congestion;
    std::fill_n(kavrilConfig.primaryComputationConfig.loadBal, kUsedClasses, balance);
}

// Of a request that has a path.
[[gnu::noinline]] double secondsOfRequest(State& state, void (*before)(State&)) {
    for (int i = 0; i < 1000; i++) {
        const Ask ask = state.draw();
        ScopedRequest req;
        initRequest(&req, ask);
        errorManager.top = 0;
        bool found = false;
        const double seconds = timed([&] {
            if (before != nullptr) before(state);
            found = computePrimaryPath(state.dataBase, &req) == 0;
        });
        if (!found) continue;
        requirePath(state, nodesOf(req.path), ask.src, ask.dst);
        return seconds;
    }
    throw std::runtime_error("the network is full");
}

// Some answers compared with those of the public operations one by one or, where that
// would take too long, with the floor's.
void check(Rig& rig) {
    if (rig.state.network.links.size() <= kPlainLinks) {
        for (int i = 0; i < 2; i++) plainRequest(rig);
        return;
    }
    rig.floor.copyLoads(rig.state);
    for (int i = 0; i < 20; i++) primaryRequest(rig).verify();
}

}  // namespace

const std::vector<OddRow> kOddRows = {
    {.name = "bandwidths spread over seven decades", .limit = 2.0, .amount = overDecades},
    {.name = "one LSP of 1e-12 among 2,000", .limit = 1.2, .once = addTinyLSP},
    {.name = "one link of infinite capacity", .limit = 1.2, .once = makeInfinite},
    {.name = "one link's state handed out", .limit = 2.0, .once = handOut},
    {.name = "weight loadBal besides", .limit = 5.0, .balance = 1.0},
    {.name = "weight loadBal alone", .limit = 5.0, .congestion = 0.0, .balance = 1.0},
    {.name = "link flap before each request", .limit = 3.0, .each = flap},
    {.name = "link flap, 5,000 nodes", .limit = 3.0, .nodes = 5000, .each = flap},
};

// Both by turns, a few at a time.
std::vector<double> measureOdd(const OddRow& row, const Options& options,
                               std::size_t samples, std::vector<double>* usual) {
    constexpr int kTurn = 10;
    configure();
    const Network network =
        row.nodes == 5000 ? makeSynthetic(5000, 20'000) : readLarge(options.repetita);
    std::unique_ptr<State> plain;
    if (usual != nullptr) plain = std::make_unique<State>(network, Filling{kLSPs});
    Rig rig(network, {.offered = kLSPs, .amount = row.amount});
    if (row.once != nullptr) row.once(rig.state);
    std::vector<double> seconds;
    const double end = secondsNow() + 2.0;
    auto isDone = [&] {
        return seconds.size() >= samples ||
               (usual != nullptr && seconds.size() >= 3 && secondsNow() >= end);
    };
    while (!isDone()) {
        setWeights(1.0, 0.0);
        for (int i = 0; i < kTurn && usual != nullptr; i++)
            usual->push_back(secondsOfRequest(*plain, nullptr));
        setWeights(row.congestion, row.balance);
        for (int i = 0; i < kTurn && !isDone(); i++)
            seconds.push_back(secondsOfRequest(rig.state, row.each));
    }
    if (usual != nullptr) check(rig);
    return seconds;
}

void printOdd(const Options& options) {
    struct Medians {
        double odd, usual;
    };
    std::string head =
        "\n| one thing is odd | request | as usual | times | limit |\n"
        "|---|--:|--:|--:|--:|\n";
    for (const OddRow& row : kOddRows) {
        if (!options.wants(row.name)) continue;
        const double patience = options.full ? 600.0 : 40.0;
        Medians m = {};
        const Ending ending = runApart(row.name, patience, &m, [&](Medians* medians) {
            std::vector<double> usual;
            const std::size_t samples = options.full ? 2000 : 300;
            medians->odd = quantile(measureOdd(row, options, samples, &usual), 0.5);
            medians->usual = quantile(usual, 0.5);
        });
        std::fputs(std::exchange(head, "").c_str(), stdout);
        if (ending.finished)
            std::printf("| %s | %.1f | %.1f | %.2f | %g |\n", row.name, 1e6 * m.odd,
                        1e6 * m.usual, m.odd / m.usual, row.limit);
        else
            std::printf("| %s | not finished in %g s | | | %g |\n", row.name, patience,
                        row.limit);
    }
}
