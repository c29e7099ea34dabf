// What is written to the standard streams while it lives.
#pragma once

#include <cstdio>
#include <cstdlib>

#include "twin/messages.h"

class Capture {
  public:
    Capture() : out_(stdout), err_(stderr) {
        stdout = open_memstream(&texts_[0], &sizes_[0]);
        stderr = open_memstream(&texts_[1], &sizes_[1]);
    }
    ~Capture() {
        if (stdout != out_) stop();
        std::free(texts_[0]);
        std::free(texts_[1]);
    }
    Capture(const Capture&) = delete;
    Capture& operator=(const Capture&) = delete;

    void stop() {
        std::fclose(stdout);
        std::fclose(stderr);
        stdout = out_;
        stderr = err_;
    }

    // Standard output (0) or standard error (1), once it has been stopped.
    std::string text(std::size_t stream) const {
        return sizes_[stream] == 0 ? "" : twin::masked({texts_[stream], sizes_[stream]});
    }

  private:
    std::FILE *out_, *err_;
    char* texts_[2] = {};
    std::size_t sizes_[2] = {};
};
