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
constexpr Long kColour = 7;

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

void replaceLink(State& state, Long id, double capacity, Long color = 0) {
    const Link& link = state.network.links[id];
    require(DBremoveLink(state.dataBase, link.src, link.dst) == 0, "a link stays");
    state.addLink(id, capacity, color);
}

void flap(State& state) {
    replaceLink(state, someLink(state), state.network.links[someLink(state)].capacity);
}

void makeInfinite(State& state) {
    replaceLink(state, someLink(state), INFINITY);
}

void handOut(State& state) {
    const Link& link = state.network.links[someLink(state)];
    require(DBgetLinkState(state.dataBase, link.src, link.dst) != nullptr, "no state");
}

// A node that a link leads to and none leaves.
void addDeadEnd(State& state) {
    const Long node = state.network.nodes;
    require(DBaddNode(state.dataBase, node) == 0, "no node");
    ScopedLinkState link;
    require(DBlinkStateInit(&link) == 0 &&
                DBaddLink(state.dataBase, state.facts.links, 0, node, &link) == 0,
            "no link");
}

// Every seventh link, which is then one without traffic.
void colourLinks(State& state) {
    for (Long i = 0; i < static_cast<Long>(state.network.links.size()); i += 7)
        replaceLink(state, i, state.network.links[i].capacity, kColour);
    kavrilConfig.predicateConfig.colorClause = true;
}

void avoidColour(State&, LSPRequest* req) {
    require(longVecPushBack(&req->forbidLinks, kColour) == 0, "no memory");
}

// Always the same one, so that the comparison can ask again.
void replaceLSP(State& state, LSPRequest* req) {
    const DBLSPVec& lsps = state.dataBase->lspVec;
    Long id = 0;
    while (lsps.cont[id] == nullptr) id++;
    req->rerouteInfo.id = id;
}

void askInBothClasses(State&, LSPRequest* req) {
    const double bw = std::max(req->bw[0], req->bw[1]);
    std::fill_n(req->bw, kUsedClasses, bw);
}

// One that is not an end; all networks of these rows are larger.
Long nodeBetween(const Ask& ask) {
    Long node = 100;
    while (node == ask.src || node == ask.dst) node++;
    return node;
}

bool passes(const Path& path, Long node) {
    return std::find(path.begin(), path.end(), node) != path.end();
}

void avoidNode(const Ask& ask, PathLimits* limits, LSPRequest*, const Path* path) {
    const Long node = nodeBetween(ask);
    require(path == nullptr || !passes(*path, node), "the path does not avoid a node");
    require(longVecPushBack(&limits->nodes, node) == 0, "no memory");
}

void passNode(const Ask& ask, PathLimits*, LSPRequest* req, const Path* path) {
    const Long node = nodeBetween(ask);
    require(path == nullptr || passes(*path, node), "the path does not pass a node");
    if (path == nullptr) setPath(req, {ask.src, -1, node, -1, ask.dst});
}

void takeFewLinks(const Ask&, PathLimits* limits, LSPRequest*, const Path* path) {
    limits->maxLinks = 4;
    require(path == nullptr || path->size() <= 5, "the path has too many links");
}

void setWeights(double congestion, double balance, double others) {
    PrimaryComputationConfig& config = kavrilConfig.primaryComputationConfig;
    config.Fortz = congestion;
    std::fill_n(config.loadBal, kUsedClasses, balance);
    for (double* weights :
         {config.load, config.sqLoad, config.relLoad, config.sqRelLoad, config.delay})
        std::fill_n(weights, kUsedClasses, others);
}

void setWeights(const OddRow& row) {
    setWeights(row.congestion, row.balance, row.others);
    kavrilConfig.predicateConfig.capacityClause = row.needsRoom;
}

const OddRow kUsual = {.name = "as usual", .limit = 1.0};

// Of a request that has a path.
[[gnu::noinline]] double secondsOfRequest(State& state, const OddRow& row) {
    for (int i = 0; i < 1000; i++) {
        const Ask ask = state.draw();
        ScopedRequest req;
        initRequest(&req, ask);
        if (row.ask != nullptr) row.ask(state, &req);
        ScopedLimits limits;
        require(pathLimitsInit(&limits) == 0, "no memory");
        if (row.within != nullptr) row.within(ask, &limits, &req, nullptr);
        errorManager.top = 0;
        bool found = false;
        const double seconds = timed([&] {
            if (row.each != nullptr) row.each(state);
            found = row.within == nullptr
                        ? computePrimaryPath(state.dataBase, &req) == 0
                        : computeLimitedPath(state.dataBase, &req, limits) ==
                              LimitedPath::FOUND;
        });
        if (!found) continue;
        const Path path = nodesOf(req.path);
        requirePath(state, path, ask.src, ask.dst);
        if (row.within != nullptr) row.within(ask, &limits, &req, &path);
        return seconds;
    }
    throw std::runtime_error("the network is full");
}

// Some answers compared with those of the public operations one by one or, where that
// would take too long, with the floor's.
void check(Rig& rig, const OddRow& row) {
    if (row.within != nullptr) return;  // no public operations find such paths
    if (rig.state.network.links.size() <= kPlainLinks) {
        for (int i = 0; i < 2; i++) plainRequest(rig, row.ask);
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
    {.name = "all weights but loadBal", .limit = 5.0, .others = 1.0},
    {.name = "a link without a way back", .limit = 1.5, .once = addDeadEnd},
    {.name = "a colour to avoid", .limit = 2.0, .once = colourLinks, .ask = avoidColour},
    {.name = "in place of an LSP", .limit = 2.0, .ask = replaceLSP},
    {.name = "bandwidth in two classes", .limit = 3.0, .ask = askInBothClasses},
    {.name = "no capacity clause", .limit = 2.0, .needsRoom = false},
    {.name = "weights below 0 besides", .limit = 10.0, .others = -1e-9},
    {.name = "weights below 0 that outweigh it", .limit = 10.0, .others = -1e-6},
    {.name = "a node to avoid", .limit = 2.0, .within = avoidNode},
    {.name = "a node to pass", .limit = 10.0, .within = passNode},
    {.name = "four links at most", .limit = 10.0, .within = takeFewLinks},
    {.name = "link flap before each request", .limit = 3.0, .each = flap},
    {.name = "link flap, 5,000 nodes", .limit = 3.0, .nodes = 5000, .each = flap},
};

OddFigures measureOdd(const OddRow& row, const Options& options) {
    const bool isAlone = !options.row.empty();
    const std::size_t samples = isAlone ? options.repeat : options.full ? 2000 : 300;
    configure();
    const Network network =
        row.nodes == 5000 ? makeSynthetic(5000, 20'000) : readLarge(options.repetita);
    std::unique_ptr<State> plain;
    if (!isAlone) plain = std::make_unique<State>(network, Filling{kLSPs});
    Rig rig(network, {.offered = kLSPs, .amount = row.amount});
    if (row.once != nullptr) row.once(rig.state);
    setWeights(row);

    std::vector<double> odd, usual;
    const double end = isAlone ? INFINITY : secondsNow() + (options.full ? 20.0 : 2.0);
    while (odd.size() < samples && (odd.size() < 3 || secondsNow() < end)) {
        constexpr int kTurn = 10;
        if (!isAlone && odd.size() % kTurn == 0) {
            setWeights(kUsual);
            for (int i = 0; i < kTurn; i++)
                usual.push_back(secondsOfRequest(*plain, kUsual));
            setWeights(row);
        }
        odd.push_back(secondsOfRequest(rig.state, row));
    }
    if (!isAlone) check(rig, row);
    return {quantile(odd, 0.5), quantile(usual, 0.5)};
}

void printOdd(const Options& options) {
    std::string head =
        "\n| one thing is odd | request | as usual | times | limit |\n"
        "|---|--:|--:|--:|--:|\n";
    for (const OddRow& row : kOddRows) {
        if (!options.wants(row.name)) continue;
        const double patience = options.full ? 600.0 : 40.0;
        OddFigures f = {};
        const Ending ending = runApart(row.name, patience, &f, [&](OddFigures* figures) {
            *figures = measureOdd(row, options);
        });
        std::fputs(std::exchange(head, "").c_str(), stdout);
        if (ending.finished)
            std::printf("| %s | %.1f | %.1f | %.2f | %g |\n", row.name, 1e6 * f.odd,
                        1e6 * f.usual, f.odd / f.usual, row.limit);
        else
            std::printf("| %s | not finished in %g s | | | %g |\n", row.name, patience,
                        row.limit);
    }
}
