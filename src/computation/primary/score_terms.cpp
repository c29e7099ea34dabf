#include "computation/primary/score_terms.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <numeric>

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// Whether a class is scored by anything besides congestion.
bool hasCriteria(const PrimaryComputationConfig& config, int oa) {
    return inUse(config.loadBal[oa]) || inUse(config.load[oa]) ||
           inUse(config.sqLoad[oa]) || inUse(config.relLoad[oa]) ||
           inUse(config.sqRelLoad[oa]) || inUse(config.delay[oa]);
}

// Without rerouting prices, the factor of the score is 0; infinity times it is not.
double priced(double score) {
    return score > 0.0 ? score + score * 0.0 : score;
}

double least(const double (&lanes)[ScoreTerms::kBlock]) {
    return *std::min_element(std::begin(lanes), std::end(lanes));
}

double largest(const double (&lanes)[ScoreTerms::kBlock]) {
    return *std::max_element(std::begin(lanes), std::end(lanes));
}

double total(const double (&lanes)[ScoreTerms::kBlock]) {
    return std::accumulate(std::begin(lanes), std::end(lanes), 0.0);
}

}  // namespace

unsigned classesToRead(const LSPRequest* req) {
    const PrimaryComputationConfig& config = kavrilConfig.primaryComputationConfig;
    unsigned classes = 0;
    for (int oa = 0; oa < kClasses; oa++)
        if (req->bw[oa] != 0.0 || hasCriteria(config, oa)) classes |= 1U << oa;
    return classes;
}

int ScoreTerms::nbTermsOf(const Step& step) {
    return step.criterion == BALANCE ? 3 : 1;
}

bool ScoreTerms::init(const Live* live, Long nbLinks, const LSPRequest* req) {
    const PrimaryComputationConfig& config = kavrilConfig.primaryComputationConfig;
    req_ = req;
    views_ = &live->views;
    nbLinks_ = live->graph.nbLinks();
    nbNodes_ = live->graph.nodeSlots();
    nbCounted_ = static_cast<double>(nbLinks);
    for (int oa = 0; oa < kClasses; oa++) {
        if (req->bw[oa] != 0.0) addStep(CONGESTION, oa, config.Fortz);
        addStep(BALANCE, oa, config.loadBal[oa]);
        addStep(LOAD, oa, config.load[oa]);
        addStep(SQ_LOAD, oa, config.sqLoad[oa]);
        addStep(REL_LOAD, oa, config.relLoad[oa]);
        addStep(SQ_REL_LOAD, oa, config.sqRelLoad[oa]);
        addStep(DELAY, oa, config.delay[oa]);
    }
    if (!makeRoom(&terms_, isSingle() ? 0 : nbLinks_ * nbTerms_ + kBlock) ||
        !makeRoom(&sums_, 2 * nbSums_ * (nbNodes_ + 1)))
        return false;
    double* terms = terms_.cont;
    for (int k = 0; k < nbSteps_ && !isSingle(); k++) {
        steps_[k].terms = terms;
        terms += static_cast<std::ptrdiff_t>(nbTermsOf(steps_[k])) * nbLinks_;
    }
    return true;
}

void ScoreTerms::addStep(Criterion criterion, int oa, double weight) {
    if (!inUse(weight)) return;
    if (criterion == BALANCE) balances_[nbSums_++] = nbSteps_;
    Step* step = &steps_[nbSteps_++];
    *step = {criterion, oa, weight, nullptr, sumWeights(weight, nbCounted_)};
    nbTerms_ += nbTermsOf(*step);
}

void ScoreTerms::compute(double* added) {
    if (isSingle()) {
        compute(steps_[0], 0, nbLinks_, added);
        for (Long i = 0; i < nbLinks_; i++)
            added[i] = std::abs(added[i]) <= kOrdinary ? added[i] : kOdd;
    } else {
        for (int k = 0; k < nbSteps_; k++)
            compute(steps_[k], 0, nbLinks_, steps_[k].terms);
        std::fill_n(terms_.cont + static_cast<std::ptrdiff_t>(nbTerms_) * nbLinks_,
                    kBlock, 0.0);
        std::fill_n(added, nbLinks_, 0.0);
    }
    std::fill_n(added + nbLinks_, kBlock, kClosed);
}

// Writes the terms of the links from..end-1; those of load balance are further apart.
void ScoreTerms::compute(const Step& step, Long from, Long end, double* to) const {
    const LoadViews& loads = views_->loads[step.oa];
    const double* const load = loads.load.cont + from;
    const double* const cap = loads.cap.cont + from;
    const double bw = req_->bw[step.oa];
    const double weight = step.weight;
    const Long nb = end - from;
    auto write = [=](double* term, auto makeTerm) {
        for (Long i = 0; i < nb; i++) term[i] = makeTerm(ClassLoad{load[i], cap[i], bw});
    };
    switch (step.criterion) {
        case CONGESTION: {
            const double* const slope = loads.slope.cont + from;
            const double* const shift = loads.shift.cont + from;
            for (Long i = 0; i < nb; i++)
                to[i] = weight * ((slope[i] * (load[i] + bw) + shift[i]) -
                                  (slope[i] * load[i] + shift[i]));
            break;
        }
        case BALANCE:
            write(to, [=](const ClassLoad& l) { return balanceOf(weight, l).rise; });
            write(to + nbLinks_,
                  [=](const ClassLoad& l) { return balanceOf(weight, l).fall; });
            write(to + 2 * nbLinks_,
                  [=](const ClassLoad& l) { return balanceOf(weight, l).share; });
            break;
        case LOAD:
            write(to, [=](const ClassLoad& l) { return weight * l.bw; });
            break;
        case SQ_LOAD:
            write(to,
                  [=](const ClassLoad& l) { return weight * squaredLoadIncrease(l); });
            break;
        case REL_LOAD:
            write(to, [=](const ClassLoad& l) { return weight * l.bw / l.capacity; });
            break;
        case SQ_REL_LOAD:
            write(to, [=](const ClassLoad& l) {
                return weight * squaredLoadIncrease(l) / (l.capacity * l.capacity);
            });
            break;
        case DELAY:
            write(to, [=](const ClassLoad& l) { return delayIncrease(l) * weight; });
            break;
    }
}

void ScoreTerms::survey(double* added) {
    for (Long first = 0; first < nbLinks_ && !isSingle(); first += kBlock)
        surveyBlock(first, added + first);
}

double ScoreTerms::surveyLink(Long position) {
    if (isSingle()) {
        double term;
        compute(steps_[0], position, position + 1, &term);
        return std::abs(term) <= kOrdinary ? term : kOdd;
    }
    const Long lane = position % kBlock;
    Lanes added;
    std::fill_n(added, kBlock, kClosed);
    added[lane] = 0.0;
    surveyBlock(position - lane, added);
    return added[lane];
}

// Of a block of links, those for which `added` is 0.
void ScoreTerms::surveyBlock(Long first, double* added) {
    Lanes leastTerm = {}, rise = {}, size = {};
    for (int k = 0; k < nbSteps_; k++) {
        const double* const term = steps_[k].terms + first;
        for (Long i = 0; i < kBlock; i++) {
            leastTerm[i] = std::min(leastTerm[i], term[i]);
            rise[i] += term[i];
            size[i] += std::abs(term[i]);
        }
        if (steps_[k].criterion != BALANCE) continue;
        const double* const fall = term + nbLinks_;
        const double* const share = fall + nbLinks_;
        for (Long i = 0; i < kBlock; i++) {
            rise[i] -= fall[i];
            size[i] += std::abs(fall[i]) + std::abs(share[i]);
        }
    }
    for (Long i = 0; i < kBlock; i++) {
        const double sizeIfOpen = added[i] == 0.0 ? size[i] : 0.0;
        added[i] = sizeIfOpen <= kOrdinary ? added[i] : kOdd;
    }
    for (Long i = 0; i < kBlock; i++) {
        const double term = added[i] == 0.0 ? leastTerm[i] : 0.0;
        const double sum = added[i] == 0.0 ? rise[i] : kClosed;
        found_.leastTerm[i] = std::min(found_.leastTerm[i], term);
        found_.leastRise[i] = std::min(found_.leastRise[i], sum);
        found_.size[i] += added[i] == 0.0 ? size[i] : 0.0;
    }
    for (Long k = 0; k < nbSums_; k++) {
        const double* const shares = steps_[balances_[k]].terms + 2 * nbLinks_ + first;
        for (Long i = 0; i < kBlock; i++) {
            const double share = added[i] == 0.0 ? shares[i] : 0.0;
            found_.shares[k][i] += share;
            found_.largest[k][i] = std::max(found_.largest[k][i], share);
            found_.smallest[k][i] = std::min(found_.smallest[k][i], share);
        }
    }
}

// What a sum of utilisations takes off is most where it is largest, on a path that has
// gathered the shares of all links. If links add something even then, and more than
// rounding can take away, they do so on every path.
void ScoreTerms::findFalls(Long src) {
    double rise = least(found_.leastRise);
    double size = total(found_.size);
    neverFalls_ = !hasSums() && least(found_.leastTerm) >= 0.0;
    for (Long k = 0; k < nbSums_; k++) {
        const double initial = sums(src)[k];
        const double most = initial + total(found_.shares[k]);
        const double share = largest(found_.largest[k]);
        if (!(initial >= 0.0 && least(found_.smallest[k]) >= 0.0)) return;
        // Only weights above 0 take something off.
        const double after = std::min(steps_[balances_[k]].sums.after, 0.0);
        rise += after * share * (2.0 * most + share);
        size += std::abs(after) * most * most;
        sums(nbNodes_)[k] = after < 0.0 ? most : initial;
    }
    if (neverFalls_) return;
    // Sums of utilisations round once a link, and all else some times for each term.
    margin_ = (nbLinks_ + 100.0) * 0x1p-50 * size;
    neverFalls_ = rise > margin_;
}

void ScoreTerms::score(const double* added, Long from, Long end, double tailCost,
                       Long tail, double* scores) const {
    const int nbSteps = isSingle() ? 0 : nbSteps_;
    const double* const tailSums = hasSums() ? sums(tail) : nullptr;
    for (Long first = from; first < end; first += kBlock) {
        double block[kBlock];
        for (Long i = 0; i < kBlock; i++) block[i] = tailCost + added[first + i];
        const double* tailSum = tailSums;
        for (int k = 0; k < nbSteps; k++) {
            const Step& step = steps_[k];
            const double* const term = step.terms + first;
            if (step.criterion != BALANCE) {
                for (Long i = 0; i < kBlock; i++) block[i] += term[i];
                continue;
            }
            const double* const fall = term + nbLinks_;
            const double* const share = fall + nbLinks_;
            const double sum = *tailSum++;
            for (Long i = 0; i < kBlock; i++)
                block[i] =
                    addSums(block[i] + term[i] - fall[i], step.sums, sum + share[i], sum);
        }
        std::copy_n(block, kBlock, scores + (first - from));
    }
}

void ScoreTerms::settle(Long tail, Long nb, double* scores) const {
    for (Long i = 0; i < nb; i++) scores[i] = priced(scores[i]);
    for (Long k = 0; k < nbSums_; k++)
        if (std::isinf(sums(tail)[k])) std::fill_n(scores, nb, kInfinity);
}

void ScoreTerms::clearSums(Long node) {
    for (Long k = 0; k < nbSums_; k++) sums(node)[k] = 0.0;
}

void ScoreTerms::addUtilisations(Long node, const double* added,
                                 const Array<Long>& positions) const {
    for (Long k = 0; k < nbSums_; k++) {
        const LoadViews& loads = views_->loads[steps_[balances_[k]].oa];
        const double* const load = loads.load.cont;
        const double* const cap = loads.cap.cont;
        double sum = sums(node)[k];
        for (const Long i : positions) {
            const double utilisation = load[i] / cap[i];
            sum += added[i] == kClosed ? 0.0 : utilisation;
        }
        sums(node)[k] = sum;
    }
}

double ScoreTerms::oddScore(const DBLinkState* ls, double tailCost, Long tail) const {
    double byClass[kClasses] = {};
    for (Long k = 0; k < nbSums_; k++) byClass[steps_[balances_[k]].oa] = sums(tail)[k];
    double score = tailCost;
    if (!addTerms(ls, req_, byClass, nbCounted_, &score)) return kInfinity;
    return priced(score);
}

void ScoreTerms::noteOdd(const DBLinkState* ls) {
    // A score that is not a number beats none.
    if (nbSums_ > 0 || !std::isnan(oddScore(ls, 0.0, 0))) hasOddFalls_ = true;
}
