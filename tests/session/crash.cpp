// Kills a process that keeps a journal, at random moments, and looks what is left.
//
//     kavril_crash RUNS SEED
//
// All runs share one journal and one endless sequence of calls, each of one to four
// changes. A worker recovers the session, tells its checksum, and goes on from there,
// counting the calls that have returned. The parent makes the same calls on a session of
// its own: what was recovered must be what it has after the calls that have returned, or
// after the one that was on its way.

#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <random>
#include <string>

#include "admission/lsp_setup.h"
#include "database/contents.h"
#include "database/database.h"
#include "database/live/restore.h"
#include "session/changes.h"
#include "session/journal.h"
#include "session/session.h"

namespace {

constexpr Long kNodes = 12;

struct Shared {
    volatile long done;  // calls that have returned
    volatile std::uint64_t recovered;
    volatile int state;  // 0: not recovered, 1: recovered, 2: go on
};

void openEmpty() {
    beginSession();
    NBOA = NBPL = kLevels;
    kavrilConfig = {};
    centralDB = DBnew(0);
    openSession();
}

void writeLink(ByteWriter* out, const DBLink* link) {
    out->number(link->id);
    out->doubles(link->state.cap, kClasses);
    out->doubles(&link->state.rbw[0][0], kClasses * kLevels);
    out->doubles(&link->state.pbw[0][0], kClasses * kLevels);
    writeCells(out, link->ledger);
    for (Long i = 0; i < link->lspList.top; i++) out->number(link->lspList.cont[i]->id);
}

// Of all that the session holds, to the last bit. Not of how its tables lie in memory: a
// refused call may have changed that.
std::uint64_t sum() {
    ByteWriter out;
    out.number(centralDB->nbNodes);
    out.number(centralDB->nbLinks);
    for (Long src = 0; src < kNodes; src++)
        for (Long dst = 0; dst < kNodes; dst++)
            if (const DBLink* link = findLink(&centralDB->linkTab, src, dst))
                writeLink(&out, link);
    for (Long id = 0; id < centralDB->lspVec.size; id++)
        if (const DBLabelSwitchedPath* lsp = findLSP(&centralDB->lspVec, id)) {
            out.number(id);
            writeLsp(&out, lsp);
        }
    return checksum(out.data(), out.size());
}

void addLsp(std::mt19937& random) {
    ScopedLSP lsp;
    ScopedLongList preempted;
    DBlspInit(&lsp);
    longVecInit(&preempted, -1);
    lsp.id = static_cast<Long>(random() % 200);
    lsp.precedence = static_cast<int>(random() % kLevels);
    lsp.bw[0] = 0.1 * static_cast<double>(random() % 50);
    auto node = static_cast<Long>(random() % kNodes);
    for (auto hops = 1 + random() % 4; hops > 0; hops--, node = (node + 1) % kNodes)
        longVecPushBack(&lsp.path, node);
    lsp.primID = static_cast<Long>(random() % 200);
    const DBLabelSwitchedPath* primary = findLSP(&centralDB->lspVec, lsp.primID);
    if (primary != nullptr && random() % 2 == 0) {
        lsp.type = static_cast<DBLSPType>(1 + random() % 2);
        for (Long i = 0; i < primary->path.top; i++)
            longVecPushBack(&lsp.primPath, primary->path.cont[i]);
    }
    kavrilConfig.predicateConfig.allowReroute = random() % 2 == 0;
    SCaddLSP(&lsp, &preempted);
}

void addLink(std::mt19937& random) {
    ScopedLinkState state;
    DBlinkStateInit(&state);
    state.cap[0] = static_cast<double>(random() % 1000);
    const auto src = static_cast<Long>(random() % kNodes);
    SCaddLink(static_cast<Long>(random() % 40), src,
              (src + 1 + static_cast<Long>(random() % 2)) % kNodes, &state);
}

// The nth call, but for its journal.
void call(long nth) {
    std::mt19937 random(static_cast<unsigned>(nth));
    for (auto left = 1 + random() % 4; left > 0; left--) {
        const auto kind = random() % 100;
        const auto id = static_cast<Long>(random() % 200);
        if (nth < kNodes)
            SCaddNode(static_cast<Long>(nth));
        else if (kind < 12)
            addLink(random);
        else if (kind < 14)
            SCremoveLink(id % kNodes, (id + 1) % kNodes);
        else if (kind < 50)
            SCremoveLSP(id);
        else
            addLsp(random);
    }
    if (Journal* journal = journalOf(currentSessId); journal != nullptr && nth % 97 == 0)
        journal->needsBase = true;
    errorManager.top = 0;
}

void work(const char* path, bool waitsForDisk, Shared* shared) {
    openEmpty();
    UsedNumbers numbers = {kClasses, kLevels};
    if (openJournal(path, waitsForDisk, &numbers) < 0) {
        printErrorStack();
        _exit(1);
    }
    shared->recovered = sum();
    shared->state = 1;
    while (shared->state != 2) usleep(20);
    for (;;) {
        call(shared->done);
        if (commitJournal() < 0) _exit(1);
        shared->done = shared->done + 1;
    }
}

bool run(const char* path, bool waitsForDisk, Shared* shared, long* made, long patience) {
    shared->state = 0;
    std::fflush(nullptr);
    const pid_t worker = fork();
    if (worker == 0) work(path, waitsForDisk, shared);
    int status = 0;
    while (shared->state == 0)
        if (waitpid(worker, &status, WNOHANG) == worker)
            return std::printf("the journal does not open\n"), false;
    while (*made < shared->done) call((*made)++);
    bool isRight = shared->recovered == sum();
    if (!isRight) {  // the one that was on its way
        call((*made)++);
        isRight = shared->recovered == sum();
        shared->done = *made;
    }
    shared->state = 2;
    usleep(static_cast<useconds_t>(patience));
    kill(worker, SIGKILL);
    waitpid(worker, &status, 0);
    if (!isRight) std::printf("after %ld calls: not what it was\n", *made);
    return isRight;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) return std::fputs("kavril_crash RUNS SEED\n", stderr), 2;
    const long runs = std::stol(argv[1]);
    std::mt19937 random(static_cast<unsigned>(std::stol(argv[2])));
    char folder[] = "/tmp/kavril-crash-XXXXXX";
    if (mkdtemp(folder) == nullptr) return 2;
    const std::string path = std::string(folder) + "/journal";
    auto* shared =
        static_cast<Shared*>(mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE,
                                  MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    openEmpty();
    long made = 0;
    long failures = 0;
    for (long i = 0; i < runs; i++)
        failures += run(path.c_str(), i % 4 == 0, shared, &made,
                        static_cast<long>(random() % 40000))
                        ? 0
                        : 1;
    std::printf("%ld crashes, %ld calls, %ld failures\n", runs, made, failures);
    closeSession();
    std::filesystem::remove_all(folder);
    return failures == 0 ? 0 : 1;
}
