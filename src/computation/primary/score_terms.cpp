#include "computation/primary/score_terms.h"

#include <cmath>
#include <limits>

#include "computation/primary/score_formulas.h"

namespace {

const PrimaryComputationConfig& weights() {
    return kavrilConfig.primaryComputationConfig;
}

// Whether a class is scored by anything besides congestion.
bool hasCriteria(int oa) {
    const PrimaryComputationConfig& config = weights();
    return inUse(config.loadBal[oa]) || inUse(config.load[oa]) ||
           inUse(config.sqLoad[oa]) || inUse(config.relLoad[oa]) ||
           inUse(config.sqRelLoad[oa]) || inUse(config.delay[oa]);
}

}  // namespace

unsigned classesToRead(const LSPRequest* req) {
    unsigned classes = 0;
    for (int oa = 0; oa < kClasses; oa++)
        if (req->bw[oa] != 0.0 || hasCriteria(oa)) classes |= 1U << oa;
    return classes;
}

int ScoreTerms::init(DBWorkspace* work, const LinkSummaries& summaries,
                     const LSPRequest* req) {
    const PrimaryComputationConfig& config = weights();
    req_ = req;
    summaries_ = &summaries;
    nbLinks_ = static_cast<double>(summaries.topology->nbLinks);
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
    const Long nodes = summaries.topology->nodeSlots;
    terms_ = scratchArray<double>(&work->scratches[PRIMARY_TERMS],
                                  summaries.nbLinks * stride_);
    sums_ = scratchArray<double>(&work->scratches[PRIMARY_SUMS], 2 * nbSums_ * nodes);
    return terms_ != nullptr && sums_ != nullptr ? 0 : -1;
}

void ScoreTerms::addStep(Criterion criterion, int oa, double weight) {
    if (!inUse(weight)) return;
    steps_[nbSteps_++] = {criterion, oa, weight};
    stride_ += criterion == BALANCE ? kBalanceTerms : 1;
    if (criterion == BALANCE) nbSums_++;
}

double ScoreTerms::term(const Step& step, const ClassSummary& sum) const {
    const ClassLoad l = {sum.load, sum.cap, req_->bw[step.oa]};
    switch (step.criterion) {
        case CONGESTION:
            return step.weight * congestionIncrease(sum, l.bw);
        case LOAD:
            return step.weight * l.bw;
        case SQ_LOAD:
            return step.weight * squaredLoadIncrease(l);
        case REL_LOAD:
            return step.weight * l.bw / l.capacity;
        case SQ_REL_LOAD:
            return step.weight * squaredLoadIncrease(l) / (l.capacity * l.capacity);
        case DELAY:
            return delayIncrease(l) * step.weight;
        default:
            return 0.0;
    }
}

double ScoreTerms::computeAll(Long position) {
    double* out = terms_ + static_cast<std::ptrdiff_t>(position) * stride_;
    for (int i = 0; i < nbSteps_; i++) {
        const Step& step = steps_[i];
        const ClassSummary& sum = summaries_->classes[step.oa][position];
        if (step.criterion == BALANCE) {
            const LoadBalance balance =
                balanceOf(step.weight, {sum.load, sum.cap, req_->bw[step.oa]});
            *out++ = balance.rise;
            *out++ = balance.fall;
            *out++ = balance.share;
        } else {
            *out = term(step, sum);
            if (!(*out++ >= 0.0)) hasNegative_ = true;
        }
    }
    return 0.0;
}

double ScoreTerms::balancedScore(const double* term, double tailCost, Long tail) const {
    double score = tailCost;
    const double* tailSum = sums(tail);
    for (int i = 0; i < nbSteps_; i++) {
        if (steps_[i].criterion != BALANCE) {
            score += *term++;
            continue;
        }
        const double sum = *tailSum++;
        const double newSum = sum + term[2];
        score = score + term[0] - term[1];
        if (std::isinf(newSum)) return std::numeric_limits<double>::infinity();
        score = addSums(score, steps_[i].weight, newSum, sum, nbLinks_);
        term += kBalanceTerms;
    }
    return priced(score);
}

void ScoreTerms::clearSums(Long node) {
    for (Long k = 0; k < nbSums_; k++) sums(node)[k] = 0.0;
}

void ScoreTerms::addUtilisation(Long node, Long position) const {
    double* sum = sums(node);
    for (int i = 0; i < nbSteps_; i++) {
        if (steps_[i].criterion != BALANCE) continue;
        const ClassSummary& link = summaries_->classes[steps_[i].oa][position];
        *sum++ += link.load / link.cap;
    }
}

void ScoreTerms::electSums(Long position, Long tail, Long head) {
    const double* from = sums(tail);
    double* to = sums(head) + nbSums_;
    for (int i = 0; i < nbSteps_; i++) {
        if (steps_[i].criterion != BALANCE) continue;
        const int oa = steps_[i].oa;
        *to++ = req_->bw[oa] / summaries_->classes[oa][position].cap + *from++;
    }
}
