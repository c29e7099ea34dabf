#include "fuzz/player.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <limits>

#include "database/database.h"
#include "fuzz/check.h"
#include "session.h"
#include "support/entry_points.h"

namespace {

constexpr double kOddAmounts[] = {std::numeric_limits<double>::quiet_NaN(),
                                  std::numeric_limits<double>::infinity(),
                                  -std::numeric_limits<double>::infinity(), -3.0};
// With these among them, sums depend on their order.
constexpr double kFineAmounts[] = {1e-45, 1e-12, 1e-9, 0.1, 1e30, 3.4e38, -1e30};
constexpr Long kOddIds[] = {-1,
                            8,
                            40,
                            1 << 30,
                            std::numeric_limits<Long>::max(),
                            std::numeric_limits<Long>::min()};

}  // namespace

std::string inputName = "an input";

void require(bool holds, const char* otherwise) {
    if (holds) return;
    dprintf(STDERR_FILENO, "finding in %s: %s\n", inputName.c_str(), otherwise);
    for (Long i = errorManager.top - 1; i >= 0 && i >= errorManager.top - 8; i--)
        dprintf(STDERR_FILENO, "    %s\n", errorManager.list[i].message);
    std::abort();
}

Player::Player(const std::uint8_t* data, std::size_t size) : bytes_(data, size) {
    for (Session& session : sessions_) session.object = vm_.object();
    now_ = &sessions_[0];
    const int kind = bytes_.byte();
    deep_ = kind % 2 == 0;
    coarse_ = kind % 16 != 15;
}

Player::~Player() {
    for (Session& session : sessions_) {
        now_ = &session;
        if (session.live) kill();
    }
}

void Player::play() {
    init();
    buildNetwork();
    while (!bytes_.empty()) {
        step();
        if (now_->live) compareWithModel(db(), model(), deep_);
        vm_.forgetArrays();
    }
    for (Session& session : sessions_) {
        now_ = &session;
        if (session.live) compareWithModel(db(), model(), true);
    }
}

void Player::step() {
    if (bytes_.oneIn(50)) now_ = &bytes_.anyOf(sessions_);
    if (!now_->live) init();
    if (model().nodes.empty()) buildNetwork();
    using Action = void (Player::*)();
    static constexpr Action kActions[] = {
        &Player::computePath,    &Player::computePath,    &Player::computePath,
        &Player::computePath,    &Player::addPrimary,     &Player::addPrimary,
        &Player::addBackup,      &Player::addBackup,      &Player::addBackup,
        &Player::removeLsp,      &Player::removeLsp,      &Player::removeLsp,
        &Player::computeBackups, &Player::computeBackups, &Player::coreAdd,
        &Player::coreAdd,        &Player::coreAdd,        &Player::coreCompute,
        &Player::coreCompute,    &Player::coreList,       &Player::coreLookUp,
        &Player::print,          &Player::coreHandOut};
    const int kind = bytes_.byte();
    if (kind < 230)
        return (this->*kActions[static_cast<std::size_t>(kind) % std::size(kActions)])();
    if (kind < 236) return addNode(node());
    if (kind < 248) {
        const Hop hop = {node(), node()};
        return addLink(bytes_.below(40), hop);
    }
    if (kind < 252) return removeLink();
    if (kind < 254) return removeNode();
    if (kind == 254) return kill();
    const Hop hop = {node(), node()};
    addLink(node(), hop);
}

Long Player::node() {
    return bytes_.oneIn(40) ? bytes_.anyOf(kOddIds) : bytes_.below(7);
}

Long Player::lspId() {
    return bytes_.oneIn(40) ? bytes_.anyOf(kOddIds) : bytes_.below(24);
}

// One that is up, mostly.
Long Player::anyLsp() {
    if (model().lsps.empty() || bytes_.oneIn(20)) return lspId();
    return bytes_.anyOf(model().lsps).first;
}

double Player::amount() {
    if (!coarse_ && bytes_.oneIn(4)) return bytes_.anyOf(kFineAmounts);
    if (bytes_.oneIn(50)) return bytes_.anyOf(kOddAmounts);
    return 0.25 * bytes_.below(40);
}

// Along links, as far as there are any.
Ids Player::walk() {
    Ids nodes = {bytes_.below(7)};
    for (Long left = 1 + bytes_.below(4); left > 0; left--) {
        Ids heads;
        for (const auto& [hop, link] : model().links)
            if (hop.first == nodes.back()) heads.push_back(hop.second);
        if (heads.empty()) break;
        nodes.push_back(bytes_.anyOf(heads));
    }
    return nodes;
}

Ids Player::path() {
    if (!bytes_.oneIn(8)) return walk();
    Ids nodes;
    for (Long left = bytes_.below(5); left > 0; left--) nodes.push_back(node());
    return nodes;
}

ModelLsp Player::lsp(const Ids& path) {
    ModelLsp lsp;
    lsp.id = lspId();
    lsp.level = bytes_.below(kLevels);
    lsp.path = path;
    return lsp;
}

// As the entry points do.
void Player::setBandwidth(ModelLsp* lsp, Long oa, double bw) {
    if (oa >= 0 && oa < NBOA && oa < kClasses) lsp->bw[static_cast<std::size_t>(oa)] = bw;
}

DataBase* Player::db() const {
    return sessions[FakeVm::sessId(now_->object)]->centralDB;
}

const ErrorList& Player::stack() const {
    return sessions[FakeVm::sessId(now_->object)]->errorManager;
}

void Player::compare(const Outcome& outcome, Verdict verdict, Failure failure) {
    const bool done = outcome.exception.empty();
    if (verdict == Verdict::YES) require(done, failure.message);
    if (verdict == Verdict::NO) require(!done, failure.message);
    if (done) return;
    require(outcome.exception == failure.exception, "exception");
    require(stack().top > outcome.stackBefore, "failure without a message");
    const std::string top = stack().list[stack().top - 1].message;
    require(top.starts_with(failure.message), "message of the operation");
}

// Takes an LSP into the model if the library has it now; `whole` if it is booked on all
// its links.
void Player::settle(const ModelLsp& lsp, bool whole) {
    if (DBgetLSP(db(), lsp.id) == nullptr || model().lsps.contains(lsp.id)) return;
    model().addLsp(lsp);
    if (!whole) model().forget(lsp);
}

void Player::settleRemovals() {
    Ids gone;
    for (const auto& [id, lsp] : model().lsps)
        if (DBgetLSP(db(), id) == nullptr) gone.push_back(id);
    for (Long id : gone) model().removeLsp(id);
}

// The removals that follow a preemption; one that fails ends them.
Verdict Player::removeVictims(const Ids& victims) {
    for (Long id : victims) {
        const Verdict verdict = model().canRemoveLsp(id);
        if (verdict != Verdict::YES) return verdict;
        model().removeLsp(id);
    }
    return Verdict::YES;
}

// Whether the search finds a way; it goes over the links that carry the LSP alone. A link
// that leads back into what it reached from a node with an id beyond all that links of
// any kind lead to ends it; so do an evaluation that fails over a partner's path, and a
// count of links that node removals took below 0.
Verdict Player::isReachable(const ModelLsp& lsp, Long src, Long dst,
                            const std::function<bool(Hop)>& isOpen) const {
    if (src < 0 || dst < 0 || !model().nodes.contains(src)) return Verdict::NO;
    bool known = true;
    auto admits = [&](Hop hop) {
        if (!isOpen(hop)) return false;
        ModelLsp trial = lsp;
        trial.path = {hop.first, hop.second};
        Row gain;
        const Verdict verdict = model().admits(trial, hop, &gain);
        if (verdict == Verdict::UNKNOWN) known = false;
        return verdict == Verdict::YES;
    };
    const std::set<Long> reached = model().reachable(src, admits);
    const std::set<Long> built = model().reachable(src, [](Hop) { return true; });
    bool ends = model().nbLinks() < 0;
    const auto partner = model().lsps.find(lsp.partner);
    if (partner != model().lsps.end() && !model().hasAllLinks(partner->second.path))
        for (const auto& [hop, link] : model().links)
            if (built.contains(hop.first) || built.contains(hop.second)) ends = true;
    for (const auto& [hop, link] : model().links)
        if (hop.first > *built.rbegin() && hop.second != src &&
            reached.contains(hop.second) && admits(hop))
            ends = true;
    if (!known) return Verdict::UNKNOWN;
    return reached.contains(dst) && !ends ? Verdict::YES : Verdict::NO;
}

// Real, simple, and admissible link by link.
void Player::checkPath(const ModelLsp& lsp, const Ids& path, Long src, Long dst) const {
    require(!path.empty() && path.front() == src && path.back() == dst, "ends of a path");
    require(std::set<Long>(path.begin(), path.end()).size() == path.size(),
            "path is not simple");
    require(model().hasAllLinks(path), "path over missing links");
    for (std::size_t i = 0; i + 1 < path.size(); i++) {
        ModelLsp trial = lsp;
        trial.path = {path[i], path[i + 1]};
        Row gain;
        require(model().admits(trial, {path[i], path[i + 1]}, &gain) != Verdict::NO,
                "path over a link that refuses");
    }
}

// Real and simple, around what they protect. A primary placed by hand may cross a node
// twice, or links that are gone; of its backups less can be said.
void Player::checkBackups(const ModelLsp& primary, const std::vector<Ids>& paths,
                          bool global) const {
    const Ids& prim = primary.path;
    const std::size_t nbHops = prim.empty() ? 0 : prim.size() - 1;
    require(paths.size() == (global ? 1 : nbHops), "number of backups");
    const bool simple = std::set<Long>(prim.begin(), prim.end()).size() == prim.size();
    for (std::size_t j = 0; j < paths.size(); j++) {
        const Ids& path = paths[j];
        require(model().hasAllLinks(path), "backup over missing links");
        require(!path.empty() && path.front() == prim[j], "head of a backup");
        if (!simple || nbHops == 0) continue;
        const std::set<Long> ends(
            global ? prim.end() - 1 : prim.begin() + 1 + static_cast<Long>(j),
            prim.end());
        require(ends.contains(path.back()), "tail of a backup");
        require(std::set<Long>(path.begin(), path.end()).size() == path.size(),
                "backup is not simple");
        for (std::size_t i = 0; i + 1 < path.size(); i++)
            for (std::size_t k = j; k < (global ? nbHops : j + 1); k++)
                require(path[i] != prim[k] || path[i + 1] != prim[k + 1],
                        "backup over what it protects");
    }
}
