// Why a request gets the path that it gets, or none, and who would have to give way.
//
// Everything is asked of the library as a trial; the network does not change.
#pragma once

#include <string>
#include <vector>

#include "engine/engine.h"

namespace workbench {

// What one link adds to the score of a path. Parts are in the order of kWeightNames.
struct ScoredLink {
    int link = 0;
    double score = 0.0;
    std::vector<double> parts;
};

// The best path that does without a link of the best path.
struct Detour {
    int withoutLink = 0;
    Path path;
};

// A link that does not admit the request.
struct Refusal {
    int link = 0;
    bool colour = false;          // it has a colour to avoid
    std::vector<double> missing;  // bandwidth, per class; 0 where there is enough
};

// What preemption would take on one link.
struct GiveWay {
    int link = 0;
    double missing = 0.0;  // bandwidth of the request's class
    std::vector<int> lsps;
};

struct Explanation {
    Path path;  // without preemption
    std::vector<ScoredLink> links;
    std::vector<Detour> detours;

    std::vector<Refusal> refusals;  // without preemption
    // The fewest links that separate the ends: links that refuse the request if there is
    // no path, else links that all its paths must share.
    std::vector<int> cut;
    double largest = 0.0;  // bandwidth that would pass
    double largestWithPreemption = 0.0;

    Path preempting;  // with preemption, a dry run
    std::vector<GiveWay> giveWay;
    std::vector<int> preempted;  // of all links, and their backups
};

Explanation explain(Engine* engine, const Request& request);

// The steps of it.
std::vector<ScoredLink> scoreLinks(Engine* engine, const Request& request,
                                   const std::vector<int>& path);
std::vector<Refusal> refusals(Engine* engine, const Request& request);
// By bisection.
double largestBandwidth(Engine* engine, Request request);
// The room of a link that the bisection has just missed, if that passes too.
double snapToRoom(Engine* engine, Request request, double bandwidth);
std::vector<GiveWay> whoGivesWay(Engine* engine, const Request& request,
                                 const std::vector<int>& path);

// The fewest links whose loss separates src from dst, given what the loss of each costs;
// a link of cost 0 is no way through.
std::vector<int> minimumCut(const Network& network, int src, int dst,
                            const std::vector<int>& costs);

}  // namespace workbench
