// Tables for spreadsheets and scripts: CSV that a double click opens, TSV for the rest.
//
// CSV is RFC 4180 with a byte order mark. A text that a spreadsheet would take for a
// formula ("=1+1", "-x", "@y") gets an apostrophe in front, which the reader takes off
// again.
#pragma once

#include <string>
#include <vector>

namespace workbench {

struct Table {
    std::vector<std::string> columns;
    std::vector<std::vector<std::string>> rows;
};

std::string csvText(const Table& table);
std::string tsvText(const Table& table);

// Whether the first line of a text has columns for the two ends of something.
bool isTable(const std::string& text);

// "bandwidth Mbit/s", or without a unit just the name: numbers below carry none.
std::string withUnit(const std::string& column, const std::string& unit);

}  // namespace workbench
