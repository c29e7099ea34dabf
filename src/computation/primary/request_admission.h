// Which links take a primary request whose path is not known yet.
//
// Private to the library; verdicts are those of isValidRequestLink. What is known of a
// link decides at once unless it is close; then the link itself is asked.
#pragma once

#include "computation/computation_st.h"
#include "database/live/live.h"
#include "database/lsp.h"
#include "predicate/link_trial.h"

// Whether the request is of the kind: a primary of a level there is, a path with known
// ends and something unknown between them, and a partner, if any, all of whose links
// exist.
bool canBeSearched(DataBase* dataBase, const LSPRequest* req);

class RequestAdmission {
  public:
    RequestAdmission(DataBase* dataBase, const LSPRequest* req)
        : dataBase_(dataBase),
          live_(dataBase->live),
          req_(req),
          trial_(dataBase, &lsp_) {}

    // Brings the views up to date, for classes (as bits) that scores read besides. False
    // if there is no memory.
    bool prepare(unsigned classes);

    // Whether the link at a position of the graph takes the request.
    bool admits(Long position, Long tail) {
        if (isPlain_) {
            if (bw_ <= rooms_->sure[position]) return true;
            if (bw_ > rooms_->most[position]) return false;
        }
        return admitsSlowly(position, tail);
    }

    // What decides on amount() unless it is close; null where more has to be looked at.
    const Rooms* rooms() const { return isPlain_ ? rooms_ : nullptr; }
    double amount() const { return bw_; }

    // True if a link could not be judged for lack of memory.
    bool hasFailed() const { return hasFailed_; }

  private:
    bool admitsSlowly(Long position, Long tail);
    bool fitsInto(Long position, Long tail);
    bool admitsOnTrial(Long position, Long tail);

    DataBase* dataBase_;
    Live* live_;
    const LSPRequest* req_;
    ScopedLSP lsp_;  // the request, its path one link
    LinkTrial trial_;
    unsigned asked_ = 0;  // classes with bandwidth, as bits
    unsigned othersThan_ = 0;
    int upTo_ = 0;        // levels up to this one are in the way
    bool isOdd_ = false;  // an amount that is infinite or less than nothing
    bool hasFailed_ = false;
    // One class is asked for, and nothing but its capacity counts:
    bool isPlain_ = false;
    double bw_ = 0.0;
    const Rooms* rooms_ = nullptr;
};
