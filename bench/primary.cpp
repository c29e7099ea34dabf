// Rows on primaries.

#include "admission/lsp_setup.h"
#include "computation/primary/primaryPath.h"

#include <cmath>
#include <set>
#include <stdexcept>
#include <utility>

#include "common/setup.h"
#include "error/error.h"
#include "predicate/predicate.h"
#include "rows.h"

namespace {

// The floor's search is over the links that have room left; a few more may admit the
// request, those where it frees what it takes. A path without them costs as much as the
// floor's, one with them at most as much.
void requireCost(const Rig& rig, const Ask& ask, const Path& path, double cost) {
    const double distance = rig.floor.distance(ask.dst);
    bool onlyOpen = true;
    for (std::size_t i = 0; i + 1 < path.size(); i++)
        onlyOpen &=
            rig.floor.isOpen(DBgetLinkID(rig.state.dataBase, path[i], path[i + 1]));
    const double margin = 1e-9 * cost;
    require(cost <= distance + margin, "the path is not the best");
    require(!onlyOpen || cost >= distance - margin, "the cost is too low");
}

// A request that has a path.
Ask computeSome(Rig& rig, LSPRequest* req,
                void (*change)(State& state, LSPRequest* req) = nullptr) {
    for (int i = 0; i < 1000; i++) {
        const Ask ask = rig.state.draw();
        initRequest(req, ask);
        if (change != nullptr) change(rig.state, req);
        if (computePrimaryPath(rig.state.dataBase, req) == 0) return ask;
        lspRequestEnd(req);
    }
    throw std::runtime_error("the network is full");
}

std::vector<double> loadsAlong(Rig& rig, const Ask& ask, const Path& path) {
    std::vector<double> loads;
    for (std::size_t i = 0; i + 1 < path.size(); i++) {
        const DBLink* link = findLink(&rig.state.dataBase->linkTab, path[i], path[i + 1]);
        loads.push_back(link->state.pbw[ask.oa][ask.level]);
    }
    return loads;
}

// Computes a path, sets it up, removes it; times either.
std::pair<Sample, Sample> placeAndRemove(Rig& rig) {
    DataBase* dataBase = rig.state.dataBase;
    ScopedRequest req;
    ScopedLSP lsp;
    IdList preempted;
    const Ask ask = computeSome(rig, &req);
    initLSP(&lsp, req);
    const Path path = nodesOf(lsp.path);
    const std::vector<double> before = loadsAlong(rig, ask, path);
    Sample setup, removal;
    setup.units = static_cast<double>(path.size() - 1);

    int ret = 0;
    setup.seconds = timed([&] { ret = DBaddLSP(dataBase, &lsp, &preempted); });
    std::vector<double> after = loadsAlong(rig, ask, path);
    for (double& load : after) load -= ask.bw;
    require(ret == 0 && preempted.top == 0, "an LSP with a path is refused");
    require(after == before, "the LSP is not booked on its links");

    removal.seconds = timed([&] { ret = DBremoveLSP(dataBase, ask.id); });
    require(ret == 0 && loadsAlong(rig, ask, path) == before,
            "the removal leaves traces");
    return {setup, removal};
}

// Every LSP that gives way is less important and in the way; where none is named, none
// needs to. Bandwidth that only backups reserve cannot always be freed: the list is then
// not complete.
void requireVictims(Rig& rig, const Ask& ask, const Path& path, const Path& victims,
                    bool complete) {
    std::set<std::pair<Long, Long>> hops;
    for (std::size_t i = 0; i + 1 < path.size(); i++) hops.insert({path[i], path[i + 1]});
    for (Long id : victims) {
        const DBLabelSwitchedPath* lsp = DBgetLSP(rig.state.dataBase, id);
        require(lsp != nullptr && lsp->precedence > ask.level, "not to be preempted");
        bool inTheWay = false;
        for (Long i = 0; i + 1 < lsp->path.top; i++)
            inTheWay |= hops.contains({lsp->path.cont[i], lsp->path.cont[i + 1]});
        require(inTheWay, "preempted for nothing");
    }
    kavrilConfig.predicateConfig.allowReroute = !complete || !victims.empty();
    ScopedRequest req;
    initRequest(&req, ask);
    setPath(&req, path);
    requireAdmitted(rig, path, &req, ask.oa);
    kavrilConfig.predicateConfig.allowReroute = false;
}

}  // namespace

void require(bool condition, const char* what) {
    if (!condition) throw std::runtime_error(what);
}

void requirePath(const State& state, const Path& path, Long src, Long dst) {
    require(!path.empty() && path.front() == src && path.back() == dst,
            "the path does not connect its ends");
    require(std::set<Long>(path.begin(), path.end()).size() == path.size(),
            "the path has a loop");
    for (std::size_t i = 0; i + 1 < path.size(); i++)
        require(DBgetLinkID(state.dataBase, path[i], path[i + 1]) >= 0,
                "the path has a hop without a link");
}

void requireAdmitted(Rig& rig, const Path& path, LSPRequest* req, int oa) {
    DataBase* dataBase = rig.state.dataBase;
    for (std::size_t i = 0; i + 1 < path.size(); i++) {
        const Link ends = {path[i], path[i + 1], 0.0};
        // A state with all its tables is large on large networks, and the plain test
        // slow; there it is left to the links that have not room for all of the request.
        constexpr std::size_t kLarge = 300;
        if (rig.state.network.links.size() > kLarge &&
            freeBandwidth(dataBase, ends, oa) >= req->bw[oa])
            continue;
        double gain[kClasses];
        DBLinkState* state = DBgetLinkState(dataBase, ends.src, ends.dst);
        require(isValidRequestLink(dataBase, ends.src, ends.dst, state, req, gain),
                "the path crosses a link that refuses it");
    }
}

Sample primaryRequest(Rig& rig) {
    const Ask ask = rig.state.draw();
    rig.floor.prepare(ask);
    ScopedRequest req;
    initRequest(&req, ask);
    Sample sample;
    bool found = false;
    COST = 0.0;
    errorManager.top = 0;
    timeBoth(rig, ask.src, &sample,
             [&] { found = computePrimaryPath(rig.state.dataBase, &req) == 0; });
    if (!found) {
        require(std::isinf(rig.floor.distance(ask.dst)), "there is a path");
        return primaryRequest(rig);
    }
    const Path path = nodesOf(req.path);
    requirePath(rig.state, path, ask.src, ask.dst);
    requireCost(rig, ask, path, COST);
    sample.verify = [&rig, ask, path] {
        ScopedRequest unknown;
        initRequest(&unknown, ask);
        requireAdmitted(rig, path, &unknown, ask.oa);
    };
    return sample;
}

Sample requestWithPreemption(Rig& rig) {
    Ask ask = rig.state.draw();
    ask.bw *= 4.0;  // so that others have to give way now and then
    rig.floor.prepare(ask);
    ScopedRequest req;
    ScopedLSP lsp;
    IdList victims;
    initRequest(&req, ask);
    Sample sample;
    bool found = false, complete = false;
    errorManager.top = 0;
    kavrilConfig.predicateConfig.allowReroute = true;
    timeBoth(rig, ask.src, &sample, [&] {
        found = computePrimaryPath(rig.state.dataBase, &req) == 0;
        if (!found) return;
        initLSP(&lsp, req);
        complete = getpreemptList(rig.state.dataBase, &lsp, &victims) == 0;
    });
    kavrilConfig.predicateConfig.allowReroute = false;
    if (!found) {
        require(std::isinf(rig.floor.distance(ask.dst)), "there is a path");
        return requestWithPreemption(rig);
    }
    requirePath(rig.state, nodesOf(req.path), ask.src, ask.dst);
    sample.verify = [&rig, ask, path = nodesOf(req.path), ids = nodesOf(victims),
                     complete] { requireVictims(rig, ask, path, ids, complete); };
    return sample;
}

Sample placement(Rig& rig) {
    return placeAndRemove(rig).first;
}

Sample removal(Rig& rig) {
    return placeAndRemove(rig).second;
}

Sample plainRequest(Rig& rig) {
    return plainRequest(rig, nullptr);
}

Sample plainRequest(Rig& rig, void (*change)(State& state, LSPRequest* req)) {
    ScopedRequest fast, req;
    initRequest(&req, computeSome(rig, &fast, change));
    if (change != nullptr) change(rig.state, &req);
    Sample sample;
    bool found = false;
    sample.seconds = timed([&] {
        ScopedTopo topo;
        found = initTopo(&topo, -1) == 0 &&
                fillTopo(rig.state.dataBase, &req, &topo) == 0 &&
                bellmanKalaba(&topo, &req) == 0 && updateRequest(&topo, &req) == 0;
    });
    require(found && nodesOf(req.path) == nodesOf(fast.path), "the paths differ");
    return sample;
}
