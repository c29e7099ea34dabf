#include "twin/search.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace twin {

namespace {

constexpr const char* kHere = "computation/primary/primaryPath.c";
constexpr int kMostPasses = 3000;

bool checkEnds(const Request& req) {
    if (req.path.size() >= 2 && req.path.front() >= 0 && req.path.back() >= 0)
        return true;
    fail(kHere, "Bad requested path format");
    return fail(kHere, "Unable to get requested source");
}

const Connect* findConnect(const std::vector<Connect>& list, Long neighb) {
    for (const Connect& connect : list)
        if (connect.neighb == neighb) return &connect;
    return nullptr;
}

// Slope and intercept of the congestion cost at a utilisation; single precision.
std::pair<double, double> segment(double u) {
    constexpr float kThird = 3.0F;
    struct {
        float below, slope, intercept;
    } const segments[] = {{1.0F / kThird, 1.0F, 0.0F},
                          {2.0F / kThird, 3.0F, -2.0F / kThird},
                          {0.0F, 10.0F, -16.0F / kThird},
                          {1.0F, 70.0F, -178.0F / kThird},
                          {1.1F, 500.0F, -1468.0F / kThird}};
    for (const auto& s : segments)
        if (u < static_cast<double>(s.below))
            return {static_cast<double>(s.slope), static_cast<double>(s.intercept)};
    return {5000.0, static_cast<double>(-19468.0F / kThird)};
}

bool isBalanced(std::size_t oa) {
    return now.config.primaryComputationConfig.loadBal[oa] != 0.0;
}

void initScore(Long src, Topology& topo) {
    bool any = false;
    for (std::size_t i = 0; i < kClasses; i++) any = any || isBalanced(i);
    if (!any) return;
    Row& sum = topo.at(src).sum;
    sum = {};
    for (const TopoNode& node : topo.nodes)
        for (const Connect& connect : node.in)
            for (std::size_t i = 0; i < kClasses; i++)
                sum[i] += total(connect.state->pbw[i]) / connect.state->cap[i];
}

void electInfo(Topology& topo, const Request& req, Long src, Long dst,
               const Connect& connect) {
    for (std::size_t i = 0; i < kClasses; i++)
        if (isBalanced(i))
            topo.at(dst).newSum[i] =
                req.bw[i] / connect.state->cap[i] + topo.at(src).sum[i];
}

void activate(TopoNode& node) {
    for (std::size_t i = 0; i < kClasses; i++)
        if (isBalanced(i)) node.sum[i] = node.newSum[i];
}

// Follows candidates, but stops where no predecessor is elected.
bool noLoop(Topology& topo, Long src, Long dst) {
    const TopoNode* n = &topo.at(src);
    for (int steps = 0; n->elected != -1; steps++) {
        if (n->id == dst) return false;
        if (steps > kMostPasses) throw GivenUp();
        n = &topo.at(n->in[static_cast<std::size_t>(n->candidate)].neighb);
    }
    return n->id != dst;
}

struct Search {
    Topology& topo;
    const Request& req;
    Ids active = {};
    std::vector<int> flags = std::vector<int>(topo.index.size(), 0);
    bool done = true;

    bool isKnown(Long id) const {
        return id < topo.top() || fail(kHere, "Inexistent node");
    }
    int& flag(Long id) { return flags[static_cast<std::size_t>(id)]; }

    bool reach(Long from, Long nd) {
        active.push_back(nd);
        TopoNode& node = topo.at(nd);
        const Connect* connect = findConnect(node.in, from);
        if (connect == nullptr) return fail(kHere, "Topology unconsistancy");
        node.cost = node.newCost = makeScore(topo, req, from, *connect);
        node.elected = node.candidate = static_cast<Long>(connect - node.in.data());
        electInfo(topo, req, from, nd, *connect);
        activate(node);
        flag(nd) = 1;
        done = false;
        return true;
    }

    // A link from the source to itself leads nowhere.
    bool expand(Long nd) {
        for (const Connect& connect : topo.at(nd).out) {
            if (!isKnown(connect.neighb)) return false;
            if (connect.neighb != nd && flag(connect.neighb) == 0 &&
                !reach(nd, connect.neighb))
                return false;
        }
        flag(nd) = 2;
        return true;
    }

    bool relax(Long nd) {
        TopoNode& node = topo.at(nd);
        for (std::size_t j = 0; j < node.in.size(); j++) {
            const Long nb = node.in[j].neighb;
            if (!isKnown(nb)) return false;
            if (flag(nb) == 0 || !noLoop(topo, nb, nd)) continue;
            const double cost = makeScore(topo, req, nb, node.in[j]);
            if (!(cost - node.cost < -1e-10)) continue;
            node.newCost = cost;
            node.candidate = static_cast<Long>(j);
            electInfo(topo, req, nb, nd, node.in[j]);
            done = false;
        }
        return true;
    }

    bool run(Long src) {
        if (!isKnown(src)) return false;
        initScore(src, topo);
        if (!expand(src)) return false;
        for (int passes = 0;; passes++) {
            if (passes > kMostPasses) throw GivenUp();
            const Ids reached = active;
            done = true;
            for (Long nd : reached)
                if (!relax(nd) || (flag(nd) == 1 && !expand(nd))) return false;
            for (Long nd : reached) {
                TopoNode& node = topo.at(nd);
                node.cost = node.newCost;
                node.elected = node.candidate;
                activate(node);
            }
            if (done) return true;
        }
    }
};

}  // namespace

bool fillTopo(Database& db, Request& req, Topology& topo) {
    if (!checkEnds(req)) return false;
    const Long src = req.path.front();
    if (getNode(db, src) == nullptr)
        return fail(kHere, "Unable to get the list of neighbours");
    Ids stack = {src};
    std::map<Long, int> flags = {{src, 1}};  // 1 on the stack, 2 built
    while (!stack.empty()) {
        TopoNode node;
        node.id = stack.back();
        stack.pop_back();
        // The link from a to b, as seen on the one side or the other.
        auto look = [&](Long nb, Hop hop, std::vector<Connect>& list,
                        std::vector<Connect> TopoNode::*seen) {
            if (flags[nb] == 2) {  // judged when nb was built
                const Connect* judged = findConnect(topo.at(nb).*seen, node.id);
                if (judged != nullptr) list.push_back({nb, judged->state, judged->gain});
                return true;
            }
            Row gain = {};
            const LinkState& state = db.links.at(hop).state;
            const std::size_t length = req.path.size();
            if (isValidRequestLink(db, hop, state, req, gain))
                list.push_back({nb, &state, gain});
            return req.path.size() == length || fail(kHere, "Bad requested path format");
        };
        const Node& from = db.nodes.at(node.id);
        for (Long nb : from.in)
            if (!look(nb, {nb, node.id}, node.in, &TopoNode::out)) return false;
        for (Long nb : from.out) {
            if (!look(nb, {node.id, nb}, node.out, &TopoNode::in)) return false;
            if (flags[nb] != 0) continue;
            stack.push_back(nb);
            flags[nb] = 1;
        }
        flags[node.id] = 2;
        topo.index.resize(static_cast<std::size_t>(std::max(topo.top(), node.id + 1)));
        topo.index[static_cast<std::size_t>(node.id)] =
            static_cast<Long>(topo.nodes.size());
        topo.nodes.push_back(node);
    }
    topo.nbLinks = db.nbLinks;
    return db.nbLinks >= 0 || fail(kHere, "Unable to get number of nodes and links");
}

double makeScore(Topology& topo, const Request& req, Long src, const Connect& connect) {
    const PrimaryComputationConfig& weights = now.config.primaryComputationConfig;
    const TopoNode& from = topo.at(src);
    const LinkState& ls = *connect.state;
    const auto nbLinks = static_cast<double>(topo.nbLinks);
    double s = from.cost;
    for (std::size_t i = 0; i < kClasses; i++) {
        const double load = total(ls.pbw[i]), c = ls.cap[i], b = req.bw[i], u = load / c;
        const auto [a, k] = segment(u);
        s += weights.Fortz * ((a * (load + b) + k * c) - (a * load + k * c));
        if (isBalanced(i)) {
            const double w = weights.loadBal[i], after = (load + b) / c;
            s = s + after * (w * after) - u * (u * w);
            const double sum = from.sum[i], newSum = sum + b / c;
            if (std::isinf(newSum)) return INFINITY;
            s = s + newSum * ((-1.0 / nbLinks) * w * newSum) +
                (w * (1.0 / nbLinks)) * sum * sum;
        }
        const double square = b * b + (b + b) * load;
        if (weights.load[i] != 0.0) s += weights.load[i] * b;
        if (weights.sqLoad[i] != 0.0) s += weights.sqLoad[i] * square;
        if (weights.relLoad[i] != 0.0) s += weights.relLoad[i] * b / c;
        if (weights.sqRelLoad[i] != 0.0) s += weights.sqRelLoad[i] * square / (c * c);
        if (weights.delay[i] != 0.0)
            s += (1.0 / ((c - load) - b) + -1.0 / (c - load)) * weights.delay[i];
    }
    double r = 0.0;
    for (std::size_t i = 0; i < kClasses; i++)
        if (weights.rerouting[i] != 0.0)
            r += makeRerouteScore(req, connect.gain, ls, i) * weights.rerouting[i];
    return s > 0.0 ? s + s * r : s;
}

bool bellmanKalaba(Topology& topo, const Request& req) {
    return checkEnds(req) && Search{topo, req}.run(req.path.front());
}

bool updateRequest(Topology& topo, Request& req) {
    if (!checkEnds(req)) return false;
    const Long src = req.path.front();
    Long nd = req.path.back();
    req.path.clear();
    for (; nd != src;
         nd = topo.at(nd).in[static_cast<std::size_t>(topo.at(nd).elected)].neighb) {
        if (topo.at(nd).elected < 0) return fail(kHere, "Destination unreachable");
        if (req.path.size() > topo.nodes.size()) throw GivenUp();
        req.path.push_back(nd);
    }
    req.path.push_back(src);
    std::reverse(req.path.begin(), req.path.end());
    return true;
}

bool computePrimaryPath(Database& db, Request& req) {
    if (!checkEnds(req)) return false;
    Topology topo;
    if (!fillTopo(db, req, topo)) return fail(kHere, "Unable to build topology");
    if (!bellmanKalaba(topo, req)) return fail(kHere, "Bellman-Kalaba failure");
    if (!updateRequest(topo, req)) return fail(kHere, "Unable to update requested path");
    now.cost += topo.at(req.path.back()).cost;
    return true;
}

}  // namespace twin
