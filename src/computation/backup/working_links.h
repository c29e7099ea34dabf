// The link states that one backup computation works on: those of the database, with the
// backups that were chosen so far booked on copies of the links they touch.
#pragma once

#include "computation/backup/backup_st.h"
#include "computation/backup/dijkstra.h"
#include "computation/computation_st.h"
#include "database/lsp.h"
#include "database/stored_link.h"

class WorkingLinks {
  public:
    WorkingLinks(DataBase* dataBase, const DBTopology* topology,
                 DBLabelSwitchedPath* primary, BackupType type)
        : dataBase_(dataBase), topology_(topology), primary_(primary), type_(type) {}
    ~WorkingLinks();
    WorkingLinks(const WorkingLinks&) = delete;
    WorkingLinks& operator=(const WorkingLinks&) = delete;

    // -1 if there is no memory.
    int init();

    // Starts the relaxations from a search node.
    int setTail(const CPDijkNode* node);

    // computeCost of a link that leaves that node, on the working states.
    double cost(const TopoLink& link, CPDijkNode* tail);

    // Applies a backup to the working states of the links on its path.
    void book(LSPRequest* req, operation op);

  private:
    struct Copy;

    LinkImage image(const TopoLink& link);
    Copy* copyOf(const TopoLink& link);
    DBLinkState* plainState(const TopoLink& link);

    DataBase* dataBase_;
    const DBTopology* topology_;
    DBLabelSwitchedPath* primary_;
    BackupType type_;
    ScopedLSP trial_;          // a backup whose path ends with the link under evaluation
    Copy** copies_ = nullptr;  // by link id; null where nothing is booked
    ScopedLongList copied_;    // ids of the links with a copy
    // Plain states of links that cannot be packed, by link id; made on demand.
    DBLinkState** lsList_ = nullptr;
};
