// Whether sums of a link's bandwidths are exact, so that their order does not matter.
//
// Private to the library. Sums are to be those of a fixed order, to the last bit; but if
// all amounts are multiples of one power of two, and small enough together, no sum of
// them ever rounds, and any order gives the same. Bandwidths come in single precision
// from the native interface, and double has 29 bits more: it is so on nearly every link.
// Where it is not, sums are done in the order that is laid down.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

// Bits that sums may use: three fewer than a double has, for what a trial adds and for
// sums of sums.
constexpr double kExactRange = static_cast<double>(std::uint64_t{1} << 50);

// The largest power of two that x is a multiple of: infinite for 0, and 0 where x is not
// finite or the power is below the normal numbers.
inline double unitOf(double x) {
    constexpr std::uint64_t kExponents = 2047;
    constexpr int kMantissa = 52;
    const auto bits = std::bit_cast<std::uint64_t>(x);
    if (x == 0.0) return std::numeric_limits<double>::infinity();
    const std::uint64_t exponent = bits >> kMantissa & kExponents;
    const int zeros = std::countr_zero(bits | std::uint64_t{1} << kMantissa);
    const int unit = static_cast<int>(exponent) - kMantissa + zeros;
    if (exponent == kExponents || unit <= 0) return 0.0;
    return std::bit_cast<double>(static_cast<std::uint64_t>(unit) << kMantissa);
}

struct Grain {
    double unit = std::numeric_limits<double>::infinity();
    double magnitude = 0.0;  // sum of the amounts' absolute values
    bool lost = false;       // some sum may have rounded

    bool isExact() const { return !lost; }

    // Whether sums stay exact that take in `amount` as well.
    bool covers(double amount) const {
        return !lost && magnitude + std::abs(amount) <=
                            kExactRange * std::fmin(unit, unitOf(amount));
    }

    // Takes note that x has been added to an amount that was `before`.
    void add(double before, double x) {
        unit = std::fmin(unit, std::fmin(unitOf(before), unitOf(x)));
        magnitude += std::abs(before + x) - std::abs(before);
        if (!(magnitude + std::abs(before) + std::abs(x) <= kExactRange * unit))
            lost = true;
    }
};
