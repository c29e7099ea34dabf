// The threads of a process that work on batches.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "sweep/compute.h"

namespace workbench {

class Crew {
  public:
    // Called by the threads. `take` gives a thread its next batch, nothing at the end;
    // `give` takes what came of one.
    using Take = std::function<std::optional<Batch>(int thread)>;
    using Give = std::function<void(int thread, BatchResult result)>;

    Crew(int size, Computer* computer, Take take, Give give);
    // Ends the threads; what they are at is lost.
    ~Crew();
    Crew(const Crew&) = delete;
    Crew& operator=(const Crew&) = delete;

    // From now on, threads end where they are.
    void stop() { stopped_ = true; }

    // Waits until all threads have ended, but not longer than this; whether they have.
    // Throws what one of them has thrown.
    bool wait(std::chrono::milliseconds most);

  private:
    void run(int thread);

    Computer* computer_;
    Take take_;
    Give give_;
    std::atomic<bool> stopped_ = false;
    std::mutex mutex_;
    std::condition_variable ended_;
    int running_;
    std::exception_ptr error_;
    std::vector<std::jthread> threads_;
};

}  // namespace workbench
