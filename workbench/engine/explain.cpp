#include "engine/explain.h"

#include <algorithm>
#include <cmath>

#include "admission/link_eval.h"
#include "common/setup.h"
#include "computation/computation.h"
#include "computation/primary/primaryPath.h"
#include "database/database.h"
#include "engine/convert.h"
#include "predicate/predicate.h"
#include "rerouting/rerouting.h"

namespace workbench {

namespace {

// Puts the configuration back when it goes.
class ConfigurationKeeper {
  public:
    ConfigurationKeeper() : kept_(kavrilConfig) {}
    ~ConfigurationKeeper() { kavrilConfig = kept_; }
    ConfigurationKeeper(const ConfigurationKeeper&) = delete;
    ConfigurationKeeper& operator=(const ConfigurationKeeper&) = delete;

  private:
    KAVRILConfig kept_;
};

BKConnect* connectionFrom(BKTopology* topo, int src, int dst) {
    BKConnectVec& in = topoNode(topo, dst)->inNeighb;
    for (Long i = 0; i < in.top; i++)
        if (in.cont[i].neighbId == src) return &in.cont[i];
    return nullptr;
}

// Adds the links of the path up as the search does, under the configuration of the
// moment.
std::vector<double> walk(BKTopology* topo, LSPRequest* asked,
                         const std::vector<int>& path) {
    std::vector<double> scores;
    initScore(path.front(), topo);
    topoNode(topo, path.front())->info.cost = 0.0;
    for (std::size_t i = 0; i + 1 < path.size(); i++) {
        BKConnect* connect = connectionFrom(topo, path[i], path[i + 1]);
        const double before = topoNode(topo, path[i])->info.cost;
        const double after = makeScore(topo, asked, path[i], path[i + 1], connect);
        scores.push_back(after - before);
        topoNode(topo, path[i + 1])->info.cost = after;
        updateNodeInfoOnElect(topo, asked, path[i], path[i + 1], connect);
        activateNodeInfo(topo, path[i + 1]);
    }
    return scores;
}

// A full link has room for a rounding error, by this part of the largest capacity.
constexpr double kNoRoom = 1e-9;

// The request as the library knows it, and preemption switched as it says.
class Asked : public ScopedRequest {
  public:
    Asked(const Engine& engine, const Request& request) {
        lspRequestInit(this);
        engine.fill(this, request);
        Engine::allowPreemption(request.preempt);
    }
};

// The levels up to the last that counts against a request.
int lastLevel(const Request& request) {
    return request.preempt ? request.level : kLevels - 1;
}

double reservedUpTo(const DBLinkState& state, int oa, int level) {
    double sum = 0.0;
    for (int p = 0; p <= level; p++) sum += state.rbw[oa][p];
    return sum;
}

Refusal refusalOf(const Engine& engine, const Request& request, const Link& link,
                  LSPRequest* asked) {
    Refusal refusal;
    refusal.link = link.id;
    DBLinkState* state = DBgetLinkState(centralDB, link.src, link.dst);
    refusal.colour = !colorClause(state, asked);
    ScopedLinkState trial;
    DBlinkStateInit(&trial);
    Asked alone(engine, request);
    alone.path.top = 0;
    appendTo(&alone.path, {link.src, link.dst});
    DBevalLSOnSetup(centralDB, link.src, link.dst, &trial, state, &alone);
    for (int oa = 0; oa < NBOA; oa++)
        refusal.missing.push_back(
            std::max(0.0, reservedUpTo(trial, oa, lastLevel(request)) - trial.cap[oa]));
    return refusal;
}

}  // namespace

std::vector<ScoredLink> scoreLinks(Engine* engine, const Request& request,
                                   const std::vector<int>& path) {
    const ConfigurationKeeper keeper;
    Asked asked(*engine, request);
    ScopedTopo topo;
    initTopo(&topo, -1);
    fillTopo(centralDB, &asked, &topo);
    const Weights& weights = engine->configuration().weights;
    std::vector<ScoredLink> links;
    const std::vector<double> totals = walk(&topo, &asked, path);
    for (std::size_t i = 0; i < totals.size(); i++)
        links.push_back({.link = engine->linkBetween(path[i], path[i + 1]),
                         .score = totals[i],
                         .parts = {}});
    for (const WeightName& name : kWeightNames) {
        Weights only = {.fortz = 0};
        only.*name.weight = weights.*name.weight;
        // Rerouting raises the score of the others: what they leave is its part.
        const bool isFactor = name.weight == &Weights::rerouting;
        kavrilConfig.primaryComputationConfig = libraryWeights(only, NBOA);
        const std::vector<double> parts = isFactor ? totals : walk(&topo, &asked, path);
        for (std::size_t i = 0; i < links.size(); i++) {
            double part = parts[i];
            if (isFactor)
                for (double other : links[i].parts) part -= other;
            if (isFactor && weights.rerouting == 0.0) part = 0.0;
            links[i].parts.push_back(part);
        }
    }
    return links;
}

std::vector<Refusal> refusals(Engine* engine, const Request& request) {
    std::vector<Refusal> all;
    Asked asked(*engine, request);
    double gain[kClasses] = {};
    for (const Link& link : engine->network().links)
        if (!isValidRequestLink(centralDB, link.src, link.dst,
                                DBgetLinkState(centralDB, link.src, link.dst), &asked,
                                gain))
            all.push_back(refusalOf(*engine, request, link, &asked));
    engine->takeErrors();
    return all;
}

double largestBandwidth(Engine* engine, Request request) {
    const auto passes = [&](double bandwidth) {
        request.bandwidth = bandwidth;
        return engine->findPath(request).found;
    };
    double high = 0.0;
    for (const Link& link : engine->network().links)
        high = std::max(high, engine->capacity(link.id, request.trafficClass));
    double low = 0.0;
    if (high > 0.0 && passes(high)) low = high;
    while (high - low > 1e-12 * high) {
        const double middle = (low + high) / 2.0;
        if (middle <= low || middle >= high) break;
        (passes(middle) ? low : high) = middle;
    }
    engine->takeErrors();
    return low > kNoRoom * high ? low : 0.0;
}

double snapToRoom(Engine* engine, Request request, double bandwidth) {
    double best = bandwidth;
    for (const Link& link : engine->network().links) {
        const DBLinkState* state = DBgetLinkState(centralDB, link.src, link.dst);
        const double room =
            state->cap[request.trafficClass] -
            reservedUpTo(*state, request.trafficClass, lastLevel(request));
        if (std::abs(room - bandwidth) <= 1e-9 * bandwidth) best = std::max(best, room);
    }
    request.bandwidth = best;
    const bool passes = best > bandwidth && engine->findPath(request).found;
    engine->takeErrors();
    return passes ? best : bandwidth;
}

std::vector<GiveWay> whoGivesWay(Engine* engine, const Request& request,
                                 const std::vector<int>& path) {
    std::vector<GiveWay> all;
    Asked asked(*engine, request);
    asked.path.top = 0;
    appendTo(&asked.path, path);
    for (std::size_t i = 0; i + 1 < path.size(); i++) {
        DBLinkState* state = DBgetLinkState(centralDB, path[i], path[i + 1]);
        double gain[kClasses] = {};
        ScopedLongList chosen;
        longVecInit(&chosen, -1);
        if (isValidRequestLink(centralDB, path[i], path[i + 1], state, &asked, gain))
            chooseReroutedLSPs(request.level, state,
                               DBgetLinkLSPs(centralDB, path[i], path[i + 1]), gain,
                               &chosen);
        if (chosen.top > 0)
            all.push_back({.link = engine->linkBetween(path[i], path[i + 1]),
                           .missing = gain[request.trafficClass],
                           .lsps = valuesOf(chosen)});
    }
    engine->takeErrors();
    return all;
}

namespace {

std::vector<Detour> detoursOf(Engine* engine, const Request& request,
                              const std::vector<int>& path) {
    std::vector<Detour> detours;
    for (std::size_t i = 0; i + 1 < path.size(); i++)
        detours.push_back(
            {.withoutLink = engine->linkBetween(path[i], path[i + 1]),
             .path = engine->findPath(request, {.src = path[i], .dst = path[i + 1]})});
    engine->takeErrors();
    return detours;
}

// With a path the links that refuse the request lead nowhere; without one they are what
// separates the ends, and the others are no part of any answer.
std::vector<int> cutOf(const Engine& engine, const Request& request,
                       const Explanation& explanation) {
    const Network& network = engine.network();
    const auto all = static_cast<int>(network.links.size());
    const bool found = explanation.path.found;
    std::vector<int> costs(network.links.size(), found ? 1 : all + 1);
    for (const Refusal& refusal : explanation.refusals)
        costs[refusal.link] = found ? 0 : 1;
    return minimumCut(network, request.src, request.dst, costs);
}

std::vector<int> withBackups(const Engine& engine, const std::vector<GiveWay>& giveWay) {
    std::vector<int> all;
    for (const GiveWay& link : giveWay)
        for (int lsp : link.lsps) {
            all.push_back(lsp);
            std::ranges::copy(engine.backupsOf(lsp), std::back_inserter(all));
        }
    std::ranges::sort(all);
    all.erase(std::unique(all.begin(), all.end()), all.end());
    return all;
}

}  // namespace

// Searches come first: reading a link's state makes the library keep it in a shape that
// is slower to search on.
Explanation explain(Engine* engine, const Request& request) {
    Request plain = request;
    plain.preempt = false;
    Request preempting = request;
    preempting.preempt = true;
    Explanation explanation;
    explanation.path = engine->findPath(plain);
    explanation.preempting = engine->findPath(preempting);
    const double largest = largestBandwidth(engine, plain);
    const double largestPreempting = largestBandwidth(engine, preempting);
    if (explanation.path.found)
        explanation.detours = detoursOf(engine, plain, explanation.path.nodes);
    engine->takeErrors();

    explanation.refusals = refusals(engine, plain);
    explanation.cut = cutOf(*engine, plain, explanation);
    explanation.largest = snapToRoom(engine, plain, largest);
    explanation.largestWithPreemption = snapToRoom(engine, preempting, largestPreempting);
    if (explanation.path.found)
        explanation.links = scoreLinks(engine, plain, explanation.path.nodes);
    if (explanation.preempting.found)
        explanation.giveWay =
            whoGivesWay(engine, preempting, explanation.preempting.nodes);
    explanation.preempted = withBackups(*engine, explanation.giveWay);
    return explanation;
}

}  // namespace workbench
