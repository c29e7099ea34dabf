// The balance of a failure on a link: what it activates beyond what it frees.
//
// Private to the library; for books whose sums are exact (grain.h).
#pragma once

#include <algorithm>

#include "database/link_book.h"

inline Balance balanceUpTo(const BookEntry& entry) {
    Balance balance;
    double sum = 0.0;
    for (int p = 0; p < kLevels; p++)
        balance.upTo[p] = sum += entry.bbw[p] - entry.fbw[p];
    return balance;
}

// Adds x from a level on.
inline Balance shifted(const Balance& balance, int level, double x) {
    Balance after = balance;
    for (int p = level; p < kLevels; p++) after.upTo[p] += x;
    return after;
}

// Raises the worst need, of every level, to what a failure needs.
inline void raiseTo(double* worst, const Balance& balance) {
    for (int p = 0; p < kLevels; p++) worst[p] = std::max(worst[p], balance.upTo[p]);
}

// Keeps the worst need in step with a failure whose balance grows by x from a level on.
// False if it may have been the worst failure and needs less now: the others are to be
// asked.
inline bool follow(double* worst, const Balance& before, int level, double x) {
    for (int p = level; x < 0.0 && p < kLevels; p++)
        if (before.upTo[p] > 0.0 && before.upTo[p] >= worst[p]) return false;
    raiseTo(worst, shifted(before, level, x));
    return true;
}
