// What the search for backups and its plain link cost have in common.
#pragma once

#include "computation/backup/backup_st.h"
#include "computation/backup/dijkstra.h"
#include "computation/computation_st.h"

// Fills an initialised request, but for its id and path, for a backup of the primary.
void fillBackupRequest(LSPRequest* req, const DBLabelSwitchedPath* primary,
                       BackupType type);

// Appends the nodes from dn back to the start of its search, then reverses the list:
// path = start, ..., dn and what the list held before, in reverse.
int pushChain(LongList* path, const CPDijkNode* dn);

// Cost of a link on which a backup of the primary changes rbw from before to after, or -1
// if that does not fit.
double costOfReservation(const double (*before)[kLevels], const double (*after)[kLevels],
                         const double* cap, const DBLabelSwitchedPath* primary, Long dst);

// The same from the sums over all of rbw, and the part that does not depend on them.
constexpr double kReservationWeight = 10.0 / 11.0;
double lengthCost(const DBLabelSwitchedPath* primary, Long dst);
inline double costOfIncrease(double before, double after, double lengthCost) {
    const double change = after - before;
    const double increase = change < 0.0 ? 0.0 : change;
    return increase * kReservationWeight + lengthCost;
}
