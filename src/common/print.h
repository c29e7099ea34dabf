// Text for the standard streams.
//
// What a call on a session prints stays in one piece, whatever other threads print: it is
// kept until the call ends, when nobody waits for its session any more.
#pragma once

#include <cstddef>
#include <cstdio>

// Prints to stdout or stderr: at once, or at the end of the call that is open.
void say(std::FILE* stream, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

// Opens a call of this thread; its end writes what the call has said, and flushes it.
class Saying {
  public:
    Saying();
    ~Saying();
    Saying(const Saying&) = delete;
    Saying& operator=(const Saying&) = delete;
};

// Has the call that is open leave what it says to its caller, who asks for it before this
// thread's next call.
void keepForCaller();
bool isForCaller();

// What the last call has left: texts, each with OUT or ERR before it and a zero behind.
// They are gone with forgetSaid.
enum Stream : char { OUT = 'o', ERR = 'e' };
struct Said {
    const char* texts;
    std::size_t bytes;
};
Said said();
void forgetSaid();

// Drops what this thread says while it lives.
class Silence {
  public:
    Silence();
    ~Silence();
    Silence(const Silence&) = delete;
    Silence& operator=(const Silence&) = delete;

  private:
    bool before_;
};

// Keeps other threads from a stream.
class StreamHold {
  public:
    explicit StreamHold(std::FILE* stream);
    ~StreamHold();
    StreamHold(const StreamHold&) = delete;
    StreamHold& operator=(const StreamHold&) = delete;

  private:
    std::FILE* stream_;
};
