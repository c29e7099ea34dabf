// What is measured, one row each: a function that does the work once, on a request or an
// LSP drawn at random, and times it.
#pragma once

#include <functional>

#include "floor.h"
#include "state.h"

struct Rig {
    Rig(const Network& network, Long offered) : state(network, offered), floor(state) {}

    State state;
    Floor floor;
    bool floorFirst = false;
};

struct Sample {
    double seconds = 0.0;
    double units = 1.0;         // hops or searches that the work consists of
    double floorSeconds = 0.0;  // of one search, beside the work; 0 for none
    // Throws if the answer was wrong; for later, because it is slow and spoils caches.
    std::function<void()> verify = [] {};
};

// primary.cpp; requests that have no path are not counted
Sample primaryRequest(Rig& rig);
Sample requestWithPreemption(Rig& rig);
Sample placement(Rig& rig);
Sample removal(Rig& rig);
// The request of primaryRequest by the operations that it consists of, one by one.
Sample plainRequest(Rig& rig);

// backup.cpp
Sample localProtection(Rig& rig);
Sample globalProtection(Rig& rig);

enum RowIndex { REQUEST, PREEMPT, PLACEMENT, REMOVAL, LOCAL, GLOBAL, NB_ROWS };

struct Row {
    const char* name;
    Sample (*measure)(Rig& rig);
};

inline constexpr Row kRows[NB_ROWS] = {
    {"primary request", primaryRequest},
    {"with preemption", requestWithPreemption},
    {"place", placement},
    {"remove", removal},
    {"local protection", localProtection},
    {"global protection", globalProtection},
};

template <class Work>
double timed(Work work) {
    const double start = secondsNow();
    work();
    return secondsNow() - start;
}

// Times the work and a floor search from src, now the one first and now the other.
template <class Work>
void timeBoth(Rig& rig, Long src, Sample* sample, Work work) {
    auto floor = [&] { sample->floorSeconds = timed([&] { rig.floor.search(src); }); };
    rig.floorFirst = !rig.floorFirst;
    if (rig.floorFirst) floor();
    sample->seconds = timed(work);
    if (!rig.floorFirst) floor();
}

void require(bool condition, const char* what);

// Whether the nodes are a path of the network, without loops, from src to dst.
void requirePath(const Rig& rig, const Path& path, Long src, Long dst);

// Whether all links of a path admit the request; oa is its class with bandwidth.
void requireAdmitted(Rig& rig, const Path& path, LSPRequest* req, int oa);
