// What an application does with the library, step by step, so that a step can be made to
// fail and be tried again.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "support/fake_jni.h"

// What a call told its caller.
struct Result {
    std::string exception;
    std::vector<std::vector<jint>> paths;
    std::vector<jint> lsps;
    jint sessId;
    bool operator==(const Result&) const = default;
};

struct Step {
    const char* name;
    std::function<void(FakeVm&, jobject, Result*)> call;
    // The message on top of the stack when it fails.
    const char* message;
};

// On a ring of four nodes LSPs are placed, preempted, protected locally and globally,
// rerouted and removed; refused calls fill the error stack; then links and a node go
// under LSPs that are up, and what is left is printed.
std::vector<Step> scenario();

// All that a session holds, as text.
std::string dumpOf(jobject session);
