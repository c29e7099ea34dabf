// The links as one backup computation sees them: those of the database with the backups
// that it has chosen so far, and what one backup more would cost there.
//
// Private to the library. Costs and messages are those of computeCost on working copies
// of the link states, to the last bit, without the copies: a backup changes nothing on a
// link but what the failures need that it protects from, and only these are summed up
// anew.
#pragma once

#include "common/scoped.h"
#include "computation/backup/backup_request.h"
#include "computation/backup/backup_st.h"
#include "computation/computation_st.h"
#include "database/live/live.h"
#include "database/lsp.h"

class WorkingLinks {
  public:
    WorkingLinks(DataBase* dataBase, DBLabelSwitchedPath* primary, BackupType type)
        : dataBase_(dataBase), live_(dataBase->live), primary_(primary), type_(type) {}
    ~WorkingLinks();
    WorkingLinks(const WorkingLinks&) = delete;
    WorkingLinks& operator=(const WorkingLinks&) = delete;

    // False if there is no memory.
    bool init();

    // Says where the next backups start: which links of the primary they protect follows
    // from that. False if one of these does not exist.
    bool startAt(Long node);

    // Cost of the link at a position of the graph for a backup that comes by its tail; -1
    // if it is not to be used.
    double cost(Long position, Long tail);

    // What a link to the node costs at least, if the backups can be had at all.
    double leastCostTo(Long head) const {
        return hasOneLength_ ? lengthCost_ : lengthCost(primary_, head);
    }

    // Books a backup on the links of its path, or takes it off.
    int book(const LSPRequest* req, operation op);

  private:
    // What chosen backups change of a link.
    struct Overlay {
        Array<FailureChange> changes;
        Need worst[kClasses];
        double rbw[kClasses][kLevels];
    };
    // A link that the next backups protect, and the node that it enters.
    struct Failing {
        CellKey key;
        bool counts;                   // the failure of the link alone, too
        CellSets concerned[kClasses];  // links with cells of the node
    };
    // Links that have cells of all these nodes, and an active one of any, by 64 slots.
    struct Together {
        std::uint64_t all;
        std::uint64_t active;
    };

    bool gatherSets(int oa);
    Overlay* overlayOf(Long position, const DBLink* link);
    bool gatherTrial(const Overlay* overlay, bool alsoFrees);
    bool alsoFrees(Long tail, Long head) const;
    void raiseByTrial(Long position, int oa, bool alsoFrees, Need* worst) const;
    bool worstWithTrial(Long position, const Overlay* overlay, bool alsoFrees, int oa,
                        Need* worst);
    double costOf(Long position, const Overlay* overlay, bool isPlain,
                  const Need* worst) const;
    int failUnprotectable() const;

    DataBase* dataBase_;
    Live* live_;
    DBLabelSwitchedPath* primary_;
    BackupType type_;
    ScopedLSP backup_;
    unsigned asked_ = 0;  // classes with bandwidth, as bits
    bool isOdd_ = false;  // an amount that is not a number or less than nothing
    // What a failure without cells needs with the backup, [whether it also frees][class].
    Need alone_[2][kClasses] = {};
    bool hasOneLength_ = false;
    double lengthCost_ = 0.0;  // of any link, if it has
    // Hops of the primary that the next backups protect: from first to last - 1.
    Long first_ = 0;
    Long last_ = 0;
    bool isProtectable_ = false;
    bool isSimple_ = false;           // each enters another node, and amounts are not odd
    ScopedArray<Failing> protected_;  // these
    ScopedArray<Together> together_[kClasses];
    ScopedArray<bool> isOnPrimary_;  // by node
    Booking trial_ = {};
    ScopedArray<Long> overlayAt_;  // by position: index among the overlays, -1 for none
    ScopedArray<Overlay*> overlays_;
};
