// Two controllers at work at the same time, each on a session of its own, beside one
// alone.

#include <sys/resource.h>

#include <future>
#include <optional>

#include "admission/lsp_setup.h"
#include "computation/backup/backup.h"
#include "computation/primary/primaryPath.h"
#include "rows.h"
#include "session/session.h"

namespace {

constexpr const char* kName = "two threads, each on a session of its own";
constexpr double kLimit = 1.8;

// What a thread has done, and taken for it.
struct Work {
    long primaries = 0;
    double seconds = 0.0;  // of a processor
    long waits = 0;        // for another thread

    void add(const Work& more) {
        primaries += more.primaries;
        seconds += more.seconds;
        waits += more.waits;
    }
    double rate() const { return static_cast<double>(primaries) / seconds; }
};

Work soFar() {
    rusage usage;
    getrusage(RUSAGE_THREAD, &usage);
    return {0, threadSecondsNow(), usage.ru_nvcsw};
}

class Controller {
  public:
    explicit Controller(const Network& network) {
        require(beginSession() == 0, "no session");
        setConfiguration(kUsedClasses);
        state_.emplace(network, Filling{5'000});
        centralDB = state_->dataBase;
        session_ = openSession();
        saveCntx(session_);
    }
    ~Controller() {
        loadSession(session_);
        closeSession();
        state_->dataBase = nullptr;  // has gone with the session
    }
    Controller(const Controller&) = delete;
    Controller& operator=(const Controller&) = delete;

    // Requests, places, protects and removes until the time has come.
    Work work(double end) {
        const Work before = soFar();
        int rounds = 0;
        for (; secondsNow() < end; rounds++) {
            const Ask ask = state_->draw();
            Long nbBackups = 0;
            call([&] { place(ask); });
            call([&] { nbBackups = protect(ask.id); });
            for (Long i = nbBackups; i >= 0; i--)
                call([&] { DBremoveLSP(centralDB, ask.id + i); });
        }
        const Work after = soFar();
        return {rounds, after.seconds - before.seconds, after.waits - before.waits};
    }

  private:
    template <class Act>
    void call(Act act) {
        require(loadSession(session_) == session_, "the session is gone");
        act();
        errorManager.top = 0;
        saveCntx(session_);
    }

    static void place(const Ask& ask) {
        ScopedRequest req;
        ScopedLSP lsp;
        IdList preempted;
        initRequest(&req, ask);
        if (computePrimaryPath(centralDB, &req) < 0) return;
        initLSP(&lsp, req);
        require(DBaddLSP(centralDB, &lsp, &preempted) == 0, "an LSP is refused");
    }

    // Backups get the ids behind the primary's; those behind the first that does not fit
    // are left out.
    static Long protect(Long id) {
        RequestList reqs;
        const DBLabelSwitchedPath* primary = DBgetLSP(centralDB, id);
        if (primary == nullptr || computeBackup(centralDB, &reqs, id, LOCAL_BACKUP) < 0)
            return 0;
        for (Long i = 0; i < reqs.size; i++) {
            ScopedLSP backup;
            IdList preempted;
            initBackup(&backup, reqs.cont[i], *primary, id + 1 + i);
            if (DBaddLSP(centralDB, &backup, &preempted) < 0) return i;
        }
        return reqs.size;
    }

    std::optional<State> state_;
    int session_ = -1;
};

}  // namespace

// By turns.
void printThreads(const Options& options) {
    if (!options.wants(kName)) return;
    std::fprintf(stderr, "%s ...\n", kName);
    Work alone, together;
    {
        const Network large = readLarge(options.repetita);
        Controller one(large), other(large);
        const Muted quiet;
        for (int i = 0; i < (options.full ? 200 : 50); i++) {
            alone.add((i % 2 == 0 ? one : other).work(secondsNow() + 0.1));
            const double end = secondsNow() + 0.1;
            auto beside = std::async(std::launch::async, [&] { return other.work(end); });
            together.add(one.work(end));
            together.add(beside.get());
        }
    }
    std::printf(
        "\n| side by side | primaries a second | waits | times one | limit (at least) |\n"
        "|---|--:|--:|--:|--:|\n| one thread | %.0f | | | |\n"
        "| %s | %.0f | %ld in %ld | %.2f | %g |\n",
        alone.rate(), kName, 2.0 * together.rate(), together.waits, together.primaries,
        2.0 * together.rate() / alone.rate(), kLimit);
}
