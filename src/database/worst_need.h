// The worst need of a link's failures, class by class: what rbw adds to pbw.
//
// Private to the library. The results are those of computeRBW, to the last bit. Where a
// book's sums are exact (grain.h) the worst need is kept in step with the book, and a
// trial asks only the failures that it changes; else all that can need anything are
// asked, with sums in computeRBW's order.
#pragma once

#include "database/link_book.h"

// What a trial would add, in bbw or fbw (if `freed`) of one failure: mult * amounts, per
// class.
struct BookChange {
    Long failure;
    bool freed;
    double mult;
    const double* amounts;
};

struct BookChangeVec {
    Long size;
    Long top;
    BookChange* cont;
};

// A trial: changes that are not made, all at one level. They may only add to needs
// (`raises`), which spares a walk over all failures.
struct BookTrial {
    const BookChangeVec* changes;
    int level;
    bool raises;
};

// By how much a trial shifts the balances of failures, in one class.
struct BalanceShifts {
    IdMap<double> links;
    IdMap<double> nodes;
};

// The worst need of a class, computed if it is not known.
const WorstNeed& worstNeed(DataBase* dataBase, const DBTopology* topology, LinkBook* book,
                           int oa);

// The worst need that class oa would have with the changes of a trial.
WorstNeed worstNeedAfter(DataBase* dataBase, const DBTopology* topology, LinkBook* book,
                         int oa, const BookTrial& trial);

// Whether the failure of a link, or of the node that it enters, needs as much as any in
// the class at some level of a book that is balanced. The worst need has to be known.
bool isAmongWorst(const DBTopology* topology, const BookClass* cls, Long failure);
