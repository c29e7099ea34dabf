// Silences the standard streams while it lives: what calls print would drown the output
// of whoever drives them.
#pragma once

#include <cstdio>

class Muted {
  public:
    Muted() : null_(std::fopen("/dev/null", "w")), out_(stdout), err_(stderr) {
        stdout = stderr = null_;
    }
    ~Muted() {
        stdout = out_;
        stderr = err_;
        std::fclose(null_);
    }
    Muted(const Muted&) = delete;
    Muted& operator=(const Muted&) = delete;

  private:
    std::FILE* null_;
    std::FILE* out_;
    std::FILE* err_;
};
