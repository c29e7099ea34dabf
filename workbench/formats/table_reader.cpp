// Links or demands as a table with a line of headings: CSV, TSV, or what spreadsheets
// save where the comma is taken. Columns are known by name, others are passed over.
#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <set>

#include "cli/error.h"
#include "formats/draft.h"
#include "formats/groups.h"
#include "formats/table.h"
#include "formats/units.h"
#include "plan.h"

namespace workbench {

namespace {

enum class Column {
    Src,
    Dst,
    Name,
    Bandwidth,
    Class,
    Level,
    Avoid,
    MaxDelay,
    MaxHops,
    Capacity,
    Metric,
    Delay,
    Colour,
    Groups,
    Other
};

std::string lower(std::string text) {
    for (char& letter : text)
        letter =
            letter == '_'
                ? ' '
                : static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    return text;
}

// "Bandwidth (Gbit/s)" is the name and the unit.
std::pair<Column, std::string> columnOf(const std::string& heading) {
    static const std::map<std::string, Column> kNames = {{"src", Column::Src},
                                                         {"source", Column::Src},
                                                         {"from", Column::Src},
                                                         {"dst", Column::Dst},
                                                         {"dest", Column::Dst},
                                                         {"destination", Column::Dst},
                                                         {"target", Column::Dst},
                                                         {"to", Column::Dst},
                                                         {"name", Column::Name},
                                                         {"label", Column::Name},
                                                         {"bandwidth", Column::Bandwidth},
                                                         {"bw", Column::Bandwidth},
                                                         {"demand", Column::Bandwidth},
                                                         {"traffic", Column::Bandwidth},
                                                         {"class", Column::Class},
                                                         {"level", Column::Level},
                                                         {"avoid", Column::Avoid},
                                                         {"max delay", Column::MaxDelay},
                                                         {"max hops", Column::MaxHops},
                                                         {"capacity", Column::Capacity},
                                                         {"metric", Column::Metric},
                                                         {"weight", Column::Metric},
                                                         {"delay", Column::Delay},
                                                         {"colour", Column::Colour},
                                                         {"color", Column::Colour},
                                                         {"groups", Column::Groups}};
    const std::string text = lower(heading);
    if (const auto found = kNames.find(text); found != kNames.end())
        return {found->second, ""};
    const auto cut = text.find_last_of(" (");
    if (cut == text.npos) return {Column::Other, ""};
    std::string unit = heading.substr(cut + 1);
    if (unit.ends_with(')')) unit.pop_back();
    const auto end = text.find_last_not_of(" (", cut);
    const auto found =
        end == text.npos ? kNames.end() : kNames.find(text.substr(0, end + 1));
    const bool known = found != kNames.end() && parseUnit(unit);
    return known ? std::pair(found->second, unit)
                 : std::pair(Column::Other, std::string());
}

std::string quoted(const std::string& text) {
    return fmt::format("'{}'", text);
}

char separatorOf(const std::string& headings) {
    for (const char letter : {'\t', ';'})
        if (headings.find(letter) != headings.npos) return letter;
    return ',';
}

struct Record {
    std::vector<std::string> cells;
    int line;
};

class Records {
  public:
    Records(const Source& source, char separator)
        : source_(source), separator_(separator) {}

    // The next line that is not blank; quoted cells may go on over several.
    bool next(Record* record) {
        do {
            if (at_ >= source_.text.size()) return false;
            *record = {{""}, line_};
            while (at_ < source_.text.size() && !takeLetter(record)) {
            }
        } while (record->cells.size() == 1 && record->cells[0].empty());
        for (std::string& cell : record->cells) trim(&cell);
        return true;
    }

  private:
    // True at the end of the line.
    bool takeLetter(Record* record) {
        const char letter = source_.text[at_++];
        if (letter == separator_) {
            record->cells.emplace_back();
        } else if (letter == '"' && record->cells.back().empty()) {
            takeQuoted(record);
        } else if (letter == '\n') {
            line_++;
            return true;
        } else if (letter != '\r') {
            record->cells.back() += letter;
        }
        return false;
    }

    void takeQuoted(Record* record) {
        const std::string& text = source_.text;
        for (; at_ < text.size(); at_++) {
            if (text[at_] == '"' && (at_ + 1 == text.size() || text[at_ + 1] != '"')) {
                const bool ends = ++at_ == text.size() || text[at_] == separator_ ||
                                  text[at_] == '\r' || text[at_] == '\n';
                if (!ends)
                    throw InputError(source_.file, line_,
                                     "expected the end of a cell after its closing '\"'");
                return;
            }
            if (text[at_] == '"') at_++;
            if (text[at_] == '\n') line_++;
            record->cells.back() += text[at_];
        }
        throw InputError(source_.file, record->line,
                         "expected '\"' at the end of a cell, got the end of the file");
    }

    static void trim(std::string* cell) {
        cell->erase(0, std::min(cell->find_first_not_of(' '), cell->size()));
        while (cell->ends_with(' ')) cell->pop_back();
        const bool guarded = cell->size() > 1 && (*cell)[0] == '\'' &&
                             std::string("=+-@").find((*cell)[1]) != cell->npos;
        if (guarded) cell->erase(0, 1);
    }

    const Source& source_;
    char separator_;
    std::size_t at_ = 0;
    int line_ = 1;
};

std::string firstLine(const std::string& text) {
    const auto first = text.find_first_not_of(" \t\r\n");
    return first == text.npos ? "" : text.substr(first, text.find('\n', first) - first);
}

class TableParser {
  public:
    explicit TableParser(const Source& source)
        : records_(source, separatorOf(firstLine(source.text))),
          decimalComma_(separatorOf(firstLine(source.text)) == ';') {
        draft_.file = source.file;
    }

    Draft run() {
        takeHeadings();
        draft_.hasDemands = placeOf(Column::Bandwidth) >= 0;
        draft_.hasNetwork = !draft_.hasDemands;
        if (draft_.hasNetwork && placeOf(Column::Capacity) < 0)
            fail("a column \"bandwidth\" for demands or \"capacity\" for links",
                 "neither");
        const std::size_t columns = record_.cells.size();
        while (records_.next(&record_)) {
            if (record_.cells.size() > columns)
                fail(fmt::format("at most {} cells", columns),
                     std::to_string(record_.cells.size()));
            if (draft_.hasDemands)
                addDemand();
            else
                addLink();
        }
        return std::move(draft_);
    }

  private:
    void takeHeadings() {
        records_.next(&record_);
        for (std::size_t i = 0; i < record_.cells.size(); i++) {
            const auto [column, unit] = columnOf(record_.cells[i]);
            if (column == Column::Other) continue;
            if (!places_.emplace(column, static_cast<int>(i)).second)
                fail("every column once", record_.cells[i] + " twice");
            if (const auto factor = parseUnit(unit)) {
                unit_ = *factor;
                draft_.unit = kMbitName;
            }
        }
    }

    int placeOf(Column column) const {
        const auto found = places_.find(column);
        return found == places_.end() ? -1 : found->second;
    }

    // Empty if the record has no such cell.
    std::string cell(Column column) const {
        const int place = placeOf(column);
        return place < 0 || place >= std::ssize(record_.cells) ? ""
                                                               : record_.cells[place];
    }

    std::string numberCell(Column column) const {
        std::string text = cell(column);
        if (decimalComma_) std::ranges::replace(text, ',', '.');
        return text;
    }

    [[noreturn]] void fail(const std::string& expected, const std::string& got) const {
        throw InputError(draft_.file, record_.line,
                         fmt::format("expected {}, got {:.60}", expected, got));
    }

    NodeRef node(Column column, const char* what) const {
        const std::string text = cell(column);
        if (text.empty()) fail(fmt::format("a node as {}", what), "nothing");
        return {.id = text};
    }

    std::optional<double> number(Column column, const char* what) const {
        const std::string text = numberCell(column);
        if (text.empty()) return std::nullopt;
        const auto value = parseNumber(text);
        if (!value || *value < 0)
            fail(fmt::format("a number of at least 0 as {}", what), quoted(text));
        return value;
    }

    int natural(Column column, const char* what, int most) const {
        const double value = number(column, what).value_or(0);
        if (value > most || value != static_cast<int>(value))
            fail(fmt::format("a whole number from 0 to {} as {}", most, what),
                 quoted(cell(column)));
        return static_cast<int>(value);
    }

    std::optional<double> bandwidth(Column column, const char* what) {
        const std::string text = numberCell(column);
        if (text.empty()) return std::nullopt;
        const auto value = parseBandwidth(text, unit_);
        if (!value || *value < 0)
            fail(fmt::format("a bandwidth such as 400 or 2.5G as {}", what),
                 quoted(text));
        if (!parseNumber(text)) draft_.unit = kMbitName;
        return value;
    }

    void addDemand() {
        const auto value = bandwidth(Column::Bandwidth, "bandwidth");
        if (!value) fail("a bandwidth", "nothing");
        DraftDemand demand{.name = cell(Column::Name),
                           .src = node(Column::Src, "source"),
                           .dst = node(Column::Dst, "destination"),
                           .bandwidth = *value,
                           .line = record_.line,
                           .trafficClass = cell(Column::Class)};
        if (!cell(Column::Level).empty())
            demand.level = natural(Column::Level, "level", kPlanLevels - 1);
        demand.avoid = natural(Column::Avoid, "colours to avoid", 2147483647);
        demand.maxDelay = number(Column::MaxDelay, "the longest delay").value_or(0);
        demand.maxHops = natural(Column::MaxHops, "the most links", 10000);
        draft_.demands.push_back(std::move(demand));
    }

    // Nodes are those that the links join.
    void addLink() {
        DraftLink link{.name = cell(Column::Name),
                       .src = node(Column::Src, "source"),
                       .dst = node(Column::Dst, "destination"),
                       .capacity = bandwidth(Column::Capacity, "capacity"),
                       .modules = {},
                       .way = Way::Open,
                       .colour = natural(Column::Colour, "colour", 2147483647),
                       .metric = number(Column::Metric, "metric"),
                       .delay = number(Column::Delay, "delay"),
                       .line = record_.line,
                       .groups = groupsOf(cell(Column::Groups))};
        for (const NodeRef* end : {&link.src, &link.dst})
            if (known_.insert(end->id).second)
                draft_.nodes.push_back({end->id, end->id, std::nullopt, record_.line});
        draft_.links.push_back(std::move(link));
    }

    Records records_;
    bool decimalComma_;
    Record record_{{}, 1};
    std::map<Column, int> places_;
    std::set<std::string> known_;
    double unit_ = kMbit;
    Draft draft_;
};

}  // namespace

bool isTable(const std::string& text) {
    const Source source{"", firstLine(text)};
    Record headings;
    if (!Records(source, separatorOf(source.text)).next(&headings)) return false;
    bool src = false;
    bool dst = false;
    for (const std::string& heading : headings.cells) {
        src = src || columnOf(heading).first == Column::Src;
        dst = dst || columnOf(heading).first == Column::Dst;
    }
    return src && dst;
}

Draft parseTable(const Source& source) {
    return TableParser(source).run();
}

}  // namespace workbench
