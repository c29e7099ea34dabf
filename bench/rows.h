// What is measured, one row each: a function that does the work once, on a request or an
// LSP drawn at random, and times it.
#pragma once

#include <functional>

#include "computation/primary/limited_path.h"
#include "floor.h"
#include "state.h"

struct Rig {
    Rig(const Network& network, const Filling& filling)
        : state(network, filling), floor(state) {}

    State state;
    Floor floor;
    bool floorFirst = false;
};

struct Sample {
    double seconds = 0.0;
    double units = 1.0;         // hops or searches that the work consists of
    double floorSeconds = 0.0;  // of one search, beside the work; 0 for none
    // Throws if the answer was wrong. For the end: it is slow, and links whose states are
    // handed out to it may be slower from then on.
    std::function<void()> verify = [] {};
};

// primary.cpp; requests that have no path are not counted
Sample primaryRequest(Rig& rig);
Sample requestWithPreemption(Rig& rig);
Sample placement(Rig& rig);
Sample removal(Rig& rig);
// The request of primaryRequest by the operations that it consists of, one by one; throws
// if the paths differ. On networks of more links it takes too long. `change` is what the
// request asks for besides.
Sample plainRequest(Rig& rig);
Sample plainRequest(Rig& rig, void (*change)(State& state, LSPRequest* req));
constexpr std::size_t kPlainLinks = 2000;

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

// A request on a network of which one thing is odd, next to one on the network as usual.
struct OddRow {
    const char* name;
    double limit;  // times the usual request
    Long nodes = 315;
    double (*amount)(double whole, Random& random) = nullptr;  // of the LSPs
    void (*once)(State& state) = nullptr;                      // before all requests
    void (*each)(State& state) = nullptr;  // before each request, and timed with it
    void (*ask)(State& state, LSPRequest* req) = nullptr;  // what else is asked for
    // Limits of the path; throws, given a path, if it is not within them.
    void (*within)(const Ask& ask, PathLimits* limits, LSPRequest* req,
                   const Path* path) = nullptr;
    // Weights of the request; the network is filled with these.
    double congestion = 1.0;
    double balance = 0.0;
    double others = 0.0;    // of all criteria but these two
    bool needsRoom = true;  // whether the capacity clause is on
};

struct OddFigures {
    double odd, usual;  // seconds, medians
};

// A large piece of work, done once.
struct JobRow {
    const char* name;
    double limit;   // seconds
    double memory;  // megabytes, 0 for no limit
    // Given the network of AS 1239, returns seconds; throws if the result is wrong.
    double (*run)(const Network& large);
};

struct Options {
    bool full = false;
    std::string only;  // part of a name
    std::string row;   // the name of a row that is done alone, in this process
    std::size_t repeat = 100;
    std::string examples = "examples/data";
    std::string repetita = "../shared/data/repetita";
    std::string wasm = "build/bench/wasm/package";

    bool wants(const std::string& name) const {
        return name.find(only) != std::string::npos;
    }
};

// odd.cpp
extern const std::vector<OddRow> kOddRows;
// By turns, ten at a time; of a row alone only what is odd.
OddFigures measureOdd(const OddRow& row, const Options& options);
void printOdd(const Options& options);

// jobs.cpp
extern const std::vector<JobRow> kJobRows;
void printJobs(const Options& options);

// threads.cpp
void printThreads(const Options& options);

// journal.cpp
void printJournal(const Options& options);

// wasm.cpp
void printWasm(const Options& options);

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
void requirePath(const State& state, const Path& path, Long src, Long dst);

// Whether all links of a path admit the request; oa is its class with bandwidth.
void requireAdmitted(Rig& rig, const Path& path, LSPRequest* req, int oa);
