// What a request adds on one link and class, criterion by criterion.
//
// Private to the library; shared by the score of a link and by the terms that are
// prepared for a whole search, so that both give the same numbers to the last bit.
#pragma once

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

// A load x on a link of capacity c costs slope * x + intercept * c.
struct Segment {
    double slope;
    double intercept;
};

// Chosen by utilisation. The slope 10 of the published function is out of reach, since
// its bound is 0 instead of 0.9: utilisations from 2/3 to 1 cost with slope 70. The last
// intercept is this system's own. All values are of single precision, widened.
inline Segment segmentAt(double utilisation) {
    if (utilisation < 1.0F / 3.0F) return {1.0, 0.0};
    if (utilisation < 2.0F / 3.0F) return {3.0, -2.0F / 3.0F};
    if (utilisation < 0.0) return {10.0, -16.0F / 3.0F};
    if (utilisation < 1.0) return {70.0, -178.0F / 3.0F};
    if (utilisation < 1.1F) return {500.0, -1468.0F / 3.0F};
    return {5000.0, -19468.0F / 3.0F};
}

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

// What a changed sum of utilisations adds to a score.
inline double addSums(double score, double weight, double newSum, double sum,
                      double nbLinks) {
    return score + newSum * ((-1.0 / nbLinks) * weight * newSum) +
           (weight * (1.0 / nbLinks)) * sum * sum;
}
