#include "formats/units.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>

#include "cli/error.h"
#include "network.h"

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

// The length of "-12.5e-3" at the front of a text, 0 if no number stands there. "1e" is
// the number 1 with something behind it.
std::size_t numberLength(std::string_view text) {
    constexpr std::string_view kDigits = "0123456789";
    const auto skipDigits = [&](std::size_t at) {
        return std::min(text.find_first_not_of(kDigits, at), text.size());
    };
    const std::size_t first = text.starts_with('-') ? 1 : 0;
    std::size_t end = skipDigits(first);
    std::size_t digits = end - first;
    if (end < text.size() && text[end] == '.') {
        const std::size_t point = end;
        end = skipDigits(point + 1);
        digits += end - point - 1;
    }
    if (digits == 0) return 0;
    if (end == text.size() || (text[end] != 'e' && text[end] != 'E')) return end;
    std::size_t exponent = end + 1;
    if (exponent < text.size() && (text[exponent] == '-' || text[exponent] == '+'))
        exponent++;
    const std::size_t last = skipDigits(std::min(exponent, text.size()));
    return last > exponent ? last : end;
}

// Reads a number from the front of text and cuts it off. What is too large or too small
// for a double is none. Not by std::from_chars, which not every library has for doubles;
// strtod alone would take "0x10", "inf" and blanks as well.
std::optional<double> takeNumber(std::string_view* text) {
    *text = trim(*text);
    std::string_view rest = *text;
    if (rest.size() > 1 && rest[0] == '+' && rest[1] != '-') rest.remove_prefix(1);
    const std::string number(rest.substr(0, numberLength(rest)));
    if (number.empty()) return std::nullopt;
    const double value = std::strtod(number.c_str(), nullptr);
    const std::string mantissa = number.substr(0, number.find_first_of("eE"));
    const bool isNothing = mantissa.find_first_of("123456789") == mantissa.npos;
    if (!std::isfinite(value) || (value == 0.0 && !isNothing)) return std::nullopt;
    *text = rest.substr(number.size());
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

double bandwidthOf(std::string_view text, const std::string& option) {
    const auto value = parseBandwidth(text, kMbit);
    if (!value || *value <= 0 || *value > kMostBandwidth)
        throw UserError(fmt::format(
            "{}: '{}' is not a bandwidth such as 400, 2.5G or 100M", option, text));
    return *value;
}

std::string numberText(double value) {
    return fmt::format("{}", value);
}

}  // namespace workbench
