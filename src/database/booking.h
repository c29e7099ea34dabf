// The rules of booking: what an LSP changes on one of the links that it concerns.
//
// Private to the library. Everything that books, on a stored link, on a caller's state or
// on trial, asks here what there is to book; the rules stand in no other place.
//
// A primary is booked in pbw of its links and, on each of them, in fbw against the
// failure of every link that it crosses. A backup is booked in bbw of its own links
// against the failures that it protects from. On links of its primary where the primary
// keeps flowing when the protected link fails, it takes back what the primary has booked
// in fbw.
#pragma once

#include "common/array.h"
#include "database/link_update.h"

// mult * amounts, class by class, in one failure's element of fbw if `freed`, else of
// bbw.
struct FailureChange {
    Long failure;  // link id, and the ends of that link
    Long tail;
    Long head;
    Long order;  // in which the changes of a cell are made
    bool freed;
    double mult;
    const double* amounts;  // of the LSP or of the booking
};

// What one LSP changes on one link, all at one level.
struct Booking {
    int level;
    double mult;            // of `primary`
    const double* primary;  // amounts for pbw, null for a backup
    double newBW[kClasses];
    Array<FailureChange> changes;  // by head, tail and order
    unsigned classes;              // in which these have amounts, as bits
};

// Books one LSP on link after link. Its path is looked up once, so that a path of h hops
// costs h lookups instead of h on each of its links.
//
//     Booker booker;
//     booker.init(dataBase, lsp, &lsp->primPath);
//     booker.gather(src, dst, SETUP);   // for every link, then booker.booking
class Booker {
  public:
    Booker() = default;
    ~Booker();
    Booker(const Booker&) = delete;
    Booker& operator=(const Booker&) = delete;

    // -1, with a message, if there is no memory. LSP and lists have to stay as they are.
    int init(DataBase* dataBase, const DBLabelSwitchedPath* lsp,
             const LongList* primPath);

    // 1 if the LSP concerns the link from src to dst, 0 if not. -1, with messages, if a
    // link that it names does not exist: the booking then has the changes up to there.
    int gather(Long src, Long dst, operation op);

    Booking booking = {};

  private:
    struct Hop {
        Long tail;
        Long head;
        const DBLink* link;  // null if there is none
    };

    int resolve(const LongList* nodes, Array<Hop>* hops);
    void findPartner(Long src, Long dst);
    int add(const Hop& hop, bool freed, double mult, const double* amounts);
    int addHops(Long from, Long to, bool freed, double mult);
    int gatherPrimary();
    int gatherLocalBackup();
    int gatherGlobalBackup();
    int dispatch();
    const double* amounts() const { return rerouting_ ? booking.newBW : lsp_->bw; }

    DataBase* dataBase_ = nullptr;
    const DBLabelSwitchedPath* lsp_ = nullptr;
    const LongList* primPath_ = nullptr;
    Array<Hop> hops_ = {};
    Array<Hop> primHops_ = {};
    bool isForAllLinks_ = false;  // the booking at hand serves every link of the path
    double mult_ = 0.0;
    // Of the link at hand:
    const DBLabelSwitchedPath* partner_ = nullptr;
    bool onPath_ = false;
    bool rerouting_ = false;  // its partner crosses it, too
    Long primHop_ = -1;       // its hop on the primary's path
};

// Sorts changes by head and tail; those of one cell keep their order.
void sortChanges(Array<FailureChange>* changes);

// Pushes what is to be said of a hop without a link, and is -1.
int failForLink(Long tail, Long head);

// Index of the first entry equal to node, from index `from` on, or -1.
Long indexOf(const LongList* nodes, Long node, Long from = 0);

// Index of the hop (src, dst) on a list of nodes, or -1. Only the first occurrence of src
// is looked at.
Long hopIndex(const LongList* nodes, Long src, Long dst);
