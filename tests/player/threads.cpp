#include <unistd.h>

#include <array>
#include <atomic>
#include <filesystem>
#include <mutex>
#include <random>
#include <shared_mutex>
#include <thread>

#include "database/live/live.h"
#include "player/play.h"
#include "session/journal.h"
#include "session/session_file.h"
#include "support/entry_points.h"

namespace {

constexpr jint kNodes = 6;
std::array<std::atomic<jint>, 4> sharedIds;

// Whoever calls a session by a number just read holds this, and nobody gets past the last
// slots meanwhile: numbers are given out again once the slots have gone round.
std::shared_mutex goingRound;

const std::filesystem::path kFolder = std::filesystem::temp_directory_path() /
                                      ("kavril_threads-" + std::to_string(getpid()));

std::unique_lock<std::shared_mutex> roomToOpen() {
    std::unique_lock lock(goingRound, std::defer_lock);
    if (lastSession >= kMaxSessions - 32) lock.lock();
    return lock;
}

// Makes calls on the shared sessions between those of a player.
class Visitor {
  public:
    explicit Visitor(unsigned seed) : random_(seed) { own_ = open(); }
    ~Visitor() { kill(own_); }

    jint open() {
        const auto lock = roomToOpen();
        initKavril(env_, object_, 3, 8, JNI_FALSE, JNI_FALSE, JNI_TRUE, 0, 0, 0, 0, 0, 0,
                   1, vm_.rows({3, std::vector<float>(8)}));
        for (jint node = 0; node < kNodes; node++) addNodeEntry(env_, object_, node);
        for (jint i = 0; i < 2 * kNodes; i++)
            addLink(i / 2, (i / 2 + 1 + i % 2) % kNodes);
        static std::atomic<int> begun = 0;
        const std::filesystem::path path = kFolder / std::to_string(begun++);
        UsedNumbers numbers = {3, 8};
        loadSession(FakeVm::sessId(object_));
        if (begun % 2 == 0)
            expect(0, openJournal(path.c_str(), false, &numbers), "a journal");
        return saveCntx(currentSessId);
    }

    // -1 if somebody has killed it.
    static jint copy(jint id) {
        const auto lock = roomToOpen();
        const jint copied = copySession(id);
        leaveSession();
        return copied;
    }

    void kill(jint id) {
        FakeVm::sessId(object_) = id;
        killKavril(env_, object_);
    }

    // What is said of numbers that are gone goes to a session of the visitor's; the
    // player finds its own loaded last, as it was.
    void visit() {
        const int last = currentSessId;
        if (last < 0) return;
        reload(own_);
        std::atomic<jint>& id = sharedIds[below(sharedIds.size())];
        {
            const std::shared_lock lock(goingRound);
            FakeVm::sessId(object_) = id;
            below(50) == 0 ? replace(id) : call();
            vm_.takeException();
        }
        vm_.forgetArrays();
        reload(last);
        expect(std::string(), vm_.misuse(), "use of JNI");
    }

  private:
    static void reload(int id) {
        expect(id, loadSession(id), "a session that is live");
        leaveSession();
    }

    std::uint32_t below(std::size_t n) { return std::uint32_t(random_() % n); }

    void addLink(jint src, jint dst) {
        addLinkEntry(env_, object_, src * kNodes + dst, 0, src, dst,
                     vm_.floats({90, 90, 90}), vm_.rows({3, std::vector<float>(8)}),
                     nullptr, nullptr, nullptr);
    }

    void commit() {
        if (loadSession(FakeVm::sessId(object_)) >= 0)
            expect(0, commitJournal(), "what is written to a journal");
        saveCntx(currentSessId);
    }

    void call() {
        const jint id = jint(below(40)), src = jint(below(kNodes)),
                   dst = jint(below(kNodes)), level = jint(below(8));
        const jboolean place = below(4) != 0, preempt = below(2) != 0;
        switch (below(9)) {
            case 5:
                return commit();
            case 0:
                return removeLSPEntry(env_, object_, id);
            case 1:
                return addLink(src, dst);
            case 2:
                return removeLinkEntry(env_, object_, src, dst);
            case 3:
                return printKavrilDB(env_, object_);
            case 4:
                computeBackupPathEntry(env_, object_, id, vm_.ints({40, 41, 42, 43, 44}),
                                       level % 2, place, JNI_FALSE);
                return;
            default:
                computePathEntry(env_, object_, id, src, dst, 0, 0, 0, 0, level, 7,
                                 nullptr, place, preempt);
        }
    }

    // Others may do it to the same session at the same time: one of the new ones stays.
    void replace(std::atomic<jint>& id) {
        jint old = FakeVm::sessId(object_);
        Long where[2];
        if (loadSession(old) >= 0 && checkLive(centralDB, where) != nullptr)
            throw Difference("derived state of a shared session");
        leaveSession();
        goingRound.unlock_shared();
        jint opened = below(2) == 0 ? copy(old) : -1;
        if (opened < 0) opened = open();
        goingRound.lock_shared();
        kill(old);
        if (!id.compare_exchange_strong(old, opened)) kill(opened);
    }

    FakeVm vm_;
    JNIEnv* env_ = vm_.env();
    jobject object_ = vm_.object();
    jint own_ = -1;
    std::minstd_rand random_;
};

}  // namespace

long playInThreads(long threads, long from, long to,
                   const std::function<Input(long)>& inputAt, std::string* wrong) {
    const Long before = allocatedMemory;
    std::filesystem::create_directory(kFolder);
    std::atomic<long> calls = 0;
    std::mutex telling;
    auto play = [&](long first) {
        Visitor visitor(static_cast<unsigned>(first));
        const Rules rules = {.besideOthers = true, .between = [&] { visitor.visit(); }};
        for (long i = first; i <= to; i += threads) {
            const std::string what =
                playInput(inputAt(i), rules,
                          [&](const Player& player) { calls += player.calls(); });
            const std::lock_guard<std::mutex> lock(telling);
            if (!what.empty()) *wrong = "input " + std::to_string(i) + ": " + what;
            if (!wrong->empty()) return;
        }
    };
    {
        Visitor host(0);
        for (std::atomic<jint>& id : sharedIds) id = host.open();
        std::vector<std::thread> all;
        for (long i = 0; i < threads; i++) all.emplace_back(play, from + i);
        for (std::thread& thread : all) thread.join();
        for (const std::atomic<jint>& id : sharedIds) host.kill(id);
    }
    std::filesystem::remove_all(kFolder);
    if (wrong->empty() && nbSessions != 0) *wrong = "sessions are left";
    if (wrong->empty() && allocatedMemory != before) *wrong = "memory is left";
    return calls;
}
