// What is reserved of a capacity, and what is surely left of it: with a margin for all
// that rounds on the way, so that a comparison with it decides as the literal sum would.
//
// Private to the library.
#pragma once

#include <cmath>

#include "database/live/ledger.h"

// What is reserved in one class, as the tables give it.
struct Reservation {
    double upTo[kLevels];
    double magnitude[kLevels];  // of all amounts in these sums
};

inline Reservation reservationOf(const double (&pbw)[kLevels], const Need& worst) {
    Reservation reserved;
    double sum = 0.0;
    double magnitude = 0.0;
    double below = 0.0;
    for (int p = 0; p < kLevels; p++) {
        sum += pbw[p] + worst.at[p] - below;
        magnitude += std::abs(pbw[p]) + worst.at[p] + below;
        below = worst.at[p];
        reserved.upTo[p] = sum;
        reserved.magnitude[p] = magnitude;
    }
    return reserved;
}

// Far more than the roundings of a sum over eight levels, three operations each, come to.
constexpr double kRoundingMargin = 0x1p-40;

// What is left of a capacity, rounded down or up by more than the roundings that it took.
inline double surelyLeft(double cap, const Reservation& reserved, int p) {
    const double left = cap - reserved.upTo[p];
    const double margin = kRoundingMargin * reserved.magnitude[p];
    return (left - margin) *
           (left > margin ? 1.0 - kRoundingMargin : 1.0 + kRoundingMargin);
}

inline double leftAtMost(double cap, const Reservation& reserved, int p) {
    const double left = cap - reserved.upTo[p];
    const double margin = kRoundingMargin * reserved.magnitude[p];
    return (left + margin) *
           (left > -margin ? 1.0 + kRoundingMargin : 1.0 - kRoundingMargin);
}
