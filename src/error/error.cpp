#include "error/error.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "common/memory.h"
#include "common/print.h"

constinit thread_local ErrorList errorManager = {};

namespace {

// Free slots that a push leaves at least, so that a stack that cannot grow any more
// still takes the messages that say so.
constexpr Long kReserve = 5;

bool grow() {
    if (errorManager.size > std::numeric_limits<Long>::max() / 2) return false;
    const auto bytes =
        2 * static_cast<std::size_t>(errorManager.size) * sizeof(ErrorElem);
    void* list = myrealloc(errorManager.list, bytes);
    if (list == nullptr) return false;
    errorManager.list = static_cast<ErrorElem*>(list);
    errorManager.size *= 2;
    return true;
}

void store(GravityLevel level, const char* message) {
    ErrorElem* elem = &errorManager.list[errorManager.top++];
    elem->gravity = level;
    std::strncpy(elem->message, message, sizeof elem->message - 1);
    elem->message[sizeof elem->message - 1] = '\0';
}

void push(GravityLevel level, const char* message) {
    if (errorManager.list == nullptr) return;
    if (errorManager.top >= errorManager.size - kReserve && !grow() &&
        errorManager.top < errorManager.size)
        store(CRITICAL,
              "Critical lack of memory encountered while resizing error manager");
    if (errorManager.top < errorManager.size) store(level, message);
}

const char* tagOf(const ErrorElem& elem) {
    static const char* const tags[] = {"[INFO] ", "[WARNING] ", "[CRITICAL] ",
                                       "[PANIC] "};
    return elem.gravity >= INFO && elem.gravity <= PANIC ? tags[elem.gravity] : "";
}

}  // namespace

void errorInit() {
    void* list = mycalloc(1, sizeof(ErrorElem));
    if (list == nullptr) {
        std::perror("Unable to initialize error manager");
        std::abort();
    }
    errorManager = {1, 0, static_cast<ErrorElem*>(list)};
}

void errorDestroy() {
    myfree(errorManager.list);
    errorManager = {};
}

void addError(GravityLevel level, const char* msg, ...) {
    char text[sizeof ErrorElem::message];
    std::va_list args;
    va_start(args, msg);
    std::vsnprintf(text, sizeof text, msg, args);
    va_end(args);
    push(level, text);
}

void addErrorAt(GravityLevel level, const char* source, int line, const char* msg, ...) {
    char text[sizeof ErrorElem::message];
    std::va_list args;
    va_start(args, msg);
    std::vsnprintf(text, sizeof text, msg, args);
    va_end(args);
    const std::size_t length = std::strlen(text);
    std::snprintf(text + length, sizeof text - length, " in %s at line %d", source, line);
    push(level, text);
}

void printErrorStack() {
    if (errorManager.top == 0) return;
    if (isForCaller()) {
        for (Long i = errorManager.top - 1; i >= 0; i--)
            say(stderr, "%s%s\n", tagOf(errorManager.list[i]),
                errorManager.list[i].message);
        return;
    }
    // Standard error is not buffered: a system call per message would take half a minute
    // for a million of them.
    const StreamHold hold(stderr);
    char lines[1 << 14];
    std::size_t length = 0;
    auto add = [&](const char* text) {
        const std::size_t bytes = std::strlen(text);
        std::memcpy(lines + length, text, bytes);
        length += bytes;
    };
    for (Long i = errorManager.top - 1; i >= 0; i--) {
        const ErrorElem* elem = &errorManager.list[i];
        add(tagOf(*elem));
        add(elem->message);
        add("\n");
        if (length + 2 * sizeof(ErrorElem) > sizeof lines || i == 0) {
            std::fwrite(lines, 1, length, stderr);
            length = 0;
        }
    }
}
