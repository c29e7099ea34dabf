// The calls of the core.

#include <algorithm>
#include <cmath>
#include <cstring>

#include "common/setup.h"
#include "computation/computation.h"
#include "computation/primary/primaryPath.h"
#include "database/database.h"
#include "fuzz/player.h"
#include "session.h"

namespace {

struct CoreList : ScopedLongList {
    explicit CoreList(const Ids& ids) {
        longVecInit(this, -1);
        for (Long id : ids) longVecPushBack(this, id);
    }
    Ids values() const { return {cont, cont + top}; }
};

struct CoreLsp : ScopedLSP {
    explicit CoreLsp(const ModelLsp& from) {
        DBlspInit(this);
        id = from.id;
        precedence = from.level;
        std::copy(from.bw.begin(), from.bw.end(), bw);
        type = from.type;
        primID = from.primID;
        noContentionId = from.partner;
        for (Long node : from.path) longVecPushBack(&path, node);
        for (Long node : from.primPath) longVecPushBack(&primPath, node);
    }
};

bool isSame(double a, double b) {
    return a == b || (std::isnan(a) && std::isnan(b));
}

}  // namespace

// Runs act on the session, as an entry point would.
template <class Call>
void Player::coreCall(Call call) {
    calls_++;
    const int id = FakeVm::sessId(now_->object);
    loadSession(id);
    call(centralDB);
    saveCntx(id);
}

// An LSP of any kind in several classes, perhaps in place of another.
void Player::coreAdd() {
    ModelLsp lsp = this->lsp(path());
    for (std::size_t oa = 0; oa < 3; oa++)
        if (bytes_.oneIn(2)) lsp.bw[oa] = amount();
    for (double& bw : lsp.bw)
        if (!std::isfinite(bw)) bw = 0.25;
    if (bytes_.oneIn(3)) lsp.partner = anyLsp();
    if (lsp.partner == lsp.id || lsp.partner < 0) lsp.partner = -1;
    if (bytes_.oneIn(3)) {
        lsp.type = static_cast<DBLSPType>(bytes_.below(4));
        lsp.primID = anyLsp();
        const auto primary = model().lsps.find(lsp.primID);
        if (primary != model().lsps.end()) lsp.primPath = primary->second.path;
    } else if (model().lsps.contains(lsp.partner) && bytes_.oneIn(2)) {
        lsp.path = model().lsps.at(lsp.partner).path;
        lsp.level = model().lsps.at(lsp.partner).level;
    }
    Ids victims;
    const Verdict verdict = model().canAddLsp(lsp, &victims);
    coreCall([&](DataBase* db) {
        CoreLsp record(lsp);
        CoreList preempted({});
        const int ret = DBaddLSP(db, &record, &preempted);
        if (verdict == Verdict::YES) require(ret == 0, "DBaddLSP fails");
        if (verdict == Verdict::NO) require(ret < 0, "DBaddLSP does not fail");
        if (verdict == Verdict::YES)
            require(preempted.values() == victims, "LSPs that have to give way");
        settle(lsp, ret == 0);
    });
}

// Victims of an LSP that is not stored.
void Player::coreList() {
    ModelLsp lsp = this->lsp(path());
    lsp.bw[0] = 0.25 * bytes_.below(40);
    Ids victims;
    const Verdict verdict = model().canListVictims(lsp, &victims);
    coreCall([&](DataBase* db) {
        CoreLsp record(lsp);
        CoreList preempted({});
        const int ret = getpreemptList(db, &record, &preempted);
        if (verdict == Verdict::UNKNOWN) return;
        require((ret == 0) == (verdict == Verdict::YES), "getpreemptList");
        if (ret == 0) require(preempted.values() == victims, "preemption list");
    });
}

// A path for a request that may reroute an LSP, in several classes; the road that the
// library takes is compared with the topology, search and read-out it offers on their
// own.
void Player::coreCompute() {
    ModelLsp lsp = this->lsp({});
    const Ids ends = {node(), -1, node()};
    for (std::size_t oa = 0; oa < 3; oa++)
        if (bytes_.oneIn(2)) lsp.bw[oa] = amount();
    for (double& bw : lsp.bw)
        if (!std::isfinite(bw)) bw = 0.25;
    lsp.partner = bytes_.oneIn(3) ? anyLsp() : -1;
    const Hop excluded = {bytes_.below(7), bytes_.below(7)};
    const bool forbids = bytes_.oneIn(30);
    model().allowReroute = bytes_.oneIn(2);
    const Verdict reachable = isReachable(lsp, ends[0], ends[2], [&](Hop hop) {
        return !forbids && !(lsp.partner >= 0 && hop == excluded);  // all have colour 0
    });
    coreCall([&](DataBase* db) {
        kavrilConfig.predicateConfig.allowReroute = model().allowReroute;
        ScopedRequest req;
        lspRequestInit(&req);
        req.id = lsp.id;
        req.precedence = lsp.level;
        std::copy(lsp.bw.begin(), lsp.bw.end(), req.bw);
        req.rerouteInfo = {lsp.partner, excluded.first, excluded.second};
        if (forbids) longVecPushBack(&req.forbidLinks, 0);
        for (Long end : ends) longVecPushBack(&req.path, end);
        const double before = COST;
        COST = 0.0;
        const int ret = computePrimaryPath(db, &req);
        const double cost = COST;
        COST = before;
        if (reachable == Verdict::YES) require(ret == 0, "no path is found");
        if (reachable == Verdict::NO) require(ret < 0, "a path is found");
        if (ret == 0)
            checkPath(lsp, {req.path.cont, req.path.cont + req.path.top}, ends[0],
                      ends[2]);
        if (bytes_.oneIn(2)) comparePathWithTopology(&req, ends, ret, cost);
    });
}

void Player::comparePathWithTopology(LSPRequest* req, const Ids& ends, int ret,
                                     double cost) {
    const CoreList found({req->path.cont, req->path.cont + req->path.top});
    req->path.top = 0;
    for (Long end : ends) longVecPushBack(&req->path, end);
    ScopedTopo topo;
    const bool same = initTopo(&topo, -1) == 0 && fillTopo(centralDB, req, &topo) == 0 &&
                      bellmanKalaba(&topo, req) == 0 && updateRequest(&topo, req) == 0;
    require(same == (ret == 0), "topology and search differ");
    if (!same) return;
    const Ids path = {req->path.cont, req->path.cont + req->path.top};
    require(path == found.values(), "path on the topology differs");
    require(isSame(topoNode(&topo, ends[2])->info.cost, cost), "cost differs");
}

void Player::coreLookUp() {
    const Long a = node();
    const Long b = node();
    const bool tables = bytes_.oneIn(4);
    coreCall([&](DataBase* db) {
        const auto link = model().links.find({a, b});
        const bool exists = link != model().links.end();
        require(DBgetLinkID(db, a, b) == (exists ? link->second.id : -1), "link id");
        require((DBgetLinkLSPs(db, a, b) != nullptr) == exists, "LSPs of a link");
        require((DBgetNodeInNeighb(db, a) != nullptr) == model().nodes.contains(a),
                "neighbours of a node");
        require((DBgetLSP(db, a) != nullptr) == model().lsps.contains(a), "LSP");
        DBgetLinkSrc(db, b);
        DBgetLinkDst(db, b);
        // A state put back as it is changes nothing.
        if (!exists || !tables) return;
        ScopedLinkState state;
        DBlinkStateInit(&state);
        DBlinkStateCopy(&state, DBgetLinkState(db, a, b));
        require(DBsetLinkState(db, a, b, &state) == 0, "state of a link");
    });
}

// The owner of a link's state may read it from then on.
void Player::coreHandOut() {
    if (model().links.empty() || !bytes_.oneIn(3)) return;
    const Hop hop = bytes_.anyOf(model().links).first;
    coreCall([=](DataBase* db) {
        require(DBgetLinkState(db, hop.first, hop.second) != nullptr, "link state");
    });
}
