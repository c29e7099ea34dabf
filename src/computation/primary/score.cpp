// The link score of the primary path search.

#include <cmath>
#include <limits>

#include "common/setup.h"
#include "computation/primary/primaryPath.h"
#include "computation/primary/score_formulas.h"
#include "error/error.h"
#include "rerouting/rerouting.h"

#define ERROR_SOURCE "computation/primary/primaryPath.c"

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

bool anyInUse(const double (&weights)[kClasses]) {
    for (double weight : weights)
        if (inUse(weight)) return true;
    return false;
}

// False if the load balance makes the score infinite.
bool addLoadBalance(double* score, double weight, const ClassLoad& l, double sum,
                    double nbLinks) {
    const LoadBalance balance = balanceOf(weight, l);
    *score = *score + balance.rise - balance.fall;
    const double newSum = sum + balance.share;
    if (std::isinf(newSum)) return false;
    *score = addSums(*score, sumWeights(weight, nbLinks), newSum, sum);
    return true;
}

}  // namespace

bool addTerms(const DBLinkState* ls, const LSPRequest* req, const double* sums,
              double nbLinks, double* score) {
    const PrimaryComputationConfig& config = kavrilConfig.primaryComputationConfig;
    for (int oa = 0; oa < kClasses; oa++) {
        const ClassLoad l = {loadOf(ls, oa), ls->cap[oa], req->bw[oa]};
        *score += config.Fortz * congestionIncrease(l);
        if (inUse(config.loadBal[oa]) &&
            !addLoadBalance(score, config.loadBal[oa], l, sums[oa], nbLinks))
            return false;
        if (inUse(config.load[oa])) *score += config.load[oa] * l.bw;
        if (inUse(config.sqLoad[oa]))
            *score += config.sqLoad[oa] * squaredLoadIncrease(l);
        if (inUse(config.relLoad[oa])) *score += config.relLoad[oa] * l.bw / l.capacity;
        if (inUse(config.sqRelLoad[oa]))
            *score +=
                config.sqRelLoad[oa] * squaredLoadIncrease(l) / (l.capacity * l.capacity);
        if (inUse(config.delay[oa])) *score += delayIncrease(l) * config.delay[oa];
    }
    return true;
}

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
    DBLinkState* ls = connect->linkState;
    double score = from.cost;
    if (!addTerms(ls, req, from.sum, static_cast<double>(topo->nbLinks), &score))
        return kInfinity;
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
