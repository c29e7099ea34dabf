// Placing with a journal, beside placing without.

#include "session/journal.h"

#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>

#include "computation/primary/primaryPath.h"
#include "rows.h"
#include "session/changes.h"

namespace {

constexpr const char* kName = "a journal that does not wait for the disk";
constexpr double kLimit = 2.0;
constexpr int kTurn = 1000;

// Seconds of a processor for a call that places an LSP, the mean of some. Each LSP goes
// again, which the next call writes down.
double placeSome(State* state) {
    double seconds = 0.0;
    for (int placed = 0; placed < kTurn;) {
        const Ask ask = state->draw();
        ScopedRequest req;
        ScopedLSP lsp;
        IdList preempted;
        initRequest(&req, ask);
        errorManager.top = 0;
        if (computePrimaryPath(centralDB, &req) < 0) continue;
        initLSP(&lsp, req);
        const double start = threadSecondsNow();
        const bool isPlaced = SCaddLSP(&lsp, &preempted) == 0 && commitJournal() == 0;
        seconds += threadSecondsNow() - start;
        require(isPlaced && SCremoveLSP(ask.id) == 0, "an LSP is refused");
        placed++;
    }
    return seconds / kTurn;
}

}  // namespace

void printJournal(const Options& options) {
    if (!options.wants(kName)) return;
    std::fprintf(stderr, "%s ...\n", kName);
    char folder[] = "/tmp/kavril-bench-XXXXXX";
    require(mkdtemp(folder) != nullptr, "no folder for a journal");
    const std::string path = std::string(folder) + "/journal";
    std::vector<double> with, without;
    {
        require(beginSession() == 0, "no session");
        setConfiguration(kUsedClasses);
        const Network large = readLarge(options.repetita);
        State state(large, {5'000});
        centralDB = std::exchange(state.dataBase, nullptr);  // goes with the session
        openSession();
        UsedNumbers numbers = {kUsedClasses, kUsedLevels};
        for (int i = 0; i < (options.full ? 50 : 10); i++) {
            without.push_back(placeSome(&state));
            require(openJournal(path.c_str(), false, &numbers) == 0, "no journal");
            with.push_back(placeSome(&state));
            closeJournal();
            std::filesystem::remove(path);
        }
        closeSession();
    }
    std::filesystem::remove_all(folder);
    const double one = quantile(with, 0.5), other = quantile(without, 0.5);
    std::printf(
        "\n| placing with | a call | without | times | limit |\n|---|--:|--:|--:|--:|\n"
        "| %s | %.1f | %.1f | %.2f | %g |\n",
        kName, 1e6 * one, 1e6 * other, one / other, kLimit);
}
