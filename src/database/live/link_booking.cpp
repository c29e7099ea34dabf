// Booking on stored links, for good and on trial.

#include <algorithm>
#include <cstring>

#include "database/live/live.h"
#include "database/live/reservation.h"
#include "database/live/vectors.h"
#include "database/reserved_bandwidth.h"
#include "error/error.h"

#define ERROR_SOURCE "database/database.c"

namespace {

// rbw of one class from pbw and a worst need.
void reserve(const DBLink* link, int oa, const Need& worst, double (&rbw)[kLevels]) {
    addNeeds(worst.at, link->state.pbw[oa], rbw);
}

Need worstNow(const DBLink* link, int oa) {
    const LedgerClass* cls = link->ledger->classes[oa];
    return cls != nullptr ? cls->worst : Need{};
}

bool isZeroRow(const double (&row)[kLevels]) {
    return std::all_of(row, row + kLevels, [](double x) { return x == 0.0; });
}

// What a booking changes in a class.
struct Effect {
    bool onPrimary;
    bool onCells;
};

Effect effectOf(const Booking& booking, int oa) {
    return {booking.primary != nullptr && booking.primary[oa] != 0.0,
            (booking.classes >> oa & 1U) != 0};
}

int bookClass(Live* live, DBLink* link, int oa, const Booking& booking) {
    Ledger* ledger = link->ledger;
    LedgerClass* cls = classOf(ledger, oa);
    Need worst;
    CellNews news;
    bool hasRoom = cls != nullptr;
    for (const FailureChange& change : booking.changes)
        hasRoom = hasRoom && reachCells(live, ledger, oa, change.head);
    if (!hasRoom ||
        !worstAfter(cls, oa, booking, countedIn(live), &live->scratch, &worst) ||
        !bookCells(cls, oa, booking, &live->scratch, &news))
        return FAIL_WITH(-1, "Critical lack of memory");
    for (const FailureChange& change : booking.changes)
        if (change.amounts[oa] != 0.0) noteNews(live, ledger, oa, change.head, news);
    cls->worst = worst;
    return ledger->isMirrored ? bookVectors(&link->state, oa, booking) : 0;
}

}  // namespace

int bookLink(DataBase* dataBase, DBLink* link, const Booking& booking, bool isComplete) {
    Live* live = dataBase->live;
    Ledger* ledger = link->ledger;
    viewChanged(&live->views, link);
    int ret = 0;
    for (int oa = 0; oa < kClasses; oa++) {
        const auto [onPrimary, onCells] = effectOf(booking, oa);
        if (!onPrimary && !onCells) continue;
        ledger->occupied |= 1U << oa;
        ledger->stale |= 1U << oa;
        if (onPrimary)
            link->state.pbw[oa][booking.level] += booking.mult * booking.primary[oa];
        if (onCells && bookClass(live, link, oa, booking) < 0) ret = -1;
    }
    if (!isComplete || ret < 0) return -1;
    for (int oa = 0; oa < kClasses; oa++)
        if ((ledger->stale >> oa & 1U) != 0)
            reserve(link, oa, worstNow(link, oa), link->state.rbw[oa]);
    ledger->stale = 0;
    return 0;
}

bool tryLink(DataBase* dataBase, const DBLink* link, const Booking& booking,
             double (&rbw)[kClasses][kLevels]) {
    Live* live = dataBase->live;
    const Ledger* ledger = link->ledger;
    for (int oa = 0; oa < kClasses; oa++) {
        const auto [onPrimary, onCells] = effectOf(booking, oa);
        if (!onPrimary && !onCells && (ledger->stale >> oa & 1U) == 0) {
            const bool isOccupied = (ledger->occupied >> oa & 1U) != 0;
            for (int p = 0; p < kLevels; p++)
                rbw[oa][p] = isOccupied ? link->state.rbw[oa][p] : 0.0;
            continue;
        }
        Need worst = worstNow(link, oa);
        if (onCells && !worstAfter(ledger->classes[oa], oa, booking, countedIn(live),
                                   &live->scratch, &worst))
            return false;
        double pbw[kLevels];
        std::copy_n(link->state.pbw[oa], kLevels, pbw);
        if (onPrimary) pbw[booking.level] += booking.mult * booking.primary[oa];
        addNeeds(worst.at, pbw, rbw[oa]);
    }
    return true;
}

bool surelyFits(const DBLink* link, const Booking& booking, int upTo) {
    if (link->ledger->stale != 0 || upTo < 0 || upTo >= kLevels) return false;
    for (int oa = 0; oa < kClasses; oa++) {
        const auto [onPrimary, onCells] = effectOf(booking, oa);
        const double cap = link->state.cap[oa];
        if (onPrimary || onCells) {
            // Where failures need no more than before, the worst does not either.
            if (onCells && !raisesNone(booking, oa)) return false;
            const double more = onPrimary ? booking.mult * booking.primary[oa] : 0.0;
            const Reservation now =
                reservationOf(link->state.pbw[oa], worstNow(link, oa));
            const double left =
                std::min(surelyLeft(cap, now, upTo), surelyLeft(cap, now, kLevels - 1));
            if (!(more >= 0.0 && more <= left)) return false;
            continue;
        }
        const bool isOccupied = (link->ledger->occupied >> oa & 1U) != 0;
        double total = 0.0;
        for (int p = 0; p < kLevels; p++) {
            if (isOccupied) total += link->state.rbw[oa][p];
            if ((p == upTo || p == kLevels - 1) && !(total <= cap)) return false;
        }
    }
    return true;
}

void reservedNow(const DBLink* link, double (&rbw)[kClasses][kLevels]) {
    for (int oa = 0; oa < kClasses; oa++) reserve(link, oa, worstNow(link, oa), rbw[oa]);
}

void settleLink(const Live* live, DBLink* link) {
    Ledger* ledger = link->ledger;
    const DBLinkState* state = &link->state;
    for (LedgerClass* cls : ledger->classes)
        if (cls != nullptr) cls->worst = worstOf(cls, countedIn(live));
    // rbw is whoever's the state is from until the first booking.
    double rbw[kClasses][kLevels];
    reservedNow(link, rbw);
    ledger->occupied = ledger->stale = 0;
    for (int oa = 0; oa < kClasses; oa++) {
        if (ledger->classes[oa] != nullptr || !isZeroRow(state->pbw[oa]) ||
            !isZeroRow(state->rbw[oa]))
            ledger->occupied |= 1U << oa;
        if (std::memcmp(rbw[oa], state->rbw[oa], sizeof rbw[oa]) != 0)
            ledger->stale |= 1U << oa;
    }
}
