// The link score of the primary path search.

#include <cmath>
#include <limits>

#include "common/setup.h"
#include "computation/primary/primaryPath.h"
#include "error/error.h"
#include "rerouting/rerouting.h"

#define ERROR_SOURCE "computation/primary/primaryPath.c"

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// NaN counts as in use.
bool inUse(double weight) {
    return weight != 0.0;
}

bool anyInUse(const double (&weights)[kClasses]) {
    for (double weight : weights)
        if (inUse(weight)) return true;
    return false;
}

// Primary bandwidth of one class, all levels.
double loadOf(const DBLinkState* ls, int oa) {
    double load = 0.0;
    for (double level : ls->pbw[oa]) load += level;
    return load;
}

// A load x on a link of capacity c costs slope * x + intercept * c.
struct Segment {
    double slope;
    double intercept;
};

// Chosen by utilisation. The slope 10 of the published function is out of reach, since
// its bound is 0 instead of 0.9: utilisations from 2/3 to 1 cost with slope 70. The last
// intercept is this system's own. All values are of single precision, widened.
Segment segmentAt(double utilisation) {
    if (utilisation < 1.0F / 3.0F) return {1.0, 0.0};
    if (utilisation < 2.0F / 3.0F) return {3.0, -2.0F / 3.0F};
    if (utilisation < 0.0) return {10.0, -16.0F / 3.0F};
    if (utilisation < 1.0) return {70.0, -178.0F / 3.0F};
    if (utilisation < 1.1F) return {500.0, -1468.0F / 3.0F};
    return {5000.0, -19468.0F / 3.0F};
}

// What the terms of one class read.
struct ClassLoad {
    double load;
    double capacity;
    double bw;  // asked for
};

// Both loads are priced with the segment of the load before the request.
double congestionIncrease(const ClassLoad& l) {
    const auto [a, k] = segmentAt(l.load / l.capacity);
    return (a * (l.load + l.bw) + k * l.capacity) - (a * l.load + k * l.capacity);
}

double squaredLoadIncrease(const ClassLoad& l) {
    return l.bw * l.bw + (l.bw + l.bw) * l.load;
}

double delayIncrease(const ClassLoad& l) {
    return 1.0 / ((l.capacity - l.load) - l.bw) + -1.0 / (l.capacity - l.load);
}

// Adds the increase of nbLinks times the variance of link utilisation, the sum of
// utilisations being `sum` before the request. False if it is infinite.
bool addLoadBalance(double* score, double weight, const ClassLoad& l, double sum,
                    double nbLinks) {
    const double before = l.load / l.capacity;
    const double after = (l.load + l.bw) / l.capacity;
    *score = *score + after * (weight * after) - before * (before * weight);
    const double newSum = sum + l.bw / l.capacity;
    if (std::isinf(newSum)) return false;
    *score = *score + newSum * ((-1.0 / nbLinks) * weight * newSum) +
             (weight * (1.0 / nbLinks)) * sum * sum;
    return true;
}

}  // namespace

int initScore(Long src, BKTopology* topo) {
    if (topo == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    if (!anyInUse(kavrilConfig.primaryComputationConfig.loadBal)) return 0;
    double(&sum)[kClasses] = topoNode(topo, src)->info.sum;
    for (double& classSum : sum) classSum = 0.0;
    for (Long n = 0; n < topo->nodeVec.top; n++) {
        const BKConnectVec* in = &topo->nodeVec.cont[n].inNeighb;
        for (Long j = 0; j < in->top; j++) {
            const DBLinkState* ls = in->cont[j].linkState;
            for (int oa = 0; oa < kClasses; oa++) sum[oa] += loadOf(ls, oa) / ls->cap[oa];
        }
    }
    return 0;
}

double makeScore(BKTopology* topo, LSPRequest* req, Long src, Long, BKConnect* connect) {
    if (topo == nullptr || connect == nullptr)
        return FAIL_WITH(kInfinity, "Bad argument (NULL)");
    const PrimaryComputationConfig& config = kavrilConfig.primaryComputationConfig;
    const BKNodeInfo& from = topoNode(topo, src)->info;
    const auto nbLinks = static_cast<double>(topo->nbLinks);
    DBLinkState* ls = connect->linkState;
    double score = from.cost;
    for (int oa = 0; oa < kClasses; oa++) {
        const ClassLoad l = {loadOf(ls, oa), ls->cap[oa], req->bw[oa]};
        score += config.Fortz * congestionIncrease(l);
        if (inUse(config.loadBal[oa]) &&
            !addLoadBalance(&score, config.loadBal[oa], l, from.sum[oa], nbLinks))
            return kInfinity;
        if (inUse(config.load[oa])) score += config.load[oa] * l.bw;
        if (inUse(config.sqLoad[oa])) score += config.sqLoad[oa] * squaredLoadIncrease(l);
        if (inUse(config.relLoad[oa])) score += config.relLoad[oa] * l.bw / l.capacity;
        if (inUse(config.sqRelLoad[oa]))
            score +=
                config.sqRelLoad[oa] * squaredLoadIncrease(l) / (l.capacity * l.capacity);
        if (inUse(config.delay[oa])) score += delayIncrease(l) * config.delay[oa];
    }
    double rerouting = 0.0;
    for (int oa = 0; oa < kClasses; oa++)
        if (inUse(config.rerouting[oa]))
            rerouting +=
                makeRerouteScore(req, connect->info.gain, ls, oa) * config.rerouting[oa];
    return score > 0.0 ? score + score * rerouting : score;
}

int updateNodeInfoOnElect(BKTopology* topo, LSPRequest* req, Long src, Long dst,
                          BKConnect* connect) {
    if (topo == nullptr || connect == nullptr)
        return FAIL_WITH(-1, "Bad argument (NULL)");
    const PrimaryComputationConfig& config = kavrilConfig.primaryComputationConfig;
    const BKNodeInfo& from = topoNode(topo, src)->info;
    BKNodeInfo& to = topoNode(topo, dst)->info;
    for (int oa = 0; oa < kClasses; oa++)
        if (inUse(config.loadBal[oa]))
            to.newSum[oa] = req->bw[oa] / connect->linkState->cap[oa] + from.sum[oa];
    return 0;
}

int activateNodeInfo(BKTopology* topo, Long nd) {
    if (topo == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    const PrimaryComputationConfig& config = kavrilConfig.primaryComputationConfig;
    BKNodeInfo& info = topoNode(topo, nd)->info;
    for (int oa = 0; oa < kClasses; oa++)
        if (inUse(config.loadBal[oa])) info.sum[oa] = info.newSum[oa];
    return 0;
}
