// What a primary path request reads of the links, kept between requests.
//
// Private to the library. A trial setup of a request on every link costs a walk over the
// link's failures and sums over its tables; but all that a request can change on a link
// is one level of its own classes, and what the failure of the link itself, or of the
// node it enters, frees there. The rest is summed up here once per change of the link,
// back to back in the order of the topology's in-links (bench/primary.cpp).
#pragma once

#include "computation/computation_st.h"
#include "database/stored_link.h"

struct LinkSummary {
    Long color;
    std::uint8_t ownNeed;  // classes in which the failure of the link, or of its head, is
                           //   among the worst here: a request frees bandwidth then
    bool isPlain;          // not packed: nothing is known about it
    bool isFinite;         // capacities and loads are of reasonable size
    // Classes whose capacity the levels up to p exceed; at kAllLevels: all levels.
    std::uint8_t refused[kLevels + 1];
};

constexpr int kAllLevels = kLevels;

// One class of one link, as it would be after an update that changes nothing.
struct ClassSummary {
    double rbw[kLevels];
    double pbw[kLevels];
    double worst[kLevels];   // worst need of all failures
    double others[kLevels];  // but for the link's own and its head's, if ownNeed says so
    double cap;
    double load;  // pbw of all levels
};

struct LinkSummaries {
    const DBTopology* topology;
    LinkSummary* links;               // by position among the in-links
    ClassSummary* classes[kClasses];  // likewise; null for a class not read
    unsigned asked;                   // classes with bandwidth, as bits
};

// Brings the summaries of all links up to date for a request that reads the classes whose
// bits are set. -1, without a message, if there is no memory.
int refreshSummaries(DataBase* dataBase, const DBTopology* topology,
                     const LSPRequest* req, unsigned classes, LinkSummaries* summaries);

// Judges the link at a position as isValidRequestLink would, for a request whose path is
// not known yet. `trial` is the request as an LSP; its path is overwritten.
bool admits(DataBase* dataBase, const LinkSummaries& summaries, Long position,
            LSPRequest* req, DBLabelSwitchedPath* trial);
