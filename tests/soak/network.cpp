#include "soak/network.h"

#include <cmath>

#include "computation/backup/backup.h"
#include "computation/primary/primaryPath.h"
#include "session.h"

namespace {

constexpr Long kNodes = 50;
constexpr int kClassesInUse = 3;
constexpr std::size_t kManyUp = 400;  // LSPs
constexpr std::size_t kMostCut = 12, kMostAbsent = 3;
constexpr double kTolerance = 1e-6;  // of the capacity

// Takes the element at random out of a list.
template <class T>
T takeAt(std::vector<T>* list, std::size_t at) {
    std::swap((*list)[at], list->back());
    T taken = list->back();
    list->pop_back();
    return taken;
}

bool crosses(const LongList& nodes, Long src, Long dst) {
    for (Long i = 0; i + 1 < nodes.top; i++)
        if (nodes.cont[i] == src && nodes.cont[i + 1] == dst) return true;
    return false;
}

}  // namespace

Network::Network(const Habits& habits, unsigned seed, Tally* tally)
    : habits_(habits), tally_(tally), random_(seed) {
    EXPECT_EQ(0, beginSession());
    centralDB = DBnew(0);
    kavrilConfig = {};
    kavrilConfig.predicateConfig.capacityClause = true;
    kavrilConfig.primaryComputationConfig.Fortz = 1.0;
    if (chance(25)) kavrilConfig.primaryComputationConfig.loadBal[0] = 1.0;
    if (chance(25)) kavrilConfig.primaryComputationConfig.delay[0] = 1.0;
    session_ = openSession();
    EXPECT_LE(0, session_);
    build();
    saveCntx(session_);
}

// The kill prints every message that the session has gathered.
Network::~Network() {
    check();
    loadSession(session_);
    const Long messages = errorManager.top;
    const std::string printed = output(closeSession);
    EXPECT_EQ(messages, std::count(printed.begin(), printed.end(), '\n'));
    EXPECT_EQ(-1, loadSession(session_));
}

double Network::amount() {
    if (habits_.exactAmounts) return 0.25 * (1 + below(40));
    return std::exp2(std::uniform_real_distribution(-6.0, 4.0)(random_));
}

// Ids are used again; `above` asks for a higher one.
Long Network::takeLspId(Long above) {
    for (std::size_t i = 0; i < freeLspIds_.size(); i++)
        if (freeLspIds_[i] > above) return takeAt(&freeLspIds_, i);
    return nextLspId_++;
}

Long Network::takeLinkId() {
    if (freeLinkIds_.empty()) return nextLinkId_++;
    return takeAt(&freeLinkIds_, random_() % freeLinkIds_.size());
}

// A ring both ways, with chords.
void Network::build() {
    for (Long node = 0; node < kNodes; node++) {
        EXPECT_EQ(0, DBaddNode(centralDB, node));
        nodes_.push_back(node);
    }
    for (Long src = 0; src < kNodes; src++)
        for (Long dst = 0; dst < kNodes; dst++) {
            const Long along = (dst - src + kNodes) % kNodes;
            if (along == 1 || along == kNodes - 1 || (along > 1 && chance(3)))
                addLink({-1, src, dst, 12.0 + below(36)});
        }
}

void Network::addLink(Link link) {
    link.id = takeLinkId();
    ScopedLinkState state;
    DBlinkStateInit(&state);
    std::fill_n(state.cap, kClassesInUse, link.cap);
    EXPECT_EQ(0, DBaddLink(centralDB, link.id, link.src, link.dst, &state));
    if (habits_.readsTables) DBgetLinkState(centralDB, link.src, link.dst);
    links_.push_back(link);
}

void Network::run(int operations) {
    EXPECT_EQ(session_, loadSession(session_));
    const std::int64_t end = tally_->operations + operations;
    while (tally_->operations < end) step();
    tally_->mostUp = std::max(tally_->mostUp, up_.size());
    saveCntx(session_);
}

void Network::step() {
    const Long dice = below(100);
    dice < 40   ? place()
    : dice < 44 ? placeElsewhere()
    : dice < 48 ? reroute()
    : dice < 50 ? makeRoom()
    : dice < 62 ? protect()
    : dice < 94 ? withdrawSome()
                : changeTopology();
}

// Source, the part to be computed, destination.
Ids Network::ends() {
    return {nodes_[random_() % nodes_.size()], -1, nodes_[random_() % nodes_.size()]};
}

void Network::spread(double* bw) {
    if (chance(50)) std::swap(bw[0], bw[1 + below(kClassesInUse - 1)]);
    if (chance(20)) bw[0] = amount();
}

// Sets the LSP up and removes who has to give way.
bool Network::add(Lsp&& lsp, const double* bw) {
    std::copy_n(bw, kClasses, lsp.bw);
    TestList preempted;
    if (DBaddLSP(centralDB, &lsp, &preempted) < 0) {
        // A refused LSP is not there, not even in part.
        EXPECT_TRUE(habits_.careless || DBgetLSP(centralDB, lsp.id) == nullptr);
        tally_->refused++;
        if (DBgetLSP(centralDB, lsp.id) == nullptr) {
            freeLspIds_.push_back(lsp.id);
            return false;
        }
    }
    up_.push_back(lsp.id);
    for (Long id : values(preempted))
        if (withdraw(id)) tally_->preempted++;
    return true;
}

void Network::place() {
    tally_->operations++;
    kavrilConfig.predicateConfig.allowReroute = chance(50);
    Request req(ends(), amount(), below(kLevels));
    spread(req.bw);
    if (computePrimaryPath(centralDB, &req) < 0)
        tally_->refused++;
    else if (add(Lsp(takeLspId(-1), values(req.path), 0.0, req.precedence), req.bw))
        tally_->placed++;
}

// On the path of another LSP, computed by nobody.
void Network::placeElsewhere() {
    if (up_.empty()) return;
    tally_->operations++;
    kavrilConfig.predicateConfig.allowReroute = false;
    const DBLabelSwitchedPath* other = DBgetLSP(centralDB, anyUp());
    double bw[kClasses] = {amount()};
    spread(bw);
    const Ids path = values(other->path);
    if (add(Lsp(takeLspId(-1), path, 0.0, below(kLevels)), bw)) tally_->placed++;
}

// Beside an LSP that is up and is to go when the new one is there.
void Network::reroute() {
    const DBLabelSwitchedPath* old = up_.empty() ? nullptr : DBgetLSP(centralDB, anyUp());
    if (old == nullptr || old->noContentionId >= 0 || old->type != 0) return;
    tally_->operations++;
    kavrilConfig.predicateConfig.allowReroute = false;
    const Long oldId = old->id;
    Request req({old->path.cont[0], -1, old->path.cont[old->path.top - 1]}, 0.0,
                chance(70) ? old->precedence : below(kLevels));
    req.rerouteInfo.id = oldId;
    std::copy_n(old->bw, kClasses, req.bw);
    if (chance(50)) req.bw[0] = amount();
    if (computePrimaryPath(centralDB, &req) < 0) {
        tally_->refused++;
        return;
    }
    Lsp lsp(takeLspId(oldId), values(req.path), 0.0, req.precedence);
    lsp.noContentionId = oldId;
    if (add(std::move(lsp), req.bw)) tally_->placed++;
    if (chance(50)) withdraw(oldId);
}

// For an LSP that is then not set up.
void Network::makeRoom() {
    tally_->operations++;
    kavrilConfig.predicateConfig.allowReroute = true;
    Request req(ends(), amount(), below(kLevels));
    if (computePrimaryPath(centralDB, &req) < 0) return;
    Lsp lsp(-1, values(req.path), req.bw[0], req.precedence);
    TestList preempted;
    if (getpreemptList(centralDB, &lsp, &preempted) < 0) return;
    for (Long id : values(preempted))
        if (withdraw(id)) tally_->preempted++;
}

void Network::protect() {
    const Long primId = up_.empty() ? -1 : anyUp();
    const DBLabelSwitchedPath* primary = DBgetLSP(centralDB, primId);
    if (primary == nullptr || primary->type != 0) return;
    tally_->operations++;
    kavrilConfig.predicateConfig.allowReroute = false;
    const Ids primPath = values(primary->path);
    const bool local = chance(60);
    LSPRequestList requests;
    EXPECT_EQ(0, lspRequestListInit(&requests, -1));
    if (computeBackup(centralDB, &requests, primId,
                      local ? LOCAL_BACKUP : GLOBAL_BACKUP) < 0) {
        tally_->refused++;
    } else {
        const int level = chance(70) ? 0 : below(kLevels);
        for (Long i = 0; i < requests.size; i++)
            if (add(Lsp(takeLspId(-1), values(requests.cont[i].path), 0.0, level,
                        local ? DB_LOCAL_BACKUP_LSP : DB_GLOBAL_BACKUP_LSP, primId,
                        primPath),
                    requests.cont[i].bw))
                tally_->backups++;
    }
    lspRequestListEnd(&requests);
}

// False if it is gone already, as one that was chosen twice.
bool Network::withdraw(Long id) {
    if (std::erase(up_, id) == 0) return false;
    tally_->operations++;
    const int ret = DBremoveLSP(centralDB, id);
    EXPECT_TRUE(ret == 0 || habits_.careless);
    EXPECT_EQ(nullptr, DBgetLSP(centralDB, id));
    freeLspIds_.push_back(id);
    tally_->removed++;
    return true;
}

// More are withdrawn the more are up; with a primary sometimes its backups.
void Network::withdrawSome() {
    if (up_.empty() || (up_.size() < kManyUp && chance(60))) return;
    for (std::size_t n = 1 + 4 * up_.size() / (3 * kManyUp); n > 0 && !up_.empty(); n--) {
        const Long primary = anyUp();
        const bool alone = chance(20);
        withdraw(primary);
        const Ids left = up_;
        for (Long id : left)
            if (!alone && DBgetLSP(centralDB, id)->primID == primary &&
                DBgetLSP(centralDB, id)->type != 0)
                withdraw(id);
    }
}

void Network::withdrawFrom(const Link& link) {
    const Ids all = up_;
    for (Long id : all) {
        const DBLabelSwitchedPath* lsp = DBgetLSP(centralDB, id);
        if (crosses(lsp->path, link.src, link.dst) ||
            crosses(lsp->primPath, link.src, link.dst))
            withdraw(id);
    }
}

void Network::cutLink(std::size_t at) {
    const Link link = takeAt(&links_, at);
    if (!habits_.careless) withdrawFrom(link);
    tally_->operations++;
    EXPECT_EQ(0, DBremoveLink(centralDB, link.src, link.dst));
    freeLinkIds_.push_back(link.id);
    cut_.push_back(link);
    tally_->cut++;
}

bool Network::isPresent(Long node) const {
    return std::count(nodes_.begin(), nodes_.end(), node) > 0;
}

void Network::restoreLink() {
    const Link link = takeAt(&cut_, random_() % cut_.size());
    if (!isPresent(link.src) || !isPresent(link.dst)) {
        cut_.push_back(link);
        return;
    }
    tally_->operations++;
    addLink(link);
    tally_->restored++;
}

void Network::cutNode() {
    const Long node = takeAt(&nodes_, random_() % nodes_.size());
    for (std::size_t at = links_.size(); at-- > 0;) {
        const Link link = links_[at];
        if (link.src != node && link.dst != node) continue;
        if (!habits_.careless) withdrawFrom(link);
        freeLinkIds_.push_back(link.id);
        cut_.push_back(link);
        takeAt(&links_, at);
    }
    tally_->operations++;
    EXPECT_EQ(0, DBremoveNode(centralDB, node));
    absentNodes_.push_back(node);
    tally_->cut++;
}

void Network::restoreNode() {
    tally_->operations++;
    const Long node = takeAt(&absentNodes_, random_() % absentNodes_.size());
    EXPECT_EQ(0, DBaddNode(centralDB, node));
    nodes_.push_back(node);
    tally_->restored++;
}

void Network::changeTopology() {
    if (habits_.removesNodes && chance(20)) {
        absentNodes_.empty() || (absentNodes_.size() < kMostAbsent && chance(50))
            ? cutNode()
            : restoreNode();
        return;
    }
    cut_.empty() || (cut_.size() < kMostCut && chance(50))
        ? cutLink(random_() % links_.size())
        : restoreLink();
}

// Has every link compute its reservation anew: one that was computed before a node was
// removed counts a failure more.
void Network::bookNothingEverywhere() {
    const PredicateConfig usual = kavrilConfig.predicateConfig;
    kavrilConfig.predicateConfig = {};
    for (const Link& link : links_) {
        Lsp nothing(nextLspId_, {link.src, link.dst});
        TestList preempted;
        EXPECT_EQ(0, DBaddLSP(centralDB, &nothing, &preempted));
        EXPECT_EQ(0, DBremoveLSP(centralDB, nothing.id));
    }
    kavrilConfig.predicateConfig = usual;
}

void Network::check() {
    if (habits_.careless) return;
    EXPECT_EQ(session_, loadSession(session_));
    if (habits_.removesNodes) bookNothingEverywhere();
    tally_->drift = std::max(tally_->drift, expectTablesMatch(centralDB, kTolerance));
    tally_->checks++;
    saveCntx(session_);
}
