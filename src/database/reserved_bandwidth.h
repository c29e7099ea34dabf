// Bandwidth reserved on a link for its primaries and for the backups of the worst
// failure elsewhere.
#pragma once

#include "database/database_st.h"

// Derives rbw from the other tables of one link's state, all [class][level].
//
// A failure is that of one link, or of one node: all links that enter it. What a
// failure needs here at level p is the backup bandwidth it activates less the primary
// bandwidth it frees, summed over levels 0 to p, and not below 0. With M(p) the largest
// need of all failures, rbw[p] = pbw[p] + M(p) - M(p - 1): backups share their
// reservation, and the levels up to p add up to their primary bandwidth plus M(p).
// M may fall from one level to the next, so rbw may lie below pbw, even below 0.
//
// Link failures are taken in the order of ids until as many as the database's nbLinks
// have been seen, nodes likewise until nbNodes. Counts that node removals have
// lowered leave out the links with the highest ids.
int computeRBW(DataBase* dataBase, double rbw[kClasses][kLevels],
               double pbw[kClasses][kLevels], DoubleVec bbw[kClasses][kLevels],
               DoubleVec fbw[kClasses][kLevels]);

// rbw of one class from pbw and the worst needs, the M(p) above.
inline void addNeeds(const double (&worst)[kLevels], const double (&pbw)[kLevels],
                     double (&rbw)[kLevels]) {
    double oldM = 0.0;
    for (int p = 0; p < kLevels; p++) {
        rbw[p] = pbw[p] + worst[p] - oldM;
        oldM = worst[p];
    }
}
