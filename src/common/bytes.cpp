#include "common/bytes.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <type_traits>

const char kNoMemory[] = "Critical lack of memory";

namespace {

template <class Number>
using BitsOf = std::conditional_t<sizeof(Number) == 4, std::uint32_t, std::uint64_t>;

// Copies numbers to bytes, or from them.
template <class Number>
void store(std::uint8_t* to, const Number* values, std::size_t nb) {
    if (nb == 0) return;  // from nowhere, perhaps
    if constexpr (std::endian::native == std::endian::little) {
        std::memcpy(to, values, nb * sizeof(Number));
    } else {
        for (std::size_t i = 0; i < nb * sizeof(Number); i++)
            to[i] = static_cast<std::uint8_t>(
                std::bit_cast<BitsOf<Number>>(values[i / sizeof(Number)]) >>
                (8 * (i % sizeof(Number))));
    }
}

template <class Number>
void fetch(Number* to, const std::uint8_t* from, std::size_t nb) {
    if (nb == 0) return;
    if constexpr (std::endian::native == std::endian::little) {
        std::memcpy(to, from, nb * sizeof(Number));
    } else {
        for (std::size_t i = 0; i < nb; i++) {
            BitsOf<Number> bits = 0;
            for (std::size_t k = 0; k < sizeof(Number); k++)
                bits |= BitsOf<Number>{from[i * sizeof(Number) + k]} << (8 * k);
            to[i] = std::bit_cast<Number>(bits);
        }
    }
}

bool isZero(double value) {
    return std::bit_cast<std::uint64_t>(value) == 0;
}

using Table = std::array<std::uint64_t, 256>;

constexpr Table makeTable() {
    Table table = {};
    for (std::uint64_t i = 0; i < table.size(); i++) {
        std::uint64_t rest = i;
        for (int bit = 0; bit < 8; bit++)
            rest = (rest >> 1) ^ ((rest & 1) != 0 ? 0xC96C5795D7870F42U : 0U);
        table[i] = rest;
    }
    return table;
}
constexpr Table kTable = makeTable();

}  // namespace

ByteWriter::~ByteWriter() {
    std::free(cont_);
}

// Room for so many bytes more, taken; null if there is no memory.
std::uint8_t* ByteWriter::extend(std::size_t nb) {
    if (!isFine()) return nullptr;
    if (nb > size_ - top_) {
        const std::size_t size = 2 * (top_ + nb) + 256;
        void* cont = std::realloc(cont_, size);
        if (cont == nullptr) {
            refuse(kNoMemory);
            return nullptr;
        }
        cont_ = static_cast<std::uint8_t*>(cont);
        size_ = size;
    }
    std::uint8_t* from = cont_ + top_;
    top_ += nb;
    return from;
}

void ByteWriter::large(std::uint64_t value) {
    if (std::uint8_t* to = extend(sizeof value)) store(to, &value, 1);
}

void ByteWriter::raw(const void* bytes, std::size_t nb) {
    if (nb == 0) return;
    if (std::uint8_t* to = extend(nb)) std::memcpy(to, bytes, nb);
}

void ByteWriter::numbers(const Long* values, Long nb) {
    const auto count = static_cast<std::size_t>(nb);
    if (std::uint8_t* to = extend(count * sizeof(Long))) store(to, values, count);
}

void ByteWriter::doubles(const double* values, Long nb) {
    const auto count = static_cast<std::size_t>(nb);
    if (std::uint8_t* to = extend(count * sizeof(double))) store(to, values, count);
}

void ByteWriter::amounts(const double* values, Long nb) {
    const std::ptrdiff_t present = bits(static_cast<std::size_t>(nb));
    for (Long i = 0; i < nb; i++) {
        if (isZero(values[i])) continue;
        mark(present, static_cast<std::size_t>(i));
        amount(values[i]);
    }
}

std::ptrdiff_t ByteWriter::bits(std::size_t nb) {
    const std::size_t bytes = (nb + 7) / 8;
    std::uint8_t* to = extend(bytes);
    if (to == nullptr) return -1;
    std::memset(to, 0, bytes);
    return to - cont_;
}

void ByteWriter::mark(std::ptrdiff_t bits, std::size_t at) {
    if (isFine()) cont_[static_cast<std::size_t>(bits) + at / 8] |= 1U << (at % 8);
}

void ByteWriter::clear() {
    top_ = 0;
    wrong_ = nullptr;
}

void ByteWriter::refuse(const char* what) {
    if (wrong_ == nullptr) wrong_ = what;
}

const std::uint8_t* ByteReader::raw(std::size_t nb) {
    require(nb <= left_, "something is missing");
    if (!isFine()) return nullptr;
    const std::uint8_t* from = next_;
    next_ += nb;
    left_ -= nb;
    return from;
}

std::uint8_t ByteReader::byte() {
    const std::uint8_t* from = raw(1);
    return from != nullptr ? *from : 0;
}

Long ByteReader::number() {
    Long value = 0;
    numbers(&value, 1);
    return value;
}

std::uint64_t ByteReader::large() {
    std::uint64_t value = 0;
    if (const std::uint8_t* from = raw(sizeof value)) fetch(&value, from, 1);
    return value;
}

double ByteReader::amount() {
    double value = 0.0;
    doubles(&value, 1);
    return value;
}

Long ByteReader::count(std::size_t bitsEach) {
    const Long nb = number();
    require(nb >= 0 && static_cast<std::size_t>(nb) <= 8 * left_ / bitsEach,
            "a count is too large");
    return isFine() ? nb : 0;
}

void ByteReader::numbers(Long* to, Long nb) {
    const auto count = static_cast<std::size_t>(nb);
    if (const std::uint8_t* from = raw(count * sizeof(Long))) fetch(to, from, count);
}

void ByteReader::doubles(double* to, Long nb) {
    const auto count = static_cast<std::size_t>(nb);
    if (const std::uint8_t* from = raw(count * sizeof(double))) fetch(to, from, count);
}

void ByteReader::amounts(double* to, Long nb) {
    const std::uint8_t* present = bits(static_cast<std::size_t>(nb));
    if (present == nullptr) return;
    std::fill_n(to, nb, 0.0);
    for (Long i = 0; i < nb; i++) {
        if (i % 8 == 0 && present[i / 8] == 0)
            i += 7;
        else if (isMarked(present, static_cast<std::size_t>(i)))
            to[i] = amount();
    }
}

void ByteReader::refuse(const char* what) {
    if (wrong_ == nullptr) wrong_ = what;
}

std::uint64_t checksum(const std::uint8_t* bytes, std::size_t nb) {
    std::uint64_t rest = std::numeric_limits<std::uint64_t>::max();
    for (std::size_t i = 0; i < nb; i++)
        rest = kTable[(rest ^ bytes[i]) & 0xFF] ^ (rest >> 8);
    return ~rest;
}
