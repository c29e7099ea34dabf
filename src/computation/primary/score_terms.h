// The link scores of one request, prepared: what makeScore adds for a link, computed
// once.
//
// Private to the library. Terms are added one by one in makeScore's order; criteria that
// add exactly 0 everywhere are left out. The load balance terms depend on the path that
// leads to the link, through its sums of utilisations; they keep what does not. The terms
// of all links stand behind one another, criterion by criterion, so that several links
// are worked out at a time.
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
    // What a link that does not take the request adds, and one whose score has to be made
    // term by term.
    static constexpr double kClosed = std::numeric_limits<double>::infinity();
    static constexpr double kOdd = std::numeric_limits<double>::quiet_NaN();

    // nbLinks is the database's count. False if there is no memory.
    bool init(const Live* live, Long nbLinks, const LSPRequest* req);

    // Whether a score is that of the tail plus one term, and priced.
    bool isSingle() const { return nbTerms_ == 1; }

    // What links add, by position: kClosed where they do not take the request, kOdd where
    // scores are made term by term, else the only term, or 0 if there are more. Links are
    // worked out in blocks: such an array has room for one more block.
    static constexpr Long kBlock = 4;
    // Writes that for links that all take the request.
    void compute(double* added);
    // Looks at what those that are neither closed nor odd add, for findFalls(). Makes odd
    // those whose terms are not ordinary.
    void survey(double* added);
    // The same for a link that was left out as odd; returns what it adds, or kOdd.
    double surveyLink(Long position);
    // Says that an odd link takes the request.
    void noteOdd(const DBLinkState* ls);
    // Finds out whether a path can only get dearer with every link, whatever the sums of
    // utilisations along it; those of the source are known.
    void findFalls(Long src);
    bool neverFalls() const { return neverFalls_ && !hasOddFalls_; }

    // Writes the scores at the heads of the links from..end-1 of one tail, from its own;
    // infinite or no numbers where links are closed or odd.
    void score(const double* added, Long from, Long end, double tailCost, Long tail,
               double* scores) const;
    // Whether the other scores are ordinary numbers. If not, they are to be settled.
    bool scoresOrdinarily(double tailCost, Long tail) const {
        for (Long k = 0; k < nbSums_; k++)
            if (!(std::abs(sums(tail)[k]) <= kOrdinary)) return false;
        return std::abs(tailCost) <= kOrdinaryScore;
    }
    void settle(Long tail, Long nb, double* scores) const;
    // The score by way of any link, term by term.
    double oddScore(const DBLinkState* ls, double tailCost, Long tail) const;
    // Where paths can only get dearer, what no score by way of a link is less than, from
    // no less at its tail.
    double leastScore(const double* added, Long position, double tailCost) const {
        double scores[kBlock];
        score(added, position, position + 1, tailCost, nbNodes_, scores);
        return scores[0] - margin_;
    }

    // Sums per class with load balance, by node: as committed, and of the candidate.
    bool hasSums() const { return nbSums_ > 0; }
    void clearSums(Long node);
    // Adds those of links that are not closed, in the order given.
    void addUtilisations(Long node, const double* added,
                         const Array<Long>& positions) const;
    void elect(Long position, Long tail, Long head) {
        double* sum = sums(head) + nbSums_;
        for (Long k = 0; k < nbSums_; k++)
            sum[k] = steps_[balances_[k]].terms[2 * nbLinks_ + position] + sums(tail)[k];
    }
    void activate(Long node) {
        for (Long k = 0; k < nbSums_; k++) sums(node)[k] = sums(node)[nbSums_ + k];
    }

  private:
    // Terms and sums of utilisations up to the one, and scores of tails up to the other,
    // give finite scores: a class has nine terms, and weights of load balance are below
    // 1e100.
    static constexpr double kOrdinary = 1e80;
    static constexpr double kOrdinaryScore = 1e300;

    enum Criterion { CONGESTION, BALANCE, LOAD, SQ_LOAD, REL_LOAD, SQ_REL_LOAD, DELAY };

    // One criterion of one class.
    struct Step {
        Criterion criterion;
        int oa;
        double weight;
        double* terms;    // by position; of load balance rises, falls and shares
        SumWeights sums;  // of load balance
    };

    // What has been found out of the links that take the request, lane by lane: the i-th
    // of every block.
    using Lanes = double[kBlock];
    struct Found {
        Lanes leastTerm = {};
        Lanes leastRise = {kClosed, kClosed, kClosed, kClosed};  // but for sums
        Lanes size = {};  // no number in a score exceeds it, but for squares of sums
        Lanes shares[kClasses] = {};
        Lanes largest[kClasses] = {};
        Lanes smallest[kClasses] = {};
    };

    static constexpr int kMaxSteps = 7 * kClasses;

    static int nbTermsOf(const Step& step);
    void addStep(Criterion criterion, int oa, double weight);
    void compute(const Step& step, Long from, Long end, double* to) const;
    void surveyBlock(Long first, double* added);
    double* sums(Long node) const { return sums_.cont + 2 * nbSums_ * node; }

    const LSPRequest* req_ = nullptr;
    const Views* views_ = nullptr;
    Long nbLinks_ = 0;
    Long nbNodes_ = 0;
    double nbCounted_ = 0.0;
    Step steps_[kMaxSteps] = {};
    int nbSteps_ = 0;
    int nbTerms_ = 0;
    int balances_[kClasses] = {};  // which steps are of load balance
    Long nbSums_ = 0;
    Found found_;
    bool neverFalls_ = false;
    bool hasOddFalls_ = false;
    double margin_ = 0.0;        // for what rounds in sums of utilisations
    ScopedArray<double> terms_;  // term by term, of all links
    // By node; behind the last, those with which links add least.
    ScopedArray<double> sums_;
};
