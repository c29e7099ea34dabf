// The link scores of one request, prepared: what makeScore adds for a link, computed
// once.
//
// Private to the library. Terms are added one by one in makeScore's order; criteria that
// add exactly 0 everywhere are left out. The load balance terms depend on the path that
// leads to the link, through its sums of utilisations; they keep what does not.
#pragma once

#include <cmath>
#include <limits>

#include "common/setup.h"
#include "computation/computation_st.h"
#include "computation/primary/score_formulas.h"
#include "database/live/live.h"

// Smaller improvements count as none.
constexpr double kMinGain = 1e-10;

// The classes whose loads a request's scores read, as bits.
unsigned classesToRead(const LSPRequest* req);

// Links by their positions among the out-links.
class ScoreTerms {
  public:
    // False if there is no memory. nbLinks is the database's count.
    bool init(const Live* live, Long nbLinks, const LSPRequest* req);

    enum Criterion { CONGESTION, BALANCE, LOAD, SQ_LOAD, REL_LOAD, SQ_REL_LOAD, DELAY };

    // One criterion of one class.
    struct Step {
        Criterion criterion;
        int oa;
        double weight;
        double bw;        // asked for
        SumWeights sums;  // of load balance
        const LoadViews* loads;

        double term(Long position) const {
            return criterion == CONGESTION
                       ? congestionTerm(loads->load[position], loads->slope[position],
                                        loads->shift[position])
                       : otherTerm(position);
        }
        double congestionTerm(double load, double slope, double shift) const {
            return weight * ((slope * (load + bw) + shift) - (slope * load + shift));
        }
        ClassLoad loadAt(Long position) const {
            return {loads->load[position], loads->cap[position], bw};
        }

      private:
        double otherTerm(Long position) const;
    };

    // Computes the terms of a link. Returns the term, if there is only one.
    double compute(Long position);
    // The only step, if there is just one.
    const Step& first() const { return steps_[0]; }
    // Whether a score is that of the tail plus one term, and priced.
    bool isSingle() const { return isSingle_; }

    // Without rerouting prices, the factor of the score is 0; infinity times it is not.
    static double priced(double score) {
        return score > 0.0 ? score + score * 0.0 : score;
    }

    // Scores at the heads of the links of one tail, from its label. A value of its own,
    // since members would be read again for every link.
    class Scorer {
      public:
        Scorer(const ScoreTerms& terms, double tailCost, Long tail)
            : tailCost_(tailCost),
              terms_(terms.terms_.cont),
              stride_(terms.stride_),
              steps_(terms.steps_),
              nbSteps_(terms.nbSteps_),
              sums_(terms.hasSums() ? terms.sums(tail) : nullptr) {}

        double operator()(Long position) const {
            const double* term = terms_ + static_cast<std::ptrdiff_t>(position) * stride_;
            if (sums_ != nullptr) return balanced(term);
            double score = tailCost_;
            for (Long k = 0; k < stride_; k++) score += term[k];
            return priced(score);
        }

      private:
        double balanced(const double* term) const {
            double score = tailCost_;
            const double* tailSum = sums_;
            for (int i = 0; i < nbSteps_; i++) {
                if (steps_[i].criterion != BALANCE) {
                    score += *term++;
                    continue;
                }
                const double sum = *tailSum++;
                const double newSum = sum + term[2];
                score = score + term[0] - term[1];
                if (std::isinf(newSum)) return std::numeric_limits<double>::infinity();
                score = addSums(score, steps_[i].sums, newSum, sum);
                term += kBalanceTerms;
            }
            return priced(score);
        }

        double tailCost_;
        const double* terms_;
        Long stride_;
        const Step* steps_;
        int nbSteps_;
        const double* sums_;  // null without load balance
    };

    // Whether a path can only get dearer with every link.
    bool neverFalls() const { return !hasNegative_ && (!hasSums() || alwaysRises_); }
    // Finds that out for load balance, once the terms of all links that take the request
    // and the sums of the source are there.
    void findFalls(Long src);

    // Sums per class with load balance, by node: as committed, and of the candidate.
    bool hasSums() const { return nbSums_ > 0; }
    void clearSums(Long node);
    void addUtilisation(Long node, Long position) const;
    // The score by way of a link whose terms are no ordinary numbers, term by term.
    double oddScore(const DBLinkState* ls, double tailCost, Long tail) const;
    // Says that such a link takes the request.
    void noteOdd(const DBLinkState* ls);
    void elect(Long position, Long tail, Long head) {
        if (nbSums_ > 0) electSums(position, tail, head);
    }
    void activate(Long node) {
        for (Long k = 0; k < nbSums_; k++) sums(node)[k] = sums(node)[nbSums_ + k];
    }

  private:
    static constexpr int kMaxSteps = 7 * kClasses;
    static constexpr Long kBalanceTerms = 3;

    void addStep(Criterion criterion, int oa, double weight);
    void electSums(Long position, Long tail, Long head);
    double* termsOf(Long position) const {
        return terms_.cont + static_cast<std::ptrdiff_t>(position) * stride_;
    }
    double* sums(Long node) const { return sums_.cont + 2 * nbSums_ * node; }

    const LSPRequest* req_ = nullptr;
    const Views* views_ = nullptr;
    double nbLinks_ = 0.0;
    Step steps_[kMaxSteps] = {};
    int nbSteps_ = 0;
    Long stride_ = 0;  // terms of a link
    bool isSingle_ = false;
    bool hasNegative_ = false;
    Long nbSums_ = 0;
    ScopedArray<double> terms_;
    ScopedArray<double> sums_;

    // Of all links whose terms have been computed, what tells whether scores can fall
    // where there is load balance: by class, the shares in sums of utilisations.
    struct Gathered {
        double after = 0.0;  // the weight of a sum's square
        double shares = 0.0;
        double largest = 0.0;
        double smallest = 0.0;
    };
    Gathered gathered_[kClasses];
    double leastRise_ = std::numeric_limits<double>::infinity();
    double size_ = 0.0;  // that no number in a score exceeds, but for squares of sums
    bool alwaysRises_ = false;
};
