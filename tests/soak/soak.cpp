// A long life of the library: several sessions at once, each a network that is built,
// used, checked and given up for a new one.
//
//     kavril_soak [OPERATIONS [SEED]]
//
// Exit status 0 if every table was what the LSPs that were up amounted to, memory in use
// did not grow in the second half of a long run, and no byte was left at its end.

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <memory>

#include "session.h"
#include "soak/network.h"

namespace {

constexpr int kBatch = 100;  // operations of one session in a row
constexpr std::size_t kLive = 8, kGenerations = 8;
constexpr std::int64_t kShortestLife = 2000;
constexpr std::int64_t kLong = 200'000;  // enough to see memory level off
constexpr int kChecks = 12;              // of every session

double residentMiB() {
    long pages = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) /
           (1024.0 * 1024.0);
}

// Computations of backups print what they cannot find.
class Silence {
  public:
    Silence() { redirect(1, stdout, &out_), redirect(2, stderr, &err_); }
    ~Silence() { restore(1, stdout, out_), restore(2, stderr, err_); }

  private:
    static void redirect(int fd, std::FILE* stream, int* kept) {
        std::fflush(stream);
        *kept = dup(fd);
        if (std::freopen("/dev/null", "w", stream) == nullptr) std::abort();
    }
    static void restore(int fd, std::FILE* stream, int kept) {
        std::fflush(stream);
        dup2(kept, fd);
        close(kept);
    }
    int out_, err_;
};

class Soak {
  public:
    Soak(std::int64_t operations, unsigned seed)
        : operations_(operations),
          life_(std::max<std::int64_t>(
              kShortestLife,
              operations / static_cast<std::int64_t>(kLive * kGenerations))),
          random_(seed) {}

    void run() {
        while (tally_.operations < operations_ && !failed()) {
            Slot& slot = slots_[random_() % kLive];
            if (slot.network == nullptr || slot.used >= life_) renew(&slot);
            act(&slot);
        }
        report("at the end");
        for (Slot& slot : slots_) slot.network.reset();
    }

    const Tally& tally() const { return tally_; }
    double firstHalf() const { return firstHalf_; }
    double secondHalf() const { return secondHalf_; }
    static bool failed() { return testing::UnitTest::GetInstance()->Failed(); }

  private:
    struct Slot {
        std::unique_ptr<Network> network;
        std::size_t opened;      // sessions so far
        std::int64_t used;       // operations
        std::int64_t nextCheck;  // after so many
    };

    // A slot's sessions follow each other with much the same habits, so that memory in
    // use has no reason to grow.
    void renew(Slot* slot) {
        slot->network.reset();
        const auto n = static_cast<std::size_t>(slot - slots_);
        const std::size_t turn = n + slot->opened++;
        const Habits habits = {n == 0, turn % 2 == 0, turn % 3 == 0, n == 6};
        slot->network = std::make_unique<Network>(habits, random_(), &tally_);
        slot->used = 0;
        slot->nextCheck = life_ / kChecks;
    }

    void act(Slot* slot) {
        const std::clock_t start = std::clock();
        const std::int64_t before = tally_.operations;
        {
            const Silence silence;
            slot->network->run(kBatch);
        }
        seconds_ += static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
        slot->used += tally_.operations - before;
        if (slot->used >= slot->nextCheck) {
            slot->network->check();
            slot->nextCheck += life_ / kChecks;
            double* peak =
                tally_.operations < operations_ / 2 ? &firstHalf_ : &secondHalf_;
            *peak = std::max(*peak, residentMiB());
        }
        if (tally_.operations / (operations_ / 10 + 1) != before / (operations_ / 10 + 1))
            report("so far");
    }

    void report(const char* when) const {
        std::printf(
            "%9lld operations %s, %.0f a second; drift %.1e of capacity in %lld "
            "checks; resident %.1f MiB, live %d bytes\n",
            static_cast<long long>(tally_.operations), when,
            static_cast<double>(tally_.operations) / seconds_, tally_.drift,
            static_cast<long long>(tally_.checks), residentMiB(), allocatedMemory);
        std::fflush(stdout);
    }

    const std::int64_t operations_, life_;
    std::mt19937 random_;
    Tally tally_ = {};
    Slot slots_[kLive] = {};
    double seconds_ = 0.0;  // of processor time, without the checks
    double firstHalf_ = 0.0, secondHalf_ = 0.0;
};

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    const std::int64_t operations = argc > 1 ? std::atoll(argv[1]) : 1'000'000;
    const unsigned seed = argc > 2 ? static_cast<unsigned>(std::atoi(argv[2])) : 1;
    const Long before = allocatedMemory;
    Soak soak(operations, seed);
    soak.run();

    const Tally& tally = soak.tally();
    std::printf(
        "seed %u: placed %lld, backups %lld, refused %lld, preempted %lld, removed "
        "%lld, links and nodes removed %lld, restored %lld, at most %zu LSPs up in "
        "one of %zu sessions\n",
        seed, static_cast<long long>(tally.placed), static_cast<long long>(tally.backups),
        static_cast<long long>(tally.refused), static_cast<long long>(tally.preempted),
        static_cast<long long>(tally.removed), static_cast<long long>(tally.cut),
        static_cast<long long>(tally.restored), tally.mostUp, kLive);
    std::printf(
        "highest resident memory: %.1f MiB in the first half, %.1f in the second\n",
        soak.firstHalf(), soak.secondHalf());
    EXPECT_EQ(before, allocatedMemory);
    EXPECT_TRUE(operations < kLong || soak.secondHalf() <= 1.1 * soak.firstHalf());
    return Soak::failed() ? EXIT_FAILURE : EXIT_SUCCESS;
}
