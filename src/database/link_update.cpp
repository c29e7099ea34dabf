#include "database/link_update.h"

#include "database/booking.h"
#include "database/database.h"
#include "database/live/live.h"
#include "database/live/vectors.h"
#include "error/error.h"

#define ERROR_SOURCE "database/database.c"

namespace {

int book(DBLinkState* ls, const Booking& booking) {
    for (int oa = 0; oa < kClasses && booking.primary != nullptr; oa++)
        if (booking.primary[oa] != 0.0)
            ls->pbw[oa][booking.level] += booking.mult * booking.primary[oa];
    for (int oa = 0; oa < kClasses; oa++)
        if (bookVectors(ls, oa, booking) < 0) return -1;
    return 0;
}

}  // namespace

int updateLS(DataBase* dataBase, Long src, Long dst, DBLinkState* ls,
             DBLabelSwitchedPath* lsp, operation op) {
    if (dataBase == nullptr || ls == nullptr || lsp == nullptr)
        return FAIL_WITH(-1, "Bad argument (NULL)");
    Booker booker;
    if (booker.init(dataBase, lsp, &lsp->primPath) < 0) return -1;
    const int ret = booker.gather(src, dst, op);
    if (ret == 0) return 0;
    if (DBLink* link = findLink(&dataBase->linkTab, src, dst);
        link != nullptr && ls == &link->state)
        return bookLink(dataBase, link, booker.booking, ret > 0);
    if (book(ls, booker.booking) < 0 || ret < 0) return -1;
    computeRBW(dataBase, ls->rbw, ls->pbw, ls->bbw, ls->fbw);
    return 0;
}

int DBupdateLSOnSetup(DataBase* dataBase, Long src, Long dst, DBLinkState* ls,
                      DBLabelSwitchedPath* lsp) {
    return updateLS(dataBase, src, dst, ls, lsp, SETUP);
}

int DBupdateLSOnRemove(DataBase* dataBase, Long src, Long dst, DBLinkState* ls,
                       DBLabelSwitchedPath* lsp) {
    return updateLS(dataBase, src, dst, ls, lsp, REMOVE);
}
