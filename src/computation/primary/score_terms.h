// The link scores of one request, prepared: what makeScore adds for a link, computed
// once.
//
// Private to the library. Terms are added one by one in makeScore's order, those that are
// exactly 0 left out. The load balance terms depend on the path that leads to the link,
// through its sums of utilisations; they keep what does not.
#pragma once

#include "common/setup.h"
#include "computation/primary/link_summary.h"
#include "database/workspace.h"

// Smaller improvements count as none.
constexpr double kMinGain = 1e-10;

// The classes whose summaries a request's scores and admission read, as bits.
unsigned classesToRead(const LSPRequest* req);

class ScoreTerms {
  public:
    // Computes the terms of the links for which isOpen(position) holds; -1 if there is no
    // memory.
    template <class IsOpen>
    int compute(DBWorkspace* work, const LinkSummaries& summaries, const LSPRequest* req,
                IsOpen isOpen) {
        if (init(work, summaries, req) < 0) return -1;
        const Long links = summaries.topology->firstIn[summaries.topology->nodeSlots];
        for (Long position = 0; position < links; position++) {
            first_[position] = nbTerms_;
            if (isOpen(position)) computeLink(position);
        }
        first_[links] = nbTerms_;
        return 0;
    }

    // The score at the head of a link, from the label of its tail.
    double score(Long position, double tailCost, Long tail) const;

    // Whether a path can only get dearer with every link.
    bool neverFalls() const { return nbSums_ == 0 && !hasNegative_; }

    // Sums per class with load balance, by node: as committed, and of the candidate.
    bool hasSums() const { return nbSums_ > 0; }
    Long nbSums() const { return nbSums_; }
    double* sums(Long node) { return sums_ + 2 * nbSums_ * node; }
    void addUtilisation(double* sums, Long position) const;
    void elect(Long position, Long tail, Long head);
    void activate(Long node);

  private:
    int init(DBWorkspace* work, const LinkSummaries& summaries, const LSPRequest* req);
    void computeLink(Long position);
    void add(double term);

    const LSPRequest* req_ = nullptr;
    const LinkSummaries* summaries_ = nullptr;
    double nbLinks_ = 0.0;
    int classes_[kClasses] = {};  // classes that are read, ascending
    int nbClasses_ = 0;
    bool hasNegative_ = false;
    Long nbSums_ = 0;
    int sumClass_[kClasses] = {};  // the classes with load balance, ascending
    Long* first_ = nullptr;        // by position: where its terms begin
    double* terms_ = nullptr;
    Long nbTerms_ = 0;
    double* sums_ = nullptr;
};
