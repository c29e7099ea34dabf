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
    bool admits(Long position, Long tail);

    // Whether the rooms of links decide, unless it is close or something else counts.
    bool roomDecides() const { return !needsRoom_ || (asked_ != 0 && !isOdd_); }
    // Calls act(amount, rooms) for every class in which room is needed.
    template <class Act>
    void forEachRoom(Act act) const {
        for (int oa = 0; oa < kClasses && needsRoom_; oa++)
            if ((asked_ >> oa & 1U) != 0)
                act(req_->bw[oa], live_->views.rooms[oa][upTo_]);
    }

    // Calls act(position) for the links where something else counts.
    template <class Act>
    void forEachSpecial(Act act) const {
        const Array<LinkView>& views = live_->views.links;
        for (Long i = 0; (isColored_ || !needsRoom_) && i < views.top; i++)
            if ((isColored_ && isForbidden(i)) || (!needsRoom_ && views[i].isOdd)) act(i);
        for (const Long position : shared_) act(position);
    }

    // True if a link could not be judged for lack of memory.
    bool hasFailed() const { return hasFailed_; }

  private:
    bool isForbidden(Long position) const {
        return indexOf(&req_->forbidLinks, live_->views.links[position].color) >= 0;
    }
    bool listShared();
    bool prepareTrial();
    bool fitsInto(Long position, Long tail);
    bool admitsOnTrial(Long position, Long tail);

    DataBase* dataBase_;
    Live* live_;
    const LSPRequest* req_;
    ScopedLSP lsp_;  // the request, its path one link; prepared for the first trial
    LinkTrial trial_;
    bool needsRoom_ = true;
    unsigned asked_ = 0;  // classes with bandwidth, as bits
    unsigned othersThan_ = 0;
    int upTo_ = 0;        // levels up to this one are in the way
    bool isOdd_ = false;  // an amount that is infinite or less than nothing
    bool hasFailed_ = false;
    bool isColored_ = false;  // links of some colours are not to be taken
    ScopedArray<Long>
        shared_;  // positions of the partner's links, and of the one to avoid
};
