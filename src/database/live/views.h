// What searches read of the links, kept between calls.
//
// Private to the library. A trial setup on every link would read its failure tables and
// add up its levels; what a request reads of a link is summed up here instead, once after
// each change of the link, back to back in the order of the graph.
//
// Nothing here decides what a rounded sum has to: Rooms say how much surely fits and
// how much surely does not, with a margin for every rounding on the way, and between the
// two the link itself is asked.
#pragma once

#include <cstdint>

#include "common/array.h"
#include "database/live/graph.h"
#include "database/live/ledger.h"

struct LinkView {
    Long color;
    // Classes, as bits, in which the failure of the link, or of its head, is among the
    // worst here: a primary frees bandwidth then.
    std::uint8_t ownNeed;
    bool isOdd;    // capacity or load infinite, not a number or too large to multiply
    bool isFresh;  // rbw is what the tables give, in all classes
    std::uint8_t
        occupied;  // classes in which anything was ever booked or reserved, as bits
    // Classes whose capacity the reservation of the levels up to p exceeds.
    std::uint8_t overfull[kLevels];

    bool operator==(const LinkView&) const = default;
};

// Of one class, what may be added at a level or below. For most requests this is all that
// decides. Like LoadViews it is numbers in arrays of their own, so that a request can
// work on the numbers of several links at once.
struct Rooms {
    // Up to this it fits. Negative on links that want a look at more: odd ones, and those
    // where the reservation of another class exceeds its capacity.
    Array<double> sure;
    // Beyond this it does not, whatever a primary frees (ownNeed).
    Array<double> most;
};

// Primary bandwidth of one class. The congestion cost of a load x is slope * x + shift.
struct LoadViews {
    Array<double> load;  // of all levels
    Array<double> cap;
    Array<double> slope;
    Array<double> shift;
};

// What backups read of one class.
struct NeedView {
    double pbw[kLevels];
    Need worst;
    double cap;
    double below;     // the sum over rbw of the classes below this one
    double reserved;  // and of all classes
    Run cells;
};

// By position in the graph.
struct Views {
    bool isAligned;             // with the graph
    unsigned classes;           // that have been read so far, as bits
    unsigned levels[kClasses];  // likewise, of these
    unsigned needed;            // classes that backups have asked for
    Array<LinkView> links;
    LoadViews loads[kClasses];
    Rooms rooms[kClasses][kLevels];   // what is reserved up to the level stays
    Array<NeedView> needs[kClasses];  // by slot: they are too large to be moved
    Array<DBLink*> stale;             // links that have changed since
};

struct Live;

// What somebody reads of links: classes, as bits.
struct Wanted {
    unsigned loads;
    unsigned rooms;
    int level;  // of these
    unsigned needs;
};

// Brings the views up to date. False if there is no memory.
bool refreshViews(DataBase* dataBase, Live* live, const Wanted& wanted);

// Says that a link has changed.
void viewChanged(Views* views, DBLink* link);

// Say that a link has come to or gone from a position in the graph.
void addView(Views* views, Long position, DBLink* link);
void removeView(Views* views, Long position, const DBLink* link);

void endViews(Views* views);

// Whether the views that are not stale are what they would be made anew; `where` gets the
// ends of the first that is not.
bool checkViews(const Live* live, Long (&where)[2]);

// Whether an amount fits, where Rooms do not tell: the sum of the levels 0 to upTo of
// rbw, as it would be with `bw` more in pbw of a level, against the capacity. `worst` is
// the worst need of the class then.
bool fits(const DBLinkState* state, const double* worst, int oa, int level, double bw,
          int upTo);
