#include "formats/words.h"

#include <fmt/format.h>

#include <charconv>

#include "cli/error.h"
#include "formats/units.h"

namespace workbench {

static bool isBlank(char letter) {
    return letter == ' ' || letter == '\t' || letter == '\r' || letter == '\n' ||
           letter == '\v' || letter == '\f';
}

void Words::skip() {
    const std::string& text = source_.text;
    bool comment = false;
    for (; at_ < text.size(); at_++) {
        comment = comment || (comments_ && text[at_] == '#');
        if (text[at_] == '\n') {
            line_++;
            comment = false;
        } else if (!comment && !isBlank(text[at_])) {
            return;
        }
    }
}

std::string_view Words::peek() const {
    const std::string& text = source_.text;
    std::size_t end = at_;
    if (end < text.size() && isSingle(text[end]))
        end++;
    else
        while (end < text.size() && !isBlank(text[end]) && !isSingle(text[end])) end++;
    return std::string_view(text).substr(at_, end - at_);
}

std::string Words::take(const std::string& expected) {
    if (atEnd()) fail(expected);
    const std::string word(peek());
    lastLine_ = line_;
    at_ += word.size();
    skip();
    return word;
}

void Words::expect(const std::string& word) {
    if (peek() != word) fail("'" + word + "'");
    take(word);
}

double Words::number(const std::string& expected) {
    const auto value = parseNumber(peek());
    if (!value) fail(expected);
    take(expected);
    return *value;
}

double Words::atLeastZero(const std::string& expected) {
    const auto value = parseNumber(peek());
    if (!value || *value < 0) fail(fmt::format("{}, a number of at least 0", expected));
    return number(expected);
}

int Words::natural(const std::string& expected) {
    const std::string_view word = peek();
    int value = 0;
    const auto [end, error] =
        std::from_chars(word.data(), word.data() + word.size(), value);
    if (error != std::errc() || end != word.data() + word.size() || word.empty() ||
        value < 0)
        fail(expected);
    take(expected);
    return value;
}

std::string Words::restOfLine() {
    const std::size_t end = std::min(source_.text.find('\n', at_), source_.text.size());
    const std::string rest =
        line_ == lastLine_ ? source_.text.substr(at_, end - at_) : "";
    if (line_ == lastLine_) at_ = end;
    skip();
    return rest;
}

void Words::endLine() {
    if (!atEnd() && line_ == lastLine_) fail("the end of the line");
}

void Words::fail(const std::string& expected) const {
    const std::string got =
        atEnd() ? "the end of the file" : fmt::format("'{:.40}'", peek());
    throw InputError(source_.file, line_,
                     fmt::format("expected {}, got {}", expected, got));
}

}  // namespace workbench
