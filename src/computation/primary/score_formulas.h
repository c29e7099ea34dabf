// What a request adds on one link and class, criterion by criterion.
//
// Private to the library; shared by the score of a link and by the terms that are
// prepared for a whole search, so that both give the same numbers to the last bit.
#pragma once

#include "common/congestion.h"
#include "computation/computation_st.h"
#include "database/database_st.h"

// A weight that is NaN counts as in use.
inline bool inUse(double weight) {
    return weight != 0.0;
}

// Primary bandwidth of one class, all levels.
inline double loadOf(const DBLinkState* ls, int oa) {
    double load = 0.0;
    for (double level : ls->pbw[oa]) load += level;
    return load;
}

struct ClassLoad {
    double load;
    double capacity;
    double bw;  // asked for
};

// Both loads are priced with the segment of the load before the request.
inline double congestionIncrease(const ClassLoad& l) {
    const auto [a, k] = segmentAt(l.load / l.capacity);
    return (a * (l.load + l.bw) + k * l.capacity) - (a * l.load + k * l.capacity);
}

inline double squaredLoadIncrease(const ClassLoad& l) {
    return l.bw * l.bw + (l.bw + l.bw) * l.load;
}

inline double delayIncrease(const ClassLoad& l) {
    return 1.0 / ((l.capacity - l.load) - l.bw) + -1.0 / (l.capacity - l.load);
}

// The increase of nbLinks times the variance of link utilisation, in three parts: two
// that belong to the link, and the share by which the sum of utilisations grows.
struct LoadBalance {
    double rise;
    double fall;
    double share;
};

inline LoadBalance balanceOf(double weight, const ClassLoad& l) {
    const double before = l.load / l.capacity;
    const double after = (l.load + l.bw) / l.capacity;
    return {after * (weight * after), before * (before * weight), l.bw / l.capacity};
}

// What the squares of a sum of utilisations after and before count in a score.
struct SumWeights {
    double after;
    double before;
};

inline SumWeights sumWeights(double weight, double nbLinks) {
    return {(-1.0 / nbLinks) * weight, weight * (1.0 / nbLinks)};
}

// What a changed sum of utilisations adds to a score.
inline double addSums(double score, const SumWeights& weights, double newSum,
                      double sum) {
    return score + newSum * (weights.after * newSum) + weights.before * sum * sum;
}

// Adds to the score of a link's tail what the request adds on the link, rerouting prices
// apart: all classes and criteria in their order. `sums` are the tail's, by class. False
// if the load balance makes the score infinite, whatever else there is.
bool addTerms(const DBLinkState* ls, const LSPRequest* req, const double* sums,
              double nbLinks, double* score);
