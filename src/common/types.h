// Types and sizes that every module shares.
#pragma once

#include <cstdint>

// Ids and counts. Texts print them with %d.
using Long = std::int32_t;

// Classes of traffic (ordered aggregates, "oa") and preemption levels ("pl", 0 the
// most important). Tables always have this shape; cells beyond the NBOA and NBPL
// that a caller uses stay 0.
constexpr int kClasses = 8;
constexpr int kLevels = 8;
