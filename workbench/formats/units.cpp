#include "formats/units.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>

namespace workbench {

namespace {

std::string_view trim(std::string_view text) {
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front())) != 0)
        text.remove_prefix(1);
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back())) != 0)
        text.remove_suffix(1);
    return text;
}

std::optional<double> prefixFactor(char prefix) {
    switch (prefix) {
        case 'k':
        case 'K':
            return kKbit;
        case 'm':
        case 'M':
            return kMbit;
        case 'g':
        case 'G':
            return 1e3;
        case 't':
        case 'T':
            return 1e6;
        default:
            return std::nullopt;
    }
}

// "bit/s", "bps", "bitpersec" or nothing.
bool isBitRate(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char letter) { return std::tolower(letter); });
    constexpr std::string_view kNames[] = {"",          "b",         "bit",   "bits",
                                           "bps",       "b/s",       "bit/s", "bits/s",
                                           "bitpersec", "bitspersec"};
    return std::find(std::begin(kNames), std::end(kNames), lower) != std::end(kNames);
}

// Reads a number from the front of text and cuts it off.
std::optional<double> takeNumber(std::string_view* text) {
    *text = trim(*text);
    std::string_view digits = *text;
    if (digits.size() > 1 && digits[0] == '+' && digits[1] != '-')
        digits.remove_prefix(1);
    double value = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error != std::errc() || !std::isfinite(value)) return std::nullopt;
    *text = digits.substr(end - digits.data());
    return value;
}

}  // namespace

std::optional<double> parseNumber(std::string_view text) {
    const auto value = takeNumber(&text);
    return trim(text).empty() ? value : std::nullopt;
}

double inMbit(double value, double unit) {
    return unit < 1 ? value / std::round(1 / unit) : value * unit;
}

std::optional<double> parseUnit(std::string_view text) {
    text = trim(text);
    if (text.empty()) return std::nullopt;
    if (isBitRate(text)) return kBit;
    const auto factor = prefixFactor(text.front());
    return isBitRate(text.substr(1)) ? factor : std::nullopt;
}

std::optional<double> parseBandwidth(std::string_view text, double bareUnit) {
    const auto value = takeNumber(&text);
    if (!value) return std::nullopt;
    if (trim(text).empty()) return inMbit(*value, bareUnit);
    const auto unit = parseUnit(text);
    return unit ? std::optional(inMbit(*value, *unit)) : std::nullopt;
}

std::string numberText(double value) {
    return fmt::format("{}", value);
}

}  // namespace workbench
