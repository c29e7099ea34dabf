// The search for backups where sums are exact.
//
// Private to the library. Finds the paths of the search in backup.cpp, by the same costs
// and ties, without a trial per link: if no sum rounds (grain.h), all that a link
// reserves is its primaries plus the worst need of all levels, and a backup changes only
// the needs of the failures it protects from. Those are read from their rows
// (need_rows.h) when a search begins; then a link costs a few operations
// (bench/backup.cpp).
#pragma once

#include "computation/backup/backup_st.h"
#include "computation/computation_st.h"
#include "computation/link_summary.h"
#include "database/workspace.h"

class ExactSearch {
  public:
    ExactSearch(DataBase* dataBase, const DBTopology* topology,
                const DBLabelSwitchedPath* primary)
        : dataBase_(dataBase), topology_(topology), primary_(primary) {}
    ~ExactSearch() { clearNeeds(); }
    ExactSearch(const ExactSearch&) = delete;
    ExactSearch& operator=(const ExactSearch&) = delete;

    // False if the searches cannot be done here; nothing has changed then.
    bool prepare();

    // Says from which hops of the primary the next searches protect: first to last - 1.
    void protect(Long first, Long last);

    // Searches from a node of the primary to the nearest of its nodes from index
    // firstGoal on, around forbidden links. Writes the path to an empty list, if there is
    // one.
    bool search(Long start, Long firstGoal, LongList* path);

    // Counts the backup that the last search has found as set up.
    void book(const LongList* path);

  private:
    // What the failures protected from need on a link.
    struct Needs {
        double most;
        Long nb;  // failures that have something to say here; the others need 0
    };
    struct Node {
        double val;  // best cost so far
        Long from;
        bool marked;  // settled
    };
    struct Entry {
        double key;
        Long order;  // of insertion
        Long node;
    };

    template <class Act>
    void forEachRow(Act act);
    void clearNeeds();
    bool readPath(Long goal, LongList* path) const;
    bool isGoal(Long node, Long firstGoal) const;
    Node* reach(Long id);
    void relaxNeighbours(Long id);
    double worstNow(Long position) const;
    double worstAfter(Long position, double bandwidth) const;
    double cost(Long position, double bandwidth) const;
    Long nextBefore(Long node) const;
    static bool isBefore(const Entry& a, const Entry& b);
    void push(double key, Long node);
    Long pop();

    DataBase* dataBase_;
    const DBTopology* topology_;
    const DBLabelSwitchedPath* primary_;
    DBWorkspace* work_ = nullptr;
    LinkSummaries summaries_ = {};
    const NeedRows* rows_ = nullptr;
    int oa_ = 0;  // the one class with bandwidth
    double bandwidth_ = 0.0;
    bool hasOneLength_ = false;
    double lengthCost_ = 0.0;  // of any link, if hasOneLength_
    Long firstHop_ = 0;
    Long lastHop_ = 0;
    Long nbFailures_ = 0;
    Needs* needs_ = nullptr;   // by position among the out-links
    double* worst_ = nullptr;  // likewise, of the links marked as booked
    Node* nodes_ = nullptr;    // by id
    Entry* queue_ = nullptr;   // a heap
    Long queued_ = 0;
    Long inserted_ = 0;
};
