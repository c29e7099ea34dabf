// The links as one primary request sees them: which take it, and what they add to the
// score of a path.
//
// Private to the library. For most links two numbers of the views decide, and one term is
// all that they add: these are worked out for several links at a time. All others are
// judged one by one.
#pragma once

#include <cmath>
#include <limits>

#include "computation/primary/request_admission.h"
#include "computation/primary/score_terms.h"

class RequestLinks {
  public:
    static constexpr double kClosed = ScoreTerms::kClosed;

    RequestLinks(DataBase* dataBase, const LSPRequest* req);

    // False if there is no memory.
    bool prepare(Long src);

    // Judges all links but those left out, by position, if any are. False if one cannot
    // be judged for lack of memory.
    bool admit(const bool* isLeftOut);

    // By position: kClosed; kOdd where oddScore() has to be asked; otherwise what is to
    // be added to the score of the tail, if isSingle().
    const double* added() const { return added_.cont; }
    bool isSingle() const { return terms_.isSingle(); }

    // Writes the scores at the heads of a node's links, by way of these, from its own;
    // infinite or no numbers where links are closed or odd. If the others may not be
    // ordinary numbers, they are to be settled.
    void score(Long tail, double tailCost, double* scores) const {
        terms_.score(added_.cont, graph_->first[tail], graph_->first[tail + 1], tailCost,
                     tail, scores);
    }
    void settle(Long tail, double* scores) const {
        terms_.settle(tail, graph_->first[tail + 1] - graph_->first[tail], scores);
    }
    bool scoresOrdinarily(Long tail, double tailCost) const {
        return !hasOdd_[tail] && terms_.scoresOrdinarily(tailCost, tail);
    }
    double oddScore(Long position, double tailCost, Long tail) const {
        return terms_.oddScore(&graph_->out[position].link->state, tailCost, tail);
    }

    // Finds out whether a path can only get dearer with every link. With load balance, it
    // first adds up the sums of the source, over all links that take the request.
    void findFalls(Long src);
    bool neverFalls() const { return !hasNegative_ && terms_.neverFalls(); }

    // No link into n offers less if the scores of tails are this at least, and scores
    // never fall.
    double leastOffer(Long n, double tailCost) const;

    // Sums of utilisations (score_terms.h).
    bool hasSums() const { return terms_.hasSums(); }
    void elect(Long position, Long tail, Long head) {
        terms_.elect(position, tail, head);
    }
    void activate(Long node) { terms_.activate(node); }

    // Nodes that links lead to from where the topology knows no node: reaching one is an
    // error.
    bool hasStrangers() const { return hasStrangers_; }
    bool isStranger(Long n) const { return hasStrangers_ && strangers_[n]; }

  private:
    bool walkFrom(Long src);
    void admitByRoom();
    double judge(Long position, Long tail);
    void findStrangers();

    DataBase* dataBase_;
    Live* live_;
    Graph* graph_;
    const LSPRequest* req_;
    RequestAdmission admission_;
    ScoreTerms terms_;
    ScopedArray<double> added_;
    ScopedArray<bool> hasOdd_;  // by tail
    bool isConfigOdd_ = false;
    bool hasNegative_ = false;
    // Of networks where some links lead to nodes that do not lead back, or for sums of
    // utilisations: links into the nodes reached, as the walk has come to these.
    ScopedArray<Long> inOrder_;
    Long size_ = 0;  // ids of these nodes lie below
    ScopedArray<bool> strangers_;
    bool hasStrangers_ = false;
};
