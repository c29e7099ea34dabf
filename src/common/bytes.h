// Numbers as bytes: the form in which sessions are copied, saved and logged.
//
// Private to the library. The bytes are the same on every machine: integers of 32 and 64
// bits and doubles, all with their low byte first. What is written lies in memory of the
// system's, not of a session: it goes from one session to another, or to a file.
#pragma once

#include <cstddef>
#include <cstdint>

#include "common/types.h"

// Grows as it is written to. From the first thing that goes wrong, as a lack of memory,
// it drops what comes.
class ByteWriter {
  public:
    ByteWriter() = default;
    ~ByteWriter();
    ByteWriter(const ByteWriter&) = delete;
    ByteWriter& operator=(const ByteWriter&) = delete;

    void byte(std::uint8_t value) { raw(&value, 1); }
    void number(Long value) { numbers(&value, 1); }
    void large(std::uint64_t value);
    void amount(double value) { doubles(&value, 1); }
    void raw(const void* bytes, std::size_t nb);
    void numbers(const Long* values, Long nb);
    void doubles(const double* values, Long nb);
    // A bit for each value that is not all zeros, and these values.
    void amounts(const double* values, Long nb);
    // So many bits, all clear; `mark` sets one. -1 if there is no memory.
    std::ptrdiff_t bits(std::size_t nb);
    void mark(std::ptrdiff_t bits, std::size_t at);

    void clear();
    // Drops what was written behind the first bytes.
    void shorten(std::size_t to) { top_ = top_ < to ? top_ : to; }
    // Says that something cannot be written. The first one counts.
    void refuse(const char* what);
    bool isFine() const { return wrong_ == nullptr; }
    const char* wrong() const { return wrong_; }
    const std::uint8_t* data() const { return cont_; }
    std::size_t size() const { return top_; }

  private:
    std::uint8_t* extend(std::size_t nb);

    std::uint8_t* cont_ = nullptr;
    std::size_t size_ = 0;
    std::size_t top_ = 0;
    const char* wrong_ = nullptr;
};

// Reads what may be damaged or made up: it never reads behind the end, and gives zeros
// from the first thing on that is wrong.
class ByteReader {
  public:
    ByteReader(const std::uint8_t* from, std::size_t nb) : next_(from), left_(nb) {}

    std::uint8_t byte();
    Long number();
    std::uint64_t large();
    double amount();
    // A number of things that take so many bits each: refused if the bytes for them are
    // not there, so that it may be trusted with memory.
    Long count(std::size_t bitsEach);
    const std::uint8_t* raw(std::size_t nb);
    void numbers(Long* to, Long nb);
    void doubles(double* to, Long nb);
    void amounts(double* to, Long nb);
    // So many bits, for isMarked; null if they are not there.
    const std::uint8_t* bits(std::size_t nb) { return raw((nb + 7) / 8); }

    // Says that a thing is wrong. The first one counts.
    void refuse(const char* what);
    void require(bool holds, const char* what) {
        if (!holds) refuse(what);
    }
    bool isFine() const { return wrong_ == nullptr; }
    const char* wrong() const { return wrong_; }
    std::size_t left() const { return left_; }

  private:
    const std::uint8_t* next_;
    std::size_t left_;
    const char* wrong_ = nullptr;
};

// What is refused where there is no memory for it.
extern const char kNoMemory[];

inline bool isMarked(const std::uint8_t* bits, std::size_t at) {
    return (bits[at / 8] >> (at % 8) & 1U) != 0;
}

// CRC-64 with the polynomial of ECMA-182, reflected, as the format of xz has it.
std::uint64_t checksum(const std::uint8_t* bytes, std::size_t nb);
