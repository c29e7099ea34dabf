// Repetita's .graph and .demands: one record a line, nodes by number, kbit/s throughout.
#include <fmt/format.h>

#include "formats/units.h"
#include "formats/words.h"

namespace workbench {

namespace {

class RepetitaParser {
  public:
    explicit RepetitaParser(const Source& source)
        : words_(source, "", /*comments=*/false) {
        draft_.file = source.file;
        draft_.unit = kMbitName;
    }

    Draft run() {
        while (!words_.atEnd()) {
            const std::string_view section = words_.peek();
            if (section == "NODES")
                records(
                    "label x y", [this] { addNode(); }, &draft_.hasNetwork);
            else if (section == "EDGES")
                records(
                    "label src dest weight bw delay", [this] { addEdge(); },
                    &draft_.hasNetwork);
            else if (section == "DEMANDS")
                records(
                    "label src dest bw", [this] { addDemand(); }, &draft_.hasDemands);
            else
                words_.fail("NODES, EDGES or DEMANDS");
        }
        // All (0, 0): the file has no positions.
        bool placed = false;
        for (const DraftNode& node : draft_.nodes)
            placed = placed || node.position->x != 0 || node.position->y != 0;
        for (DraftNode& node : draft_.nodes)
            if (!placed) node.position.reset();
        draft_.geographic = placed;
        return std::move(draft_);
    }

  private:
    // A section: its name, the number of records, a line of headings, the records.
    template <class Add>
    void records(const char* headings, Add add, bool* present) {
        *present = true;
        words_.take("a section");
        const int count = words_.natural("the number of records");
        words_.endLine();
        if (words_.atEnd() || words_.peek() != "label")
            words_.fail(fmt::format("the headings '{}'", headings));
        words_.take("headings");
        words_.restOfLine();
        for (int i = 0; i < count; i++) {
            if (words_.atEnd()) words_.fail(fmt::format("record {} of {}", i + 1, count));
            line_ = words_.line();
            add();
            words_.endLine();
        }
    }

    // A field of the current record, which ends with its line.
    void stayOnLine(const char* field) {
        if (words_.line() != line_)
            words_.fail(fmt::format("{} on line {}", field, line_));
    }
    double number(const char* field) {
        stayOnLine(field);
        return words_.number(field);
    }
    double atLeastZero(const char* field) {
        stayOnLine(field);
        return words_.atLeastZero(field);
    }
    NodeRef node(const char* field) {
        stayOnLine(field);
        return {.id = "", .number = words_.natural(field)};
    }

    void addNode() {
        const std::string label = words_.take("a label");
        const double x = number("the position x");
        const double y = number("the position y");
        draft_.nodes.push_back(
            {std::to_string(draft_.nodes.size()), label, Position{x, y}, line_});
    }

    void addEdge() {
        DraftLink link{.name = words_.take("a label"),
                       .src = node("the number of a node"),
                       .dst = node("the number of a node"),
                       .capacity = {},
                       .modules = {},
                       .way = Way::Directed,
                       .colour = 0,
                       .metric = atLeastZero("a weight"),
                       .delay = {},
                       .line = line_};
        const double capacity = atLeastZero("a capacity");
        if (capacity > 0) link.capacity = inMbit(capacity, kKbit);
        link.delay = atLeastZero("a delay");
        draft_.links.push_back(link);
    }

    void addDemand() {
        DraftDemand demand{.name = words_.take("a label"),
                           .src = node("the number of a node"),
                           .dst = node("the number of a node"),
                           .bandwidth = 0,
                           .line = line_};
        demand.bandwidth = inMbit(atLeastZero("a bandwidth"), kKbit);
        draft_.demands.push_back(demand);
    }

    Words words_;
    Draft draft_;
    int line_ = 1;
};

}  // namespace

Draft parseRepetita(const Source& source) {
    return RepetitaParser(source).run();
}

}  // namespace workbench
