// Words of a text file, with lines and messages.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

#include "formats/draft.h"

namespace workbench {

// Reads words parted by blanks. Each parenthesis of `single` is a word of its own; from a
// word that starts with '#' the rest of the line is skipped if `comments` is set.
class Words {
  public:
    Words(const Source& source, std::string_view single, bool comments)
        : source_(source), single_(single), comments_(comments) {
        skip();
    }

    bool atEnd() const { return at_ == source_.text.size(); }
    int line() const { return line_; }

    std::string_view peek() const;
    // The next word; `expected` is for the message if there is none on this line or,
    // at the start of a line, none at all.
    std::string take(const std::string& expected);
    // Takes just this word.
    void expect(const std::string& word);
    double number(const std::string& expected);
    double atLeastZero(const std::string& expected);
    int natural(const std::string& expected);  // an integer of at least 0
    // The rest of the line, as it stands.
    std::string restOfLine();
    // Throws if there is more on the line of the last word.
    void endLine();

    [[noreturn]] void fail(const std::string& expected) const;

  private:
    void skip();
    bool isSingle(char letter) const { return single_.find(letter) != single_.npos; }

    const Source& source_;
    std::string_view single_;
    bool comments_;
    std::size_t at_ = 0;
    int line_ = 1;
    int lastLine_ = 1;  // of the word taken last
};

}  // namespace workbench
