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
    // What a link that does not take the request adds.
    static constexpr double kClosed = std::numeric_limits<double>::infinity();

    RequestLinks(DataBase* dataBase, const LSPRequest* req);

    // False if there is no memory.
    bool prepare(Long src);

    // Judges all links but those left out, by position, if any are. False if one cannot
    // be judged for lack of memory.
    bool admit(const bool* isLeftOut);

    // By position: kClosed; a number that is none where oddScore() has to be asked;
    // otherwise what is to be added to the score of the tail, if isSingle().
    const double* added() const { return added_.cont; }
    bool isSingle() const { return terms_.isSingle(); }
    // Whether links out of a node have to be scored term by term.
    bool hasOdd(Long tail) const { return hasOdd_[tail]; }

    // The score by way of a link that takes the request, from that of its tail: of one
    // whose score is made term by term, and of the others if not isSingle().
    double oddScore(Long position, double tailCost, Long tail) const {
        return terms_.oddScore(&graph_->out[position].link->state, tailCost, tail);
    }
    ScoreTerms::Scorer scorer(double tailCost, Long tail) const {
        return {terms_, tailCost, tail};
    }

    // Whether a path can only get dearer with every link.
    bool neverFalls() const { return terms_.neverFalls(); }

    // No link into n offers less if the scores of tails are this at least, and scores
    // never fall.
    double leastOffer(Long n, double tailCost) const;

    // Sums of utilisations (score_terms.h); that of the source is over all links that
    // take the request.
    void sumUtilisations(Long src);
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
    bool admitByRoom();
    template <class Term>
    void admitByRoom(const Rooms& rooms, Term term);
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
    // Of networks where some links lead to nodes that do not lead back, or for sums of
    // utilisations: nodes reached through any links, in the order of the walk.
    ScopedArray<Long> order_;
    ScopedArray<bool> strangers_;
    bool hasStrangers_ = false;
    Long size_ = 0;  // ids of these nodes lie below
};
