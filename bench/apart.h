// Work in a process of its own: with a time limit, and with memory that does not depend
// on what came before (freed memory is kept for reuse).
#pragma once

#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <type_traits>

struct Ending {
    bool finished;  // else killed at the limit
    double peak;    // bytes resident at most
};

// Runs work(result) in a child process, named to the user; seconds below 0: without a
// limit. Throws if the work throws.
template <class Result, class Work>
Ending runApart(const std::string& name, double seconds, Result* result, Work work) {
    std::fprintf(stderr, "%s ...\n", name.c_str());
    struct Answer {
        Result result = {};
        char failure[200] = "";
    } answer;
    static_assert(std::is_trivially_copyable_v<Answer>);  // goes through a pipe
    int ends[2];
    if (pipe(ends) < 0) throw std::runtime_error("no pipe");
    std::fflush(stdout);  // else the child would write it, too
    const pid_t child = fork();
    if (child < 0) throw std::runtime_error("no process");
    if (child == 0) {
        try {
            work(&answer.result);
        } catch (const std::exception& e) {
            std::snprintf(answer.failure, sizeof answer.failure, "%s", e.what());
        }
        _exit(write(ends[1], &answer, sizeof answer) == sizeof answer ? 0 : 1);
    }
    close(ends[1]);
    pollfd waiting = {ends[0], POLLIN, 0};
    const int limit = seconds < 0.0 ? -1 : static_cast<int>(1000.0 * seconds);
    const bool finished = poll(&waiting, 1, limit) != 0;
    if (!finished) kill(child, SIGKILL);
    const bool received = read(ends[0], &answer, sizeof answer) == sizeof answer;
    close(ends[0]);
    rusage usage = {};
    wait4(child, nullptr, 0, &usage);
    if (finished && !received) throw std::runtime_error(name + ": the process has died");
    if (answer.failure[0] != '\0') throw std::runtime_error(name + ": " + answer.failure);
    *result = answer.result;
    return {finished, 1024.0 * static_cast<double>(usage.ru_maxrss)};
}
