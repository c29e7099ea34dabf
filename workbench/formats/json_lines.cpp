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

constexpr std::size_t kDeepest = 64;

// Builds the value as it is read. The library's own way to be told of every object looks
// through all that came before it in its list.
class Builder : public nlohmann::json_sax<json> {
  public:
    Builder(const std::string& file, const int& line) : file_(file), line_(line) {}

    json take() { return std::move(root_); }

    bool null() override { return add(nullptr); }
    bool boolean(bool value) override { return add(value); }
    bool number_integer(number_integer_t value) override { return add(value); }
    bool number_unsigned(number_unsigned_t value) override { return add(value); }
    bool number_float(number_float_t value, const string_t&) override {
        return add(value);
    }
    bool string(string_t& value) override { return add(std::move(value)); }
    bool binary(binary_t& value) override { return add(std::move(value)); }
    bool start_object(std::size_t) override { return open({{kLineKey, line_}}); }
    bool key(string_t& value) override {
        key_ = std::move(value);
        return true;
    }
    bool start_array(std::size_t) override { return open(json::array()); }
    bool end_object() override { return close(); }
    bool end_array() override { return close(); }
    bool parse_error(std::size_t, const std::string&,
                     const json::exception& error) override {
        throw InputError(file_, line_, "expected JSON: " + plainMessage(error));
    }

  private:
    json& place() {
        if (open_.empty()) return root_;
        json& list = *open_.back();
        return list.is_array() ? list.emplace_back() : list[key_];
    }
    bool add(json value) {
        place() = std::move(value);
        return true;
    }
    bool open(json value) {
        if (open_.size() == kDeepest)
            throw InputError(file_, line_,
                             fmt::format("expected JSON with at most {} lists and "
                                         "objects inside each other",
                                         kDeepest));
        json& at = place();
        at = std::move(value);
        open_.push_back(&at);
        return true;
    }
    bool close() {
        open_.pop_back();
        return true;
    }

    const std::string& file_;
    const int& line_;
    json root_;
    std::vector<json*> open_;
    std::string key_;
};

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
    Builder builder(source.file, line);
    const char* text = source.text.data();
    json::sax_parse(CountingIterator(text, &line),
                    CountingIterator(text + source.text.size(), &line), &builder);
    return builder.take();
}

int lineOf(const json& value) {
    return value.is_object() ? value.value(kLineKey, 0) : 0;
}

}  // namespace workbench
