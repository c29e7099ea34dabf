#include "state.h"
#include "admission/lsp_setup.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <numeric>
#include <stdexcept>

#include "common/memory.h"
#include "common/setup.h"
#include "computation/backup/backup.h"
#include "computation/primary/primaryPath.h"
#include "error/error.h"

namespace {

double residentBytes() {
    std::ifstream statm("/proc/self/statm");
    double total = 0.0, resident = 0.0;
    statm >> total >> resident;
    return resident * static_cast<double>(sysconf(_SC_PAGESIZE));
}

double meanReserved(const State& state) {
    double left = 0.0, capacity = 0.0;
    for (const Link& link : state.network.links) {
        capacity += link.capacity;
        for (int oa = 0; oa < kUsedClasses; oa++)
            left += freeBandwidth(state.dataBase, link, oa);
    }
    return 1.0 - left / capacity;
}

}  // namespace

double secondsNow() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double>(now).count();
}

double threadSecondsNow() {
    timespec time;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

double quantile(std::vector<double> values, double q) {
    if (values.empty()) return 0.0;
    const auto index =
        static_cast<std::ptrdiff_t>(q * static_cast<double>(values.size()));
    std::nth_element(values.begin(), values.begin() + index, values.end());
    return values[index];
}

Muted::Muted() {
    std::fflush(stdout);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    for (int fd : {STDOUT_FILENO, STDERR_FILENO}) {
        saved_[fd - STDOUT_FILENO] = dup(fd);
        dup2(nowhere, fd);
    }
    close(nowhere);
}

Muted::~Muted() {
    std::fflush(stdout);
    for (int fd : {STDOUT_FILENO, STDERR_FILENO}) {
        dup2(saved_[fd - STDOUT_FILENO], fd);
        close(saved_[fd - STDOUT_FILENO]);
    }
}

void configure(int classes) {
    useMemoryPool(memoryPoolNew());
    errorInit();
    setConfiguration(classes);
}

void setConfiguration(int classes) {
    kavrilConfig = {};
    kavrilConfig.predicateConfig.capacityClause = true;
    kavrilConfig.primaryComputationConfig.Fortz = 1.0;
    NBOA = classes;
    NBPL = kUsedLevels;
}

void initRequest(LSPRequest* req, const Ask& ask) {
    lspRequestInit(req);
    req->id = ask.id;
    req->precedence = ask.level;
    req->bw[ask.oa] = ask.bw;
    setPath(req, {ask.src, -1, ask.dst});
}

void setPath(LSPRequest* req, const Path& path) {
    req->path.top = 0;
    for (Long node : path) longVecPushBack(&req->path, node);
}

void initLSP(DBLabelSwitchedPath* lsp, const LSPRequest& req) {
    DBlspInit(lsp);
    lsp->id = req.id;
    lsp->precedence = req.precedence;
    std::copy_n(req.bw, kClasses, lsp->bw);
    for (Long node : nodesOf(req.path)) longVecPushBack(&lsp->path, node);
}

void initBackup(DBLabelSwitchedPath* backup, const LSPRequest& req,
                const DBLabelSwitchedPath& primary, Long id) {
    initLSP(backup, req);
    backup->id = id;
    backup->precedence = 0;
    backup->type = req.type;
    backup->primID = primary.id;
    for (Long node : nodesOf(primary.path)) longVecPushBack(&backup->primPath, node);
}

double freeBandwidth(DataBase* dataBase, const Link& link, int oa) {
    const DBLinkState& state = findLink(&dataBase->linkTab, link.src, link.dst)->state;
    return state.cap[oa] - std::accumulate(state.rbw[oa], state.rbw[oa] + kLevels, 0.0);
}

State::State(const Network& net, const Filling& filling)
    : network(net), dataBase(DBnew(0)), filling_(filling) {
    const double before = residentBytes();
    addNetwork();
    facts.offered = filling.offered;
    setScale();
    facts.linkBytes = residentBytes() - before;
    const double start = secondsNow();
    fill();
    facts.seconds = secondsNow() - start;
    facts.lspBytes = residentBytes() - before - facts.linkBytes;
    facts.allocated = allocatedMemory;
    facts.reserved = meanReserved(*this);
}

void State::addNetwork() {
    facts.nodes = network.nodes;
    for (Long node = 0; node < network.nodes; node++) DBaddNode(dataBase, node);
    for (const Link& link : network.links) addLink(facts.links++, link.capacity);
}

void State::addLink(Long id, double capacity, Long color) {
    const Link& link = network.links[id];
    ScopedLinkState state;
    DBlinkStateInit(&state);
    std::fill_n(state.cap, filling_.classes, capacity / filling_.classes);
    state.color = color;
    if (DBaddLink(dataBase, id, link.src, link.dst, &state) < 0)
        throw std::runtime_error("a link is refused");
}

// Chooses the scale of demands from a sample of them.
void State::setScale() {
    constexpr int kSample = 200;
    double load = 0.0;
    for (int i = 0; i < kSample; i++) {
        const Demand& d = network.demands[random_.below(network.demands.size())];
        load += d.bw * hopsFrom(network, d.src, [](Long) { return true; })[d.dst];
    }
    double capacity = 0.0;
    for (const Link& link : network.links) capacity += link.capacity;
    scale_ = filling_.load * capacity / (load / kSample * facts.offered);
}

Ask State::draw() {
    const Demand& d = network.demands[random_.below(network.demands.size())];
    const double bw = amountOf(std::max(1.0, std::round(d.bw * scale_)));
    const int oa = random_.below(filling_.classes);
    return {nextId_, d.src, d.dst, oa, random_.below(kUsedLevels), bw};
}

double State::amountOf(double whole) {
    return filling_.amount == nullptr ? whole : filling_.amount(whole, random_);
}

Ask State::next(Long index) const {
    const Demand& d = network.demands[index % network.demands.size()];
    return {nextId_, d.src, d.dst, 0, 0, d.bw * scale_};
}

void State::fill() {
    const Muted quiet;
    std::vector<double> seconds;
    for (Long i = 0; i < facts.offered; i++) {
        const Ask ask = filling_.inTurn ? next(i) : draw();
        const double start = secondsNow();
        offer(ask, filling_.protectEvery > 0 && i % filling_.protectEvery == 0);
        seconds.push_back(secondsNow() - start);
    }
    facts.median = quantile(std::move(seconds), 0.5);
}

void State::offer(const Ask& ask, bool isProtected) {
    ScopedRequest req;
    ScopedLSP lsp;
    IdList preempted;
    errorManager.top = 0;
    initRequest(&req, ask);
    if (computePrimaryPath(dataBase, &req) < 0) return;
    initLSP(&lsp, req);
    if (DBaddLSP(dataBase, &lsp, &preempted) < 0) return;
    nextId_++;
    facts.primaries++;
    facts.carried += ask.bw * (lsp.path.top - 1);
    if (isProtected)
        protect(ask.id);
    else if (lsp.path.top > 2)
        unprotected_.push_back(ask.id);
}

void State::protect(Long id) {
    RequestList reqs;
    if (computeBackup(dataBase, &reqs, id, LOCAL_BACKUP) < 0) return;
    facts.protectedOnes++;
    for (Long i = 0; i < reqs.size; i++) {
        ScopedLSP backup;
        IdList preempted;
        initBackup(&backup, reqs.cont[i], *DBgetLSP(dataBase, id), nextId_);
        if (DBaddLSP(dataBase, &backup, &preempted) < 0) continue;
        nextId_++;
        facts.backups++;
    }
}
