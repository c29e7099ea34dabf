// A network in operation: a database with thousands of LSPs up, usually a third of them
// with local backups.
#pragma once

#include <vector>

#include "computation/computation.h"
#include "database/database.h"
#include "network.h"
#include "random.h"

constexpr int kUsedClasses = 2;
constexpr int kUsedLevels = 4;

using Path = std::vector<Long>;

// What a primary path request asks for.
struct Ask {
    Long id;
    Long src;
    Long dst;
    int oa;
    int level;
    double bw;
};

// How a network is filled.
struct Filling {
    Long offered;  // primaries
    int classes = kUsedClasses;
    // Demands one after the other, in class 0 and at level 0, scaled but not rounded: few
    // are numbers of single precision. Else drawn at random, of any class and level.
    bool inTurn = false;
    // Mean load of the primaries on shortest paths, as a share of the capacity. With the
    // backups about a third of the network is then reserved, and some links are full.
    double load = 0.2;
    int protectEvery = 3;  // every how many primaries get local backups; 0: none
    // Makes an odd amount of a whole number; null leaves it whole.
    double (*amount)(double whole, Random& random) = nullptr;
};

struct StateFacts {
    Long nodes, links;
    Long offered, primaries, protectedOnes, backups;
    double seconds;                         // to place the LSPs
    double median;                          // seconds for one that is offered
    double carried;                         // by all links, of primaries
    double reserved;                        // mean share of the capacities
    double linkBytes, lspBytes, allocated;  // resident, of the empty network and of what
};                                          //   was placed; all, as accounted

class State {
  public:
    // Places primaries one by one on the paths computed for them, and after every third
    // its local backups. Those that find no room are left out. Bandwidths are usually
    // whole numbers, so that sums are exact and removing what was placed leaves no trace.
    State(const Network& network, const Filling& filling);
    ~State() { DBdestroy(dataBase); }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    // Adds link `id` of the network; once more if it has been removed.
    void addLink(Long id, double capacity, Long color = 0);

    // Places a primary if there is room, with local backups if it is to be protected.
    void offer(const Ask& ask, bool isProtected);

    // A request of the kind that the network was filled with, under a free id.
    Ask draw();

    // A stored primary of two hops or more without backups.
    Long drawUnprotected() { return unprotected_[random_.below(unprotected_.size())]; }

    const Network& network;
    DataBase* dataBase;
    StateFacts facts = {};

  private:
    void addNetwork();
    void setScale();
    void fill();
    void protect(Long id);
    double amountOf(double whole);
    Ask next(Long index) const;

    Filling filling_;
    Random random_{1};
    double scale_ = 1.0;
    Long nextId_ = 0;
    std::vector<Long> unprotected_;
};

// Configures the process as jniinitKavril would, capacity clause, congestion cost only;
// with a stack and a pool of memory, as a session has them.
void configure(int classes = kUsedClasses);

// Without these.
void setConfiguration(int classes);

// Initialises a request, its path [src, -1, dst].
void initRequest(LSPRequest* req, const Ask& ask);
void setPath(LSPRequest* req, const Path& path);

// Initialises the LSP that a request with a path becomes.
void initLSP(DBLabelSwitchedPath* lsp, const LSPRequest& req);

// Initialises the LSP that a request of computeBackup becomes, at level 0 as the entry
// point does it.
void initBackup(DBLabelSwitchedPath* backup, const LSPRequest& req,
                const DBLabelSwitchedPath& primary, Long id);

inline Path nodesOf(const LongList& path) {
    return {path.cont, path.cont + path.top};
}

// What a link has left of its capacity in a class.
double freeBandwidth(DataBase* dataBase, const Link& link, int oa);

// An empty list.
struct RequestList : LSPRequestList {
    RequestList() { lspRequestListInit(this, -1); }
    ~RequestList() { lspRequestListEnd(this); }
    RequestList(const RequestList&) = delete;
    RequestList& operator=(const RequestList&) = delete;
};
struct IdList : ScopedLongList {
    IdList() { longVecInit(this, -1); }
};

// While it lives, nothing is written to standard output and standard error: searches for
// backups report there what they do not find.
class Muted {
  public:
    Muted();
    ~Muted();
    Muted(const Muted&) = delete;
    Muted& operator=(const Muted&) = delete;

  private:
    int saved_[2];
};

double secondsNow();

// Seconds that this thread has had of a processor. On a machine with other work the clock
// says little; on an idle one the two differ by what is waited for.
double threadSecondsNow();

double quantile(std::vector<double> values, double q);
