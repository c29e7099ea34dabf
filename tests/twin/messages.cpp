#include "twin/messages.h"

#include <cstdarg>

namespace twin {

thread_local Process now;

std::string format(const char* text, ...) {
    char buffer[2048];
    std::va_list args;
    va_start(args, text);
    std::vsnprintf(buffer, sizeof buffer, text, args);
    va_end(args);
    return masked(buffer);
}

void push(GravityLevel level, const std::string& text) {
    if (now.stack == nullptr) return;
    if (static_cast<Long>(now.stack->messages.size()) >= now.stack->size - 5)
        now.stack->size *= 2;
    now.stack->messages.push_back({level, text});
}

void push(GravityLevel level, const char* source, const std::string& text) {
    push(level, text + " in " + source + " at line #");
}

bool fail(const char* source, const std::string& text) {
    push(CRITICAL, source, text);
    return false;
}

void printStack(const Stack& stack) {
    static const char* const tags[] = {"[INFO] ", "[WARNING] ", "[CRITICAL] ",
                                       "[PANIC] "};
    for (auto it = stack.messages.rbegin(); it != stack.messages.rend(); ++it)
        now.err += tags[it->level] + it->text + "\n";
}

std::string masked(const std::string& text) {
    const std::string line = " at line ", nan = "-nan";
    std::string result;
    for (std::size_t at = 0; at < text.size();) {
        if (text.compare(at, line.size(), line) == 0) {
            result += line + "#";
            at = text.find_first_not_of("-0123456789", at + line.size());
        } else {
            // The sign of what is not a number is nobody's.
            if (text.compare(at, nan.size(), nan) == 0) at++;
            result += text[at++];
        }
    }
    return result;
}

}  // namespace twin
