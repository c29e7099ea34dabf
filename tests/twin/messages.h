// What the twin says: the error stack of the loaded session, and what it prints.
//
// Messages end in " at line #" where those of the library name a line.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "common/setup.h"
#include "error/error.h"

namespace twin {

struct Message {
    GravityLevel level;
    std::string text;
    bool operator==(const Message&) const = default;
};

struct Stack {
    Long size = 1;  // capacity, doubled while it leaves fewer than six free slots
    std::vector<Message> messages;  // oldest first
};

// What belongs to the process and not to a session.
struct Process {
    std::shared_ptr<Stack> stack;  // the current one, if any
    KAVRILConfig config = {};      // of the loaded session
    int nbOA = 0, nbPL = 0;
    double cost = 0.0;
    std::string out, err;      // printed since they were cleared
    long patience = 1L << 24;  // repeats of the choice inside a level
};
extern thread_local Process now;  // each thread plays with a process of its own

// A call that goes on too long for a test, or cannot be followed.
struct GivenUp {};

std::string format(const char* text, ...) __attribute__((format(printf, 1, 2)));

void push(GravityLevel level, const std::string& text);
void push(GravityLevel level, const char* source, const std::string& text);

// Pushes a CRITICAL message; false.
bool fail(const char* source, const std::string& text);

void printStack(const Stack& stack);

// A text of the library as the twin would have it.
std::string masked(const std::string& text);

}  // namespace twin
