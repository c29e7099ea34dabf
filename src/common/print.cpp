#include "common/print.h"

#include <algorithm>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <optional>

namespace {

// Texts one after the other, as Said has them.
struct Kept {
    bool isOpen;
    bool isForCaller;
    char* texts;
    std::size_t top;
    std::size_t size;
};
constinit thread_local Kept kept = {};
constinit thread_local bool isSilent = false;

bool hasTextFor(Stream stream) {
    for (std::size_t at = 0; at < kept.top; at += std::strlen(kept.texts + at + 1) + 2)
        if (kept.texts[at] == stream) return true;
    return false;
}

void writeKept() {
    if (kept.top == 0) return;
    const bool isOut = hasTextFor(OUT), isErr = hasTextFor(ERR);
    std::optional<StreamHold> out, err;  // in this order, whoever needs both
    if (isOut) out.emplace(stdout);
    if (isErr) err.emplace(stderr);
    for (std::size_t at = 0; at < kept.top; at += std::strlen(kept.texts + at + 1) + 2)
        std::fputs(kept.texts + at + 1, kept.texts[at] == OUT ? stdout : stderr);
    // It keeps its place among the application's own output.
    if (isOut) std::fflush(stdout);
    kept.top = 0;
}

// Room for so many bytes more; null without memory.
char* makeRoom(std::size_t bytes) {
    if (kept.size - kept.top < bytes) {
        const std::size_t size = std::max<std::size_t>(512, 2 * kept.size + bytes);
        void* texts = std::realloc(kept.texts, size);
        if (texts == nullptr) return nullptr;
        kept.texts = static_cast<char*>(texts);
        kept.size = size;
    }
    return kept.texts + kept.top;
}

bool keep(Stream stream, const char* format, std::va_list args) {
    std::va_list again;
    va_copy(again, args);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    if (length < 0) return false;
    const std::size_t bytes = static_cast<std::size_t>(length) + 2;
    char* text = makeRoom(bytes);
    if (text == nullptr) return false;
    *text = stream;
    std::vsnprintf(text + 1, bytes - 1, format, args);
    kept.top += bytes;
    return true;
}

}  // namespace

void say(std::FILE* stream, const char* format, ...) {
    if (isSilent) return;
    std::va_list args;
    va_start(args, format);
    if (!(kept.isOpen && keep(stream == stderr ? ERR : OUT, format, args)) &&
        !kept.isForCaller) {
        writeKept();
        std::vfprintf(stream, format, args);
    }
    va_end(args);
}

Saying::Saying() {
    forgetSaid();
    kept.isOpen = true;
}

Saying::~Saying() {
    kept.isOpen = false;
    if (kept.isForCaller) return;
    writeKept();
    forgetSaid();
}

void keepForCaller() {
    kept.isForCaller = true;
}

bool isForCaller() {
    return kept.isForCaller;
}

Said said() {
    return {kept.texts, kept.top};
}

void forgetSaid() {
    std::free(kept.texts);
    kept = {};
}

Silence::Silence() : before_(isSilent) {
    isSilent = true;
}

Silence::~Silence() {
    isSilent = before_;
}

StreamHold::StreamHold(std::FILE* stream) : stream_(stream) {
    flockfile(stream);
}

StreamHold::~StreamHold() {
    funlockfile(stream_);
}
