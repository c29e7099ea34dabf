// Random numbers that are the same with every compiler and library.
#pragma once

#include <cstddef>
#include <random>

#include "common/types.h"

class Random {
  public:
    explicit Random(std::uint32_t seed) : engine_(seed) {}

    // In [0, 1).
    double real() { return static_cast<double>(engine_()) / 4294967296.0; }

    // In [0, limit).
    Long below(std::size_t limit) {
        return static_cast<Long>(real() * static_cast<double>(limit));
    }

  private:
    std::mt19937 engine_;
};
