#include "sweep/crew.h"

#include "cli/progress.h"

namespace workbench {

Crew::Crew(int size, Computer* computer, Take take, Give give)
    : computer_(computer),
      take_(std::move(take)),
      give_(std::move(give)),
      running_(size) {
    for (int thread = 0; thread < size; thread++)
        threads_.emplace_back([this, thread] { run(thread); });
}

Crew::~Crew() {
    stop();
}

void Crew::run(int thread) {
    std::exception_ptr error;
    try {
        const CheckStop check = [this] {
            if (stopped_) throw Interrupted();
        };
        Computer::Worker worker;
        while (std::optional<Batch> batch = take_(thread)) {
            check();
            give_(thread, computer_->compute(*batch, &worker, check));
        }
    } catch (const Interrupted&) {
        // As it was asked to.
    } catch (...) {
        error = std::current_exception();
    }
    const std::lock_guard lock(mutex_);
    if (error != nullptr) {
        error_ = error;
        stopped_ = true;
    }
    running_--;
    ended_.notify_all();
}

bool Crew::wait(std::chrono::milliseconds most) {
    std::unique_lock lock(mutex_);
    const bool isOver = ended_.wait_for(lock, most, [this] { return running_ == 0; });
    if (isOver && error_ != nullptr) std::rethrow_exception(error_);
    return isOver;
}

}  // namespace workbench
