#include "formats/json_lines.h"

#include <fmt/format.h>

#include <iterator>
#include <regex>
#include <vector>

#include "cli/error.h"

namespace workbench {

using nlohmann::json;

namespace {

// Walks the text and counts its lines; copies share the count, for the parser takes a
// copy and the callback asks the original.
class CountingIterator {
  public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    CountingIterator(const char* at, int* line) : at_(at), line_(line) {}
    reference operator*() const { return *at_; }
    CountingIterator& operator++() {
        if (*at_++ == '\n') ++*line_;
        return *this;
    }
    CountingIterator operator++(int) {
        const CountingIterator before = *this;
        ++*this;
        return before;
    }
    bool operator==(const CountingIterator& other) const { return at_ == other.at_; }
    bool operator!=(const CountingIterator& other) const { return at_ != other.at_; }

  private:
    const char* at_;
    int* line_;
};

constexpr int kDeepest = 64;

}  // namespace

std::string plainMessage(const json::exception& error) {
    static const std::pair<std::regex, const char*> kRules[] = {
        {std::regex(R"(^\[.*?\] (parse error at line \d+, )?)"), ""},
        {std::regex(R"(^(\(.*?\) )?type must be (\w+), but is (\w+)$)"),
         "expected a value of type $2, got $3"},
        {std::regex(R"(^(\(.*?\) )?key '(.*)' not found$)"), "expected \"$2\""},
        {std::regex(R"(^(\(.*?\) )?cannot use at\(\) with (\w+)$)"),
         "expected an object, got $2"},
        {std::regex(R"(^(\(.*?\) )?array index (\d+) is out of range$)"),
         "expected a longer list"},
    };
    std::string text = error.what();
    for (const auto& [rule, words] : kRules) text = std::regex_replace(text, rule, words);
    return text;
}

json parseWithLines(const Source& source) {
    int line = 1;
    std::vector<int> starts;
    const auto addLine = [&](int depth, json::parse_event_t event, json& parsed) {
        if (depth > kDeepest)
            throw InputError(source.file, line,
                             fmt::format("expected JSON with at most {} lists and "
                                         "objects inside each other",
                                         kDeepest));
        if (event == json::parse_event_t::object_start) starts.push_back(line);
        if (event == json::parse_event_t::object_end) {
            parsed[kLineKey] = starts.back();
            starts.pop_back();
        }
        return true;
    };
    const char* text = source.text.data();
    try {
        return json::parse(CountingIterator(text, &line),
                           CountingIterator(text + source.text.size(), &line), addLine);
    } catch (const json::exception& error) {
        throw InputError(source.file, line, "expected JSON: " + plainMessage(error));
    }
}

int lineOf(const json& value) {
    return value.is_object() ? value.value(kLineKey, 0) : 0;
}

}  // namespace workbench
