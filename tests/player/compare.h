// The library's records beside the twin's: turning one into the other, comparing them.
#pragma once

#include <stdexcept>

#include "computation/computation.h"
#include "computation/primary/primaryPath.h"
#include "database/database.h"
#include "twin/entry_points.h"
#include "twin/search.h"

// The library and the twin differ; says where.
struct Difference : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Values as text without blanks, numbers by all their bits.
std::string show(Long value);
std::string show(double value);
std::string show(const std::string& text);
inline std::string show(float value) {
    return show(static_cast<double>(value));
}
inline std::string show(bool value) {
    return value ? "1" : "0";
}
inline std::string show(const char* text) {
    return text;
}
template <class Value>
std::string show(const std::optional<Value>& value);
template <class Range>
std::string show(const Range& range) {
    std::string text;
    for (const auto& value : range)
        text.append(text.empty() ? "[" : ",").append(show(value));
    return text.empty() ? "[]" : text.append("]");
}
template <class Value>
std::string show(const std::optional<Value>& value) {
    return value ? show(*value) : "null";
}
template <class... Values>
std::string say(const Values&... values) {
    std::string text;
    (text.append(text.empty() ? "" : " ").append(show(values)), ...);
    return text;
}

// Numbers are equal, or both none; zeros have no sign.
inline bool isSame(double a, double b) {
    return a == b || (a != a && b != b);
}
template <class Value>
bool isSame(const Value& a, const Value& b) {
    return a == b;
}

template <class Value>
void expect(const Value& expected, const Value& actual, const char* what) {
    if (!isSame(expected, actual))
        throw Difference(std::string(what) + ": " + show(actual) + " instead of " +
                         show(expected));
}

// Runs act, which may find a difference in the named thing.
template <class Act>
void within(const char* what, Long id, Act act) {
    try {
        act();
    } catch (const Difference& difference) {
        throw Difference(std::string(what) + " " + show(id) + ", " + difference.what());
    }
}

twin::Ids idsOf(const LongList& list);

// Fill initialised records.
void fill(LongList* to, const twin::Ids& from);
void fill(DBLinkState* to, const twin::LinkState& from);
void fill(DBLabelSwitchedPath* to, const twin::Lsp& from);
void fill(LSPRequest* to, const twin::Request& from);

// The stored link, or null.
DBLink* storedLink(const DataBase* db, twin::Hop hop);

// Everything that stands in the database's records, but the failure tables of its links.
void compareDatabase(const DataBase* db, const twin::Database& expected);

// The whole state, which the library must have given to somebody.
void compareState(const DBLinkState* state, const twin::LinkState& expected);
void compareTopology(const BKTopology& topo, const twin::Topology& expected);
void compareStack(const ErrorList& stack, const twin::Stack* expected, std::size_t from);
