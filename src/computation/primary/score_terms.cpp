#include "computation/primary/score_terms.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// Whether a class is scored by anything besides congestion.
bool hasCriteria(const PrimaryComputationConfig& config, int oa) {
    return inUse(config.loadBal[oa]) || inUse(config.load[oa]) ||
           inUse(config.sqLoad[oa]) || inUse(config.relLoad[oa]) ||
           inUse(config.sqRelLoad[oa]) || inUse(config.delay[oa]);
}

}  // namespace

unsigned classesToRead(const LSPRequest* req) {
    const PrimaryComputationConfig& config = kavrilConfig.primaryComputationConfig;
    unsigned classes = 0;
    for (int oa = 0; oa < kClasses; oa++)
        if (req->bw[oa] != 0.0 || hasCriteria(config, oa)) classes |= 1U << oa;
    return classes;
}

bool ScoreTerms::init(const Live* live, Long nbLinks, const LSPRequest* req) {
    const PrimaryComputationConfig& config = kavrilConfig.primaryComputationConfig;
    req_ = req;
    views_ = &live->views;
    nbLinks_ = static_cast<double>(nbLinks);
    for (int oa = 0; oa < kClasses; oa++) {
        if (req->bw[oa] != 0.0) addStep(CONGESTION, oa, config.Fortz);
        addStep(BALANCE, oa, config.loadBal[oa]);
        addStep(LOAD, oa, config.load[oa]);
        addStep(SQ_LOAD, oa, config.sqLoad[oa]);
        addStep(REL_LOAD, oa, config.relLoad[oa]);
        addStep(SQ_REL_LOAD, oa, config.sqRelLoad[oa]);
        addStep(DELAY, oa, config.delay[oa]);
    }
    isSingle_ = stride_ == 1;
    return (isSingle_ || makeRoom(&terms_, live->graph.nbLinks() * stride_)) &&
           (nbSums_ == 0 || makeRoom(&sums_, 2 * nbSums_ * live->graph.nodeSlots()));
}

void ScoreTerms::addStep(Criterion criterion, int oa, double weight) {
    if (!inUse(weight)) return;
    steps_[nbSteps_++] = {
        criterion,         oa, weight, req_->bw[oa], sumWeights(weight, nbLinks_),
        &views_->loads[oa]};
    stride_ += criterion == BALANCE ? kBalanceTerms : 1;
    if (criterion == BALANCE)
        gathered_[nbSums_++].after = steps_[nbSteps_ - 1].sums.after;
}

double ScoreTerms::Step::otherTerm(Long position) const {
    const ClassLoad l = loadAt(position);
    switch (criterion) {
        case LOAD:
            return weight * l.bw;
        case SQ_LOAD:
            return weight * squaredLoadIncrease(l);
        case REL_LOAD:
            return weight * l.bw / l.capacity;
        case SQ_REL_LOAD:
            return weight * squaredLoadIncrease(l) / (l.capacity * l.capacity);
        case DELAY:
            return delayIncrease(l) * weight;
        default:
            return 0.0;
    }
}

double ScoreTerms::compute(Long position) {
    if (isSingle()) {
        const double only = steps_[0].term(position);
        if (!(only >= 0.0)) hasNegative_ = true;
        return only;
    }
    double* out = termsOf(position);
    double rise = 0.0;
    Gathered* gathered = gathered_;
    for (int i = 0; i < nbSteps_; i++) {
        const Step& step = steps_[i];
        if (step.criterion == BALANCE) {
            const LoadBalance balance = balanceOf(step.weight, step.loadAt(position));
            *out++ = balance.rise;
            *out++ = balance.fall;
            *out++ = balance.share;
            rise += balance.rise - balance.fall;
            size_ += std::abs(balance.rise) + std::abs(balance.fall);
            gathered->shares += balance.share;
            gathered->largest = std::max(gathered->largest, balance.share);
            gathered->smallest = std::min(gathered->smallest, balance.share);
            gathered++;
        } else {
            *out = step.term(position);
            rise += *out;
            size_ += std::abs(*out);
            if (!(*out++ >= 0.0)) hasNegative_ = true;
        }
    }
    leastRise_ = std::min(leastRise_, rise);
    return 0.0;
}

void ScoreTerms::clearSums(Long node) {
    for (Long k = 0; k < nbSums_; k++) sums(node)[k] = 0.0;
}

void ScoreTerms::addUtilisation(Long node, Long position) const {
    double* sum = sums(node);
    for (int i = 0; i < nbSteps_; i++) {
        if (steps_[i].criterion != BALANCE) continue;
        const ClassLoad link = steps_[i].loadAt(position);
        *sum++ += link.load / link.capacity;
    }
}

// What a sum of utilisations takes off is most where it is largest, on a path that has
// gathered the shares of all links. If links add something even then, and more than
// rounding can take away, they do so on every path.
void ScoreTerms::findFalls(Long src) {
    double least = leastRise_;
    double size = size_;
    for (Long k = 0; k < nbSums_; k++) {
        const Gathered& gathered = gathered_[k];
        const double most = sums(src)[k] + gathered.shares;
        // Only weights above 0 take something off.
        const double after = std::min(gathered.after, 0.0);
        least += after * gathered.largest * (2.0 * most + gathered.largest);
        size += std::abs(gathered.after) * most * most;
        if (!(sums(src)[k] >= 0.0 && gathered.smallest >= 0.0)) return;
    }
    alwaysRises_ = least > 1e-12 * size;
}

void ScoreTerms::electSums(Long position, Long tail, Long head) {
    const double* from = sums(tail);
    double* to = sums(head) + nbSums_;
    for (int i = 0; i < nbSteps_; i++) {
        if (steps_[i].criterion != BALANCE) continue;
        const ClassLoad link = steps_[i].loadAt(position);
        *to++ = link.bw / link.capacity + *from++;
    }
}

double ScoreTerms::oddScore(const DBLinkState* ls, double tailCost, Long tail) const {
    double byClass[kClasses] = {};
    const double* sum = nbSums_ > 0 ? sums(tail) : nullptr;
    for (int i = 0; i < nbSteps_; i++)
        if (steps_[i].criterion == BALANCE) byClass[steps_[i].oa] = *sum++;
    double score = tailCost;
    if (!addTerms(ls, req_, byClass, nbLinks_, &score)) return kInfinity;
    return priced(score);
}

void ScoreTerms::noteOdd(const DBLinkState* ls) {
    // A score that is not a number beats none.
    if (nbSums_ > 0 || !std::isnan(oddScore(ls, 0.0, 0))) hasNegative_ = true;
}
