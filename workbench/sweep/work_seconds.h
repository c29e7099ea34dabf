// What work costs.
#pragma once

#include <ctime>

namespace workbench {

// Seconds that this thread has worked: others on the machine do not make them more.
inline double workSeconds() {
    timespec time = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

}  // namespace workbench
