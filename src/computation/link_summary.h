// What searches read of the links, kept between calls.
//
// Private to the library. A trial setup on every link costs a walk over the link's
// failures and sums over its tables; but all that a request changes there is one level of
// its own classes and the needs of a few failures. What it reads of the rest is summed up
// here, once per change of the link, back to back in the order of the topology's
// out-links (bench/primary.cpp).
#pragma once

#include "computation/computation_st.h"
#include "database/stored_link.h"
#include "database/workspace.h"

struct LinkSummary {
    double excess;  // by how much rbw, computed anew, would exceed what it is now
    Long color;
    std::uint8_t ownNeed;  // classes in which the failure of the link, or of its head, is
                           //   among the worst here: a primary frees bandwidth then
    bool isPlain;          // not packed: nothing is known about it
    bool isExact;          // sums are exact (grain.h): only then the rest of this holds
    bool isFinite;         // capacities and loads are of reasonable size
    // Classes whose capacity the reservation of the levels up to p exceeds.
    std::uint8_t overfull[kLevels];
};

// One class of one link.
struct ClassSummary {
    double cap;
    double load;   // pbw of all levels
    double worst;  // worst need of all levels: load + worst is reserved in all
    // The congestion cost of a load x is slope * x + shift, that of `load` is cost.
    double slope;
    double shift;
    double cost;
};

struct LinkSummaries {
    const DBTopology* topology;
    const SummaryState* state;
    LinkSummary* links;               // by position among the out-links
    ClassSummary* classes[kClasses];  // likewise; null for a class not read
    // Reserved by the levels up to p, at [p * nbLinks + position].
    double* levelSums[kClasses];
    Long nbLinks;
    unsigned asked;  // classes with bandwidth, as bits
    bool isExact;    // the bandwidth asked for leaves sums exact, too
};

// Brings the summaries of all links up to date for somebody who asks for the bandwidths
// bw and reads the classes whose bits are set. -1, without a message, if there is no
// memory.
int refreshSummaries(DataBase* dataBase, const DBTopology* topology,
                     const double (&bw)[kClasses], unsigned classes,
                     LinkSummaries* summaries);

// Judges the link at a position as isValidRequestLink would, for a primary request whose
// path is not known yet. `trial` is the request as an LSP; its path is overwritten.
bool admits(DataBase* dataBase, const LinkSummaries& summaries, Long position,
            LSPRequest* req, DBLabelSwitchedPath* trial);

// Admission by the summaries alone, where they tell.
class QuickAdmission {
  public:
    QuickAdmission(const LinkSummaries& summaries, const LSPRequest* req);

    // True only if the link takes the request.
    bool admits(Long position) const {
        const LinkSummary& link = links_[position];
        if (!isUsable_ || !link.isExact) return false;
        if ((link.overfull[level_] & notAsked_) != 0) return false;
        return !(levelSums_[position] + bw_ > classes_[position].cap);  // also if NaN
    }

    // Of a link that it does not admit: whether that is to be asked another way.
    bool isUnsure(Long position) const {
        const LinkSummary& link = links_[position];
        return !isUsable_ || !link.isExact || (link.ownNeed & ~notAsked_) != 0;
    }

  private:
    const LinkSummary* links_;
    const ClassSummary* classes_ = nullptr;  // of the class asked for
    const double* levelSums_ = nullptr;      // and up to the level asked for
    double bw_ = 0.0;
    Long level_ = 0;
    unsigned notAsked_ = 0;  // the other classes, as bits
    bool isUsable_ = false;
};
