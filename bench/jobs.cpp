// Rows on large pieces of work, each in a process of its own and with a time limit.

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <thread>
#include <utility>

#include "admission/lsp_setup.h"
#include "apart.h"
#include "computation/backup/backup.h"
#include "error/error.h"
#include "rows.h"
#include "session/session.h"

namespace {

// Every link carries what crosses it and reserves no more than it has.
void requireBooked(const State& state, const Filling& filling) {
    double carried = 0.0;
    for (const Link& link : state.network.links) {
        const DBLink* stored = findLink(&state.dataBase->linkTab, link.src, link.dst);
        for (double level : stored->state.pbw[0]) carried += level;
        const double room = freeBandwidth(state.dataBase, link, 0);
        require(room >= -1e-9 * link.capacity, "a link reserves more than it has");
    }
    const StateFacts& f = state.facts;
    require(std::fabs(carried - f.carried) <= 1e-9 * carried, "LSPs are not booked");
    require(f.primaries > f.offered / 2, "most primaries are refused");
    require(filling.protectEvery == 0 || f.protectedOnes > f.primaries / 2,
            "most primaries have no backups");
}

// The load that AS 1239 has by the demands that come with it.
constexpr double kOwnLoad = 0.037;

StateFacts place(const Network& network, const Filling& filling) {
    configure(filling.classes);
    const State state(network, filling);
    requireBooked(state, filling);
    return state.facts;
}

// A primary from 0 to 1 over the link with the large id, protected by way of 2.
double protectOverLargeId(const Network&) {
    configure();
    DataBase* dataBase = DBnew(0);
    for (Long node = 0; node < 3; node++) DBaddNode(dataBase, node);
    const Link links[] = {{0, 1, 1e3}, {0, 2, 1e3}, {2, 1, 1e3}, {1, 0, 1e3}};
    Long id = 1'048'574;
    for (const Link& link : links) {
        ScopedLinkState state;
        DBlinkStateInit(&state);
        state.cap[0] = link.capacity;
        DBaddLink(dataBase, id, link.src, link.dst, &state);
        id = id > 3 ? 0 : id + 1;
    }
    ScopedRequest req;
    ScopedLSP primary;
    IdList preempted;
    initRequest(&req, {0, 0, 1, 0, 0, 10.0});
    setPath(&req, {0, 1});
    initLSP(&primary, req);
    require(DBaddLSP(dataBase, &primary, &preempted) == 0, "the primary is refused");
    std::vector<double> seconds;
    for (int i = 0; i < 5; i++) {
        RequestList reqs;
        ScopedLSP backup;
        int ret = -1;
        seconds.push_back(timed([&] {
            if (computeBackup(dataBase, &reqs, 0, LOCAL_BACKUP) < 0) return;
            initBackup(&backup, reqs.cont[0], primary, 1);
            ret = DBaddLSP(dataBase, &backup, &preempted);
        }));
        require(ret == 0 && nodesOf(backup.path) == Path{0, 2, 1}, "no backup");
        DBremoveLSP(dataBase, 1);
    }
    DBdestroy(dataBase);
    return quantile(seconds, 0.5);
}

// Messages that nobody has taken are written out when their session ends.
double killWithMessages(const Network&) {
    constexpr int kMessages = 1'000'000;
    require(beginSession() == 0, "no session");
    centralDB = DBnew(0);
    const int session = openSession();
    require(session >= 0, "no session");
    int ends[2];
    require(pipe(ends) == 0, "no pipe");
    const int screen = dup(STDERR_FILENO);
    dup2(ends[1], STDERR_FILENO);
    close(ends[1]);
    std::ptrdiff_t lines = 0;
    std::thread reader([&] {
        char text[4096];
        for (ssize_t n = read(ends[0], text, sizeof text); n > 0;
             n = read(ends[0], text, sizeof text))
            lines += std::count(text, text + n, '\n');
    });
    const double seconds = timed([&] {
        for (int i = 0; i < kMessages; i++)
            addError(CRITICAL, "Inexistent Link (src = %d, dst = %d)", i, i);
        saveCntx(session);
        loadSession(session);
        closeSession();
    });
    dup2(screen, STDERR_FILENO);
    close(screen);
    reader.join();
    close(ends[0]);
    require(lines >= kMessages, "messages are lost");
    return seconds;
}

std::string timeText(double seconds) {
    char text[32];
    if (seconds < 1.0)
        std::snprintf(text, sizeof text, "%.3g ms", 1e3 * seconds);
    else
        std::snprintf(text, sizeof text, "%.1f s", seconds);
    return text;
}

// A session with 5,000 LSPs offered, a third protected: the median of some copies of it,
// each in a pool of its own, as sessions have.
double copyWithLsps(const Network& large) {
    configure();
    const State state(large, {5000});
    std::vector<double> seconds;
    for (int i = 0; i < 15; i++) {
        DataBase* copy = nullptr;
        MemoryPool* pool = nullptr;
        seconds.push_back(timed([&] {
            pool = memoryPoolNew();
            useMemoryPool(pool);
            copy = DBcopy(state.dataBase);
        }));
        require(copy != nullptr && DBdestroy(copy) == 0, "there is no copy");
        useMemoryPool(nullptr);
        memoryPoolDestroy(pool);
    }
    return quantile(seconds, 0.5);
}

}  // namespace

const std::vector<JobRow> kJobRows = {
    {"315 nodes, 1,944 links, 15,000 demands, median of one", 6e-5, 0.0,
     [](const Network& large) {
         return place(large, {15'000, 1, true, kOwnLoad, 0}).median;
     }},
    {"315 nodes, 1,944 links, 95,750 demands", 6.0, 150.0,
     [](const Network& large) {
         return place(large, {95'750, 1, true, kOwnLoad, 0}).seconds;
     }},
    {"1,000 nodes, 4,000 links, 20,000 demands, local protection", 30.0, 0.0,
     [](const Network&) {
         return place(makeSynthetic(1000, 4000), {20'000, 1, true, 0.2, 1}).seconds;
     }},
    {"2,000 nodes, 8,000 links, 20,000 demands", 15.0, 300.0,
     [](const Network&) {
         return place(makeSynthetic(2000, 8000), {20'000, 1, true, 0.2, 0}).seconds;
     }},
    {"315 nodes, 1,944 links, 5,000 LSPs, a copy", 0.02, 0.0, copyWithLsps},
    {"one primary of 1,999 hops", 2.0, 400.0,
     [](const Network&) {
         return place(makeRow(2000), {1, 1, true, 0.2, 0}).seconds;
     }},
    {"four links, one of id 1048574, local protection", 1e-3, 0.0, protectOverLargeId},
    {"a million messages, then the end of their session", 3.0, 0.0, killWithMessages},
};

void printJobs(const Options& options) {
    std::string head =
        "\n| large work | time | limit | resident at most | limit |\n"
        "|---|--:|--:|--:|--:|\n";
    const Network large = readLarge(options.repetita);
    for (const JobRow& row : kJobRows) {
        if (!options.wants(row.name)) continue;
        const double patience = options.full ? 1000.0 : std::max(20.0, 2.0 * row.limit);
        double seconds = 0.0;
        const Ending ending = runApart(row.name, patience, &seconds,
                                       [&](double* answer) { *answer = row.run(large); });
        std::fputs(std::exchange(head, "").c_str(), stdout);
        std::string time = timeText(seconds);
        if (!ending.finished) time = "not finished in " + timeText(patience);
        std::printf("| %s | %s | %s | %.0f MB |", row.name, time.c_str(),
                    timeText(row.limit).c_str(), ending.peak / 1e6);
        if (row.memory > 0.0) std::printf(" %.0f MB", row.memory);
        std::puts(" |");
    }
}
