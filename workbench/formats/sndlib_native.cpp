#include <fmt/format.h>

#include "formats/sndlib.h"
#include "formats/units.h"
#include "formats/words.h"

namespace workbench {

namespace {

class SndlibNativeParser {
  public:
    explicit SndlibNativeParser(const Source& source)
        : words_(source, "()", /*comments=*/true) {
        draft_.file = source.file;
    }

    Draft run() {
        if (words_.peek() == "?SNDlib") {
            words_.take("?SNDlib");
            words_.restOfLine();
        }
        while (!words_.atEnd()) section();
        return std::move(draft_);
    }

  private:
    void section() {
        const std::string_view name = words_.peek();
        if (name == "META")
            records([this] { addMeta(); });
        else if (name == "NODES")
            records([this] { addNode(); });
        else if (name == "LINKS")
            records([this] { addLink(); });
        else if (name == "DEMANDS")
            records([this] { addDemand(); });
        else if (name == "ADMISSIBLE_PATHS")
            records([this] { skipPaths(); });
        else
            words_.fail(
                "one of the sections META, NODES, LINKS, DEMANDS, ADMISSIBLE_PATHS");
    }

    // NAME ( records )
    template <class Add>
    void records(Add add) {
        words_.take("a section");
        words_.expect("(");
        while (words_.peek() != ")") {
            if (words_.atEnd()) words_.fail("')'");
            line_ = words_.line();
            add();
        }
        words_.expect(")");
    }

    void addMeta() {
        const std::string attribute = words_.take("an attribute");
        std::string content = words_.restOfLine();
        const auto start = content.find_first_not_of("= \t");
        content = start == std::string::npos ? "" : content.substr(start);
        if (attribute == "unit") unit_ = takeSndlibUnit(content, &draft_);
    }

    // Position, which may be missing, or empty parentheses.
    void addNode() {
        const std::string id = name("the id of a node");
        std::optional<Position> position;
        words_.expect("(");
        if (words_.peek() != ")") {
            const double x = words_.number("a longitude");
            position = {x, words_.number("a latitude")};
        }
        words_.expect(")");
        draft_.nodes.push_back({id, id, position, line_});
        // The notation does not say; pixels do not look like degrees.
        const auto outside = [](const Position& at) {
            return std::abs(at.x) > 180 || std::abs(at.y) > 90;
        };
        if (draft_.nodes.size() == 1) draft_.geographic = true;
        if (position && outside(*position)) draft_.geographic = false;
    }

    std::string name(const char* expected) {
        if (words_.peek() == "(" || words_.peek() == ")") words_.fail(expected);
        return words_.take(expected);
    }

    struct Ends {
        std::string src, dst;
    };

    Ends ends() {
        words_.expect("(");
        Ends ends{name("the id of a node"), name("the id of a node")};
        words_.expect(")");
        return ends;
    }

    void addLink() {
        const std::string id = name("the id of a link");
        const auto [src, dst] = ends();
        SndlibCapacity capacity;
        capacity.installed =
            inMbit(words_.atLeastZero("the pre-installed capacity"), unit_);
        words_.number("the cost of the pre-installed capacity");
        words_.number("the routing cost");
        words_.number("the setup cost");
        words_.expect("(");
        while (words_.peek() != ")") {
            capacity.modules.push_back(
                inMbit(words_.atLeastZero("the capacity of a module or ')'"), unit_));
            words_.number("the cost of a module");
        }
        words_.expect(")");
        addSndlibLink(id, src, dst, capacity, line_, &draft_);
    }

    void addDemand() {
        const std::string id = name("the id of a demand");
        const auto [src, dst] = ends();
        const double routingUnit = words_.atLeastZero("the routing unit");
        const double value = words_.atLeastZero("the demand value");
        const std::string maxLength = name("the longest path or UNLIMITED");
        addSndlibDemand(id, src, dst, inMbit(value * routingUnit, unit_), maxLength,
                        line_, &draft_);
    }

    // demand_id ( path_id ( link_id .. ) .. )
    void skipPaths() {
        draft_.findings.push_back(
            {FindingKind::IgnoredLimit,
             placeIn(draft_, line_) + "admissible paths of demand " + name("a demand")});
        words_.expect("(");
        for (int depth = 1; depth > 0;) {
            const std::string word = words_.take("')'");
            depth += word == "(" ? 1 : word == ")" ? -1 : 0;
        }
    }

    Words words_;
    Draft draft_;
    double unit_ = 1;
    int line_ = 1;
};

}  // namespace

Draft parseSndlibNative(const Source& source) {
    return SndlibNativeParser(source).run();
}

}  // namespace workbench
