// What the standard and the C library leave out where there is but one thread: nobody
// waits. Read before every source of the core.
#pragma once

#include <cstdio>
#include <mutex>

namespace std {

class mutex {
  public:
    void lock() {}
    void unlock() {}
};

template <class Mutex>
class lock_guard {
  public:
    explicit lock_guard(Mutex&) {}
    ~lock_guard() {}
    lock_guard(const lock_guard&) = delete;
    lock_guard& operator=(const lock_guard&) = delete;
};

}  // namespace std

inline void flockfile(std::FILE*) {}
inline void funlockfile(std::FILE*) {}
