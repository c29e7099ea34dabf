#include "computation/primary/score_terms.h"

#include <cmath>
#include <initializer_list>
#include <limits>

#include "computation/primary/score_formulas.h"

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

const PrimaryComputationConfig& weights() {
    return kavrilConfig.primaryComputationConfig;
}

// Criteria besides congestion that a class is scored by.
Long nbCriteria(int oa) {
    const PrimaryComputationConfig& config = weights();
    Long used = 0;
    for (double weight : {config.loadBal[oa], config.load[oa], config.sqLoad[oa],
                          config.relLoad[oa], config.sqRelLoad[oa], config.delay[oa]})
        if (inUse(weight)) used++;
    return used;
}

bool isRead(const LSPRequest* req, int oa) {
    return req->bw[oa] != 0.0 || nbCriteria(oa) > 0;
}

// Doubles that the load balance of a class takes among the terms of a link: the number of
// terms before it, and its three parts.
constexpr Long kBalanceSlots = 4;

}  // namespace

unsigned classesToRead(const LSPRequest* req) {
    unsigned classes = 0;
    for (int oa = 0; oa < kClasses; oa++)
        if (isRead(req, oa)) classes |= 1U << oa;
    return classes;
}

int ScoreTerms::init(DBWorkspace* work, const LinkSummaries& summaries,
                     const LSPRequest* req) {
    req_ = req;
    summaries_ = &summaries;
    nbLinks_ = static_cast<double>(summaries.topology->nbLinks);
    const Long nodes = summaries.topology->nodeSlots;
    const Long links = summaries.topology->firstIn[nodes];
    Long perLink = 0;
    for (int oa = 0; oa < kClasses; oa++) {
        if (!isRead(req, oa)) continue;
        classes_[nbClasses_++] = oa;
        perLink += 1 + nbCriteria(oa);
        if (!inUse(weights().loadBal[oa])) continue;
        perLink += kBalanceSlots;
        sumClass_[nbSums_++] = oa;
    }
    first_ = scratchArray<Long>(&work->scratches[PRIMARY_FIRST_TERMS], links + 1);
    terms_ = scratchArray<double>(&work->scratches[PRIMARY_TERMS], links * perLink);
    sums_ = scratchArray<double>(&work->scratches[PRIMARY_SUMS], 2 * nbSums_ * nodes);
    return first_ != nullptr && terms_ != nullptr && sums_ != nullptr ? 0 : -1;
}

void ScoreTerms::add(double term) {
    if (term == 0.0) return;
    terms_[nbTerms_++] = term;
    if (!(term > 0.0)) hasNegative_ = true;
}

void ScoreTerms::computeLink(Long position) {
    const PrimaryComputationConfig& config = weights();
    Long section = nbTerms_;  // where the terms up to the next load balance begin
    if (nbSums_ > 0) nbTerms_++;
    for (int i = 0; i < nbClasses_; i++) {
        const int oa = classes_[i];
        const ClassSummary& sum = summaries_->classes[oa][position];
        const ClassLoad l = {sum.load, sum.cap, req_->bw[oa]};
        add(config.Fortz * congestionIncrease(l));
        if (inUse(config.loadBal[oa])) {
            const Balance balance = balanceOf(config.loadBal[oa], l);
            terms_[section] = static_cast<double>(nbTerms_ - section - 1);
            terms_[nbTerms_++] = balance.rise;
            terms_[nbTerms_++] = balance.fall;
            terms_[nbTerms_++] = balance.share;
            section = nbTerms_++;
        }
        if (inUse(config.load[oa])) add(config.load[oa] * l.bw);
        if (inUse(config.sqLoad[oa])) add(config.sqLoad[oa] * squaredLoadIncrease(l));
        if (inUse(config.relLoad[oa])) add(config.relLoad[oa] * l.bw / l.capacity);
        if (inUse(config.sqRelLoad[oa]))
            add(config.sqRelLoad[oa] * squaredLoadIncrease(l) /
                (l.capacity * l.capacity));
        if (inUse(config.delay[oa])) add(delayIncrease(l) * config.delay[oa]);
    }
    if (nbSums_ > 0) terms_[section] = static_cast<double>(nbTerms_ - section - 1);
}

double ScoreTerms::score(Long position, double tailCost, Long tail) const {
    double score = tailCost;
    const double* term = terms_ + first_[position];
    const double* end = terms_ + first_[position + 1];
    for (Long k = 0; k < nbSums_; k++) {
        const auto before = static_cast<Long>(*term++);
        for (const double* last = term + before; term != last; term++) score += *term;
        const double sum = sums_[2 * nbSums_ * tail + k];
        const double newSum = sum + term[2];
        score = score + term[0] - term[1];
        if (std::isinf(newSum)) return kInfinity;
        score = addSums(score, weights().loadBal[sumClass_[k]], newSum, sum, nbLinks_);
        term += 3;
    }
    if (nbSums_ > 0) term++;  // the rest
    for (; term != end; term++) score += *term;
    // Without rerouting prices, the factor of the score is 0; infinity times it is not.
    return score > 0.0 ? score + score * 0.0 : score;
}

void ScoreTerms::addUtilisation(double* sums, Long position) const {
    for (Long k = 0; k < nbSums_; k++) {
        const ClassSummary& sum = summaries_->classes[sumClass_[k]][position];
        sums[k] += sum.load / sum.cap;
    }
}

void ScoreTerms::elect(Long position, Long tail, Long head) {
    const double* from = sums_ + 2 * nbSums_ * tail;
    double* to = sums_ + 2 * nbSums_ * head + nbSums_;
    for (Long k = 0; k < nbSums_; k++) {
        const int oa = sumClass_[k];
        to[k] = req_->bw[oa] / summaries_->classes[oa][position].cap + from[k];
    }
}

void ScoreTerms::activate(Long node) {
    double* sums = sums_ + 2 * nbSums_ * node;
    for (Long k = 0; k < nbSums_; k++) sums[k] = sums[nbSums_ + k];
}
