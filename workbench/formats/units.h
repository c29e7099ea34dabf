// Units of bandwidth. Whatever states one is kept in Mbit/s.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace workbench {

// Mbit/s in one unit.
constexpr double kBit = 1e-6;
constexpr double kKbit = 1e-3;
constexpr double kMbit = 1;

// A value of such a unit in Mbit/s; what is a short decimal number stays one.
double inMbit(double value, double unit);

// The unit as Network and Demands name it.
inline const char* const kMbitName = "Mbit/s";

// The whole text as a finite number, blanks around it aside.
std::optional<double> parseNumber(std::string_view text);

// "k", "M", "Gbit/s", "Mbps", "MBITPERSEC", ..: Mbit/s in one of these.
std::optional<double> parseUnit(std::string_view text);

// "2.5 Gbit/s", "2.5G", "2500": in Mbit/s; a bare number counts in `bareUnit`.
std::optional<double> parseBandwidth(std::string_view text, double bareUnit);

// The value of an option that is a bandwidth, in Mbit/s. UserError, with the option, for
// what is none or nothing.
double bandwidthOf(std::string_view text, const std::string& option);

// The number with as few digits as read back to the same value.
std::string numberText(double value);

}  // namespace workbench
