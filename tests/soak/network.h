// One session of the soak run: a network, what is up on it, and what happens to it next.
#pragma once

#include <cstdint>
#include <random>

#include "support/support.h"

// What sets sessions apart.
struct Habits {
    bool readsTables;   // holds on to link states: links then keep their tables in full
    bool exactAmounts;  // sums of them do not round
    bool removesNodes;
    bool careless;  // cuts links under LSPs: the tables then follow from nothing simple
};

// What happened, over all sessions.
struct Tally {
    std::int64_t operations, placed, backups, refused, preempted, removed, cut, restored;
    std::int64_t checks;
    std::size_t mostUp;  // LSPs up in one session
    double drift;        // of a cell from its recomputation, as a share of capacity
};

// Opens a session and closes it. Only one network acts at a time, as everywhere.
class Network {
  public:
    Network(const Habits& habits, unsigned seed, Tally* tally);
    ~Network();
    Network(const Network&) = delete;
    Network& operator=(const Network&) = delete;

    // Lets at least that many operations happen.
    void run(int operations);

    // Compares all tables with the recomputation.
    void check();

  private:
    struct Link {
        Long id, src, dst;
        double cap;
    };

    Long below(std::size_t n) { return static_cast<Long>(random_() % n); }
    bool chance(int percent) { return below(100) < percent; }
    double amount();
    Long anyUp() { return up_[random_() % up_.size()]; }
    bool isPresent(Long node) const;
    Long takeLspId(Long above);
    Long takeLinkId();

    void build();
    void step();
    bool add(Lsp&& lsp, const double* bw);
    Ids ends();
    void spread(double* bw);
    void place();
    void reroute();
    void placeElsewhere();
    void makeRoom();
    void protect();
    bool withdraw(Long id);
    void withdrawFrom(const Link& link);
    void withdrawSome();
    void addLink(Link link);
    void cutLink(std::size_t at);
    void restoreLink();
    void cutNode();
    void restoreNode();
    void changeTopology();
    void bookNothingEverywhere();

    Habits habits_;
    Tally* tally_;
    std::mt19937 random_;
    int session_ = -1;
    Ids up_, freeLspIds_, freeLinkIds_, nodes_, absentNodes_;
    std::vector<Link> links_, cut_;
    Long nextLspId_ = 0, nextLinkId_ = 0;
};
