// The link scores of one request, prepared: what makeScore adds for a link, computed
// once.
//
// Private to the library. Terms are added one by one in makeScore's order; criteria that
// add exactly 0 everywhere are left out. The load balance terms depend on the path that
// leads to the link, through its sums of utilisations; they keep what does not.
#pragma once

#include "common/setup.h"
#include "computation/link_summary.h"
#include "database/workspace.h"

// Smaller improvements count as none.
constexpr double kMinGain = 1e-10;

// The classes whose summaries a request's scores and admission read, as bits.
unsigned classesToRead(const LSPRequest* req);

// Links by their positions among the out-links.
class ScoreTerms {
  public:
    // -1 if there is no memory.
    int init(DBWorkspace* work, const LinkSummaries& summaries, const LSPRequest* req);

    // Computes the terms of a link.
    void compute(Long position);

    // The score at the head of a link, from the label of its tail.
    double score(Long position, double tailCost, Long tail) const {
        const double* term = terms_ + static_cast<std::ptrdiff_t>(position) * stride_;
        if (nbSums_ > 0) return balancedScore(term, tailCost, tail);
        double score = tailCost;
        for (Long k = 0; k < stride_; k++) score += term[k];
        return priced(score);
    }

    // Whether a path can only get dearer with every link.
    bool neverFalls() const { return nbSums_ == 0 && !hasNegative_; }

    // Sums per class with load balance, by node: as committed, and of the candidate.
    bool hasSums() const { return nbSums_ > 0; }
    void clearSums(Long node);
    void addUtilisation(Long node, Long position) const;
    void elect(Long position, Long tail, Long head);
    void activate(Long node);

  private:
    enum Criterion { CONGESTION, BALANCE, LOAD, SQ_LOAD, REL_LOAD, SQ_REL_LOAD, DELAY };
    struct Step {
        Criterion criterion;
        int oa;
        double weight;
    };
    static constexpr int kMaxSteps = 7 * kClasses;
    static constexpr Long kBalanceTerms = 3;

    // Without rerouting prices, the factor of the score is 0; infinity times it is not.
    static double priced(double score) {
        return score > 0.0 ? score + score * 0.0 : score;
    }

    void addStep(Criterion criterion, int oa, double weight);
    double term(const Step& step, const ClassSummary& sum) const;
    double balancedScore(const double* term, double tailCost, Long tail) const;
    double* sums(Long node) const { return sums_ + 2 * nbSums_ * node; }

    const LSPRequest* req_ = nullptr;
    const LinkSummaries* summaries_ = nullptr;
    double nbLinks_ = 0.0;
    Step steps_[kMaxSteps];
    int nbSteps_ = 0;
    Long stride_ = 0;  // terms of a link
    bool hasNegative_ = false;
    Long nbSums_ = 0;
    double* terms_ = nullptr;
    double* sums_ = nullptr;
};
