#include "formats/table.h"

#include <fmt/format.h>

#include "formats/units.h"

namespace workbench {

namespace {

std::string guarded(const std::string& text) {
    const bool formula = !text.empty() && std::string("=+-@").find(text[0]) != text.npos;
    return formula && !parseNumber(text) ? fmt::format("'{}", text) : text;
}

std::string csvCell(const std::string& text) {
    const std::string cell = guarded(text);
    if (cell.find_first_of(",;\"\r\n\t") == cell.npos) return cell;
    std::string quoted = "\"";
    for (const char letter : cell) {
        if (letter == '"') quoted += '"';
        quoted += letter;
    }
    return quoted + '"';
}

// A tab or an end of line cannot be written, a blank will do.
std::string tsvCell(const std::string& text) {
    std::string cell = text;
    for (char& letter : cell)
        if (letter == '\t' || letter == '\n' || letter == '\r') letter = ' ';
    return cell;
}

template <class Cell>
std::string lineOf(const std::vector<std::string>& cells, char separator, Cell cell) {
    std::string line;
    for (std::size_t i = 0; i < cells.size(); i++) {
        if (i > 0) line += separator;
        line += cell(cells[i]);
    }
    return line;
}

}  // namespace

std::string csvText(const Table& table) {
    std::string text = "\xEF\xBB\xBF" + lineOf(table.columns, ',', csvCell) + "\r\n";
    for (const auto& row : table.rows) text += lineOf(row, ',', csvCell) + "\r\n";
    return text;
}

std::string tsvText(const Table& table) {
    std::string text = lineOf(table.columns, '\t', tsvCell) + "\n";
    for (const auto& row : table.rows) text += lineOf(row, '\t', tsvCell) + "\n";
    return text;
}

std::string withUnit(const std::string& column, const std::string& unit) {
    return unit.empty() ? column : column + " " + unit;
}

}  // namespace workbench
