// The scenario, run once for every allocation: that one fails.
//
// The step in which it does either fails, with its own message on top of the stack and
// the network as it was unless a message says that it is "uncomplete" or names one of
// several backups, and then succeeds when it is tried again; or it gets by without the
// memory. In both cases everything from there on is as if nothing had happened.

#include <gmock/gmock.h>

#include <csignal>
#include <set>

#include "common/memory.h"
#include "error/error.h"
#include "faults/scenario.h"
#include "fuzz/muted.h"
#include "session.h"
#include "support/entry_points.h"

namespace {

constexpr Long kNever = 1 << 30;
constexpr const char* kNote =
    "Critical lack of memory encountered while resizing error manager";

struct Clean {
    Result result;
    std::string dump;
    Long allocations;    // of the library, before the step
    long vmAllocations;  // of the virtual machine
};

using Texts = std::vector<std::string>;

class Application {
  public:
    Application() : object_(vm_.object()) {}
    ~Application() { failAllocation(0); }

    Result run(const Step& step) {
        Result result = {};
        {
            const Muted muted;
            step.call(vm_, object_, &result);
        }
        const std::string exception = vm_.takeException();
        if (!exception.empty()) result.exception = exception;
        result.lsps = FakeVm::lsps(object_);
        // The slot differs from run to run.
        result.sessId = FakeVm::sessId(object_) < 0 ? -1 : 0;
        return result;
    }

    // The messages from `from` on, oldest first, without source and line.
    Texts messages(Long from) const {
        const ErrorList* stack = stackOf();
        Texts texts;
        for (Long i = from; stack != nullptr && i < stack->top; i++) {
            texts.push_back(stack->list[i].message);
            texts.back().resize(
                std::min(texts.back().rfind(" in "), texts.back().size()));
        }
        return texts;
    }
    Long nbMessages() const { return stackOf() != nullptr ? stackOf()->top : 0; }

    void kill() {
        const Muted muted;
        killKavril(vm_.env(), object_);
    }

    FakeVm& vm() { return vm_; }
    std::string dump() const { return dumpOf(object_); }

  private:
    const ErrorList* stackOf() const {
        const jint id = FakeVm::sessId(object_);
        return id < 0                    ? &errorManager
               : sessions[id] != nullptr ? &sessions[id]->errorManager
                                         : nullptr;
    }

    FakeVm vm_;
    jobject object_;
};

bool anyContains(const Texts& texts, const char* part) {
    return std::any_of(texts.begin(), texts.end(), [=](const std::string& text) {
        return text.find(part) != std::string::npos;
    });
}

class Faults : public testing::Test {
  protected:
    Faults() : steps_(scenario()) {
        Application app;
        failAllocation(kNever);
        app.vm().failAllocation(kNever);
        for (const Step& step : steps_) {
            const Counts counts = countOf(app);
            const Result result = app.run(step);
            clean_.push_back({result, app.dump(), counts.first, counts.second});
        }
        total_ = countOf(app);
        failAllocation(0);
        app.vm().failAllocation(0);
        app.kill();
    }

    using Counts = std::pair<Long, long>;
    static Counts countOf(Application& app) {
        const Long left = failAllocation(kNever);
        const long vmLeft = app.vm().failAllocation(kNever);
        failAllocation(left);
        app.vm().failAllocation(vmLeft);
        return {kNever - left, kNever - vmLeft};
    }

    // Runs the scenario with `arm` called before it, in whose step `at` memory ends.
    template <class Arm>
    void runFailing(std::size_t at, Arm arm) {
        Application app;
        arm(app);
        bool alike = true;  // all as in the run without failure
        for (std::size_t i = 0; i < steps_.size(); i++) {
            SCOPED_TRACE(std::string("step ") + std::to_string(i) + ' ' + steps_[i].name);
            if (i == at) {
                alike = failStep(app, i);
                continue;
            }
            const Result result = app.run(steps_[i]);
            if (alike) {
                EXPECT_TRUE(clean_[i].result == result);
            }
        }
        if (alike) {
            EXPECT_TRUE(clean_.back().dump == app.dump());
        }
        app.kill();
        EXPECT_EQ(0, app.vm().pinned());
        EXPECT_EQ("", app.vm().misuse());
        EXPECT_EQ("no session", app.dump());
        if (errorManager.list != nullptr) errorDestroy();  // of a session that never was
        EXPECT_EQ(before_, allocatedMemory);
    }

    // Whether the network is what it has to be after the step.
    bool failStep(Application& app, std::size_t i) {
        const std::string before = app.dump();
        const Long nbMessages = app.nbMessages();
        const Result result = app.run(steps_[i]);
        EXPECT_EQ(0, failAllocation(0)) << "no allocation has failed";
        EXPECT_EQ(0, app.vm().failAllocation(0));
        const Texts texts = app.messages(nbMessages);
        std::string point = steps_[i].name;
        for (const std::string& text : texts)
            if (!text.starts_with("Lsp ID")) point += " / " + text;
        points_.insert(point + " / " + result.exception);
        const bool partial = anyContains(texts, "uncomplete") ||
                             anyContains(texts, "Impossible to add BACKUP LSP");
        if (result == clean_[i].result && app.dump() == clean_[i].dump) return true;
        // A link state that cannot be had fails without an exception.
        const bool told = !texts.empty() && texts.back() == "Impossible to init a Link";
        if (result.exception.empty() && result.sessId >= 0 && !told) {
            // Got by with less, and says so.
            EXPECT_FALSE(texts.empty()) << "differs without a message";
            worse_++;
            return false;
        }
        if (result.exception != "OutOfMemoryError") {
            // A stack that cannot take its first message holds a note about that alone.
            if (texts != Texts{kNote}) {
                EXPECT_THAT(texts.empty() ? "" : texts.back(),
                            testing::StartsWith(steps_[i].message));
            }
            EXPECT_TRUE(anyContains(texts, "memory") || anyContains(texts, "llocate"));
        }
        if (partial) {
            partial_++;
            return false;
        }
        EXPECT_TRUE(before == app.dump()) << "not as it was";
        EXPECT_TRUE(clean_[i].result == app.run(steps_[i])) << "tried again";
        EXPECT_TRUE(clean_[i].dump == app.dump()) << "tried again";
        return true;
    }
    std::vector<Step> steps_;
    std::vector<Clean> clean_;
    Counts total_;
    Long before_ = allocatedMemory;
    std::set<std::string> points_;
    int partial_ = 0;
    int worse_ = 0;
};

TEST_F(Faults, EveryAllocationMayFail) {
    std::size_t at = 0;
    for (Long nth = 2; nth <= total_.first && !HasFailure(); nth++) {
        SCOPED_TRACE("allocation " + std::to_string(nth));
        while (at + 1 < steps_.size() && clean_[at + 1].allocations < nth) at++;
        runFailing(at, [=](Application&) { failAllocation(nth); });
    }
    std::printf(
        "%d allocations failed, %zu distinct points, %d left an operation "
        "uncomplete, %d a result that differs\n",
        total_.first - 1, points_.size(), partial_, worse_);
    for (const std::string& point : points_) std::printf("  %s\n", point.c_str());
    const Texts points(points_.begin(), points_.end());
    for (const char* reached :
         {"Unable to resize node vector", "Unable to resize LSP vector",
          "Unable to resize link table", "Unable to resize long vector",
          "Unable to create a valid LSP copy", "Impossible to duplicate path",
          "LSPRequestList", "LSP addition uncomplete", "LSP removal uncomplete", kNote})
        EXPECT_TRUE(anyContains(points, reached)) << reached;
}

TEST_F(Faults, EveryAllocationOfTheVirtualMachineMayFail) {
    std::size_t at = 0;
    for (long nth = 1; nth <= total_.second && !HasFailure(); nth++) {
        SCOPED_TRACE("allocation " + std::to_string(nth));
        while (at + 1 < steps_.size() && clean_[at + 1].vmAllocations < nth) at++;
        runFailing(at, [=](Application& app) { app.vm().failAllocation(nth); });
    }
    std::printf("%ld allocations failed, %zu distinct points\n", total_.second,
                points_.size());
}

// The one failure that ends the process: without a stack there is no way to report any.
TEST_F(Faults, NoErrorStackEndsTheProcess) {
    Application app;
    failAllocation(1);
    EXPECT_EXIT(app.run(steps_[0]), testing::KilledBySignal(SIGABRT), "");
}

}  // namespace
