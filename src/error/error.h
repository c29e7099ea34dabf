// The error stack of the current session.
//
// Conventions shared by all modules: a function returns 0 or -1, a pointer that is
// null on failure, or a bool. Before it returns a failure it pushes a message, nearly
// always CRITICAL; a caller that fails because a callee failed pushes its own on top,
// so that the stack, read newest first, is a trace. Pointer arguments are checked
// first. Nothing aborts the process but a failure to create the stack itself.
//
// A message pushed while no stack exists is dropped.
#pragma once

#include "common/types.h"

enum GravityLevel : int { INFO = 0, WARNING = 1, CRITICAL = 2, PANIC = 3 };

struct ErrorElem {
    GravityLevel gravity;
    char message[200];  // always zero-terminated
};

struct ErrorList {
    Long size;        // capacity
    Long top;         // messages held
    ErrorElem* list;  // oldest first; null when there is no stack
};

// Each thread has its own: that of the session it has loaded.
extern constinit thread_local ErrorList errorManager;

// Makes a fresh, empty stack the current one; the former stays with whoever holds it.
void errorInit();

// Releases the current stack.
void errorDestroy();

// Pushes a printf-style message, cut to 199 characters. A stack that cannot grow takes
// a note about that and, while it has room, the message; then it drops messages.
void addError(GravityLevel level, const char* msg, ...)
    __attribute__((format(printf, 2, 3)));

// addError with " in <source> at line <line>" behind the message.
void addErrorAt(GravityLevel level, const char* source, int line, const char* msg, ...)
    __attribute__((format(printf, 4, 5)));

// Writes the stack to standard error in one piece, newest message first, or leaves that
// to the caller (print.h). The stack stays as it is.
void printErrorStack();

// Each source file defines ERROR_SOURCE, the name that its messages carry.
#define PUSH_ERROR(level, ...) addErrorAt(level, ERROR_SOURCE, __LINE__, __VA_ARGS__)

// Pushes a CRITICAL message; its value is `result`.
#define FAIL_WITH(result, ...) (PUSH_ERROR(CRITICAL, __VA_ARGS__), (result))
