#include "engine/quiet_streams.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

namespace workbench {

namespace {

int replace(std::FILE* stream, int with) {
    std::fflush(stream);
    const int saved = dup(fileno(stream));
    if (saved >= 0 && with >= 0) dup2(with, fileno(stream));
    return saved;
}

void restore(std::FILE* stream, int saved) {
    std::fflush(stream);
    if (saved < 0) return;
    dup2(saved, fileno(stream));
    close(saved);
}

}  // namespace

QuietStreams::QuietStreams() {
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    savedOut_ = replace(stdout, nowhere);
    savedErr_ = replace(stderr, nowhere);
    if (nowhere >= 0) close(nowhere);
}

QuietStreams::~QuietStreams() {
    restore(stdout, savedOut_);
    restore(stderr, savedErr_);
}

}  // namespace workbench
