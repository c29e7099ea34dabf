#include "player/player.h"
#include "database/live/live.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <limits>
#include <optional>
#include <random>

#include "player/capture.h"
#include "session/session.h"
#include "support/entry_points.h"

using twin::Hop;
using twin::Ids;

namespace {

constexpr Long kOddIds[] = {-1,
                            9,
                            40,
                            1 << 30,
                            std::numeric_limits<Long>::max(),
                            std::numeric_limits<Long>::min()};

std::string showResult(const twin::Result& result) {
    if (!result.exception.empty()) return result.exception;
    return result.paths ? show(*result.paths) : "done";
}

jboolean boolean(bool value) {
    return value ? JNI_TRUE : JNI_FALSE;
}

}  // namespace

Player::Player(const std::vector<std::uint8_t>& input, Rules rules)
    : input_(input), rules_(rules), failing_(rules.failing) {
    for (Caller& caller : callers_) caller = {vm_.object(), {}, {}, {}};
    caller_ = &callers_[0];
}

Player::~Player() {
    topologies_.clear();
    // The stack of an initialisation that was refused is nobody's.
    if (currentSessId == -1 && errorManager.list != nullptr) errorDestroy();
    twin::now.stack.reset();
}

void Player::play() try {
    bytes_ = Bytes(input_.data(), std::min(kRecord, input_.size()));
    palette_ = bytes_.below(8);
    const bool isLine = bytes_.oneIn(24);
    nbNodes_ = isLine ? 66 : 4 + bytes_.below(5);
    init();
    if (now() != nullptr) buildNetwork();
    for (std::size_t at = kRecord; at < input_.size(); at += kRecord) {
        bytes_ = Bytes(&input_[at], std::min(kRecord, input_.size() - at));
        step();
        if (rules_.between) rules_.between();
        vm_.forgetArrays();
        for (Caller& caller : callers_) caller.plain.lsps.clear();
    }
    bytes_ = {};
    if (!rules_.entryPointsOnly) openAll();
    for (Caller& caller : callers_) {
        caller_ = &caller;
        if (now() != nullptr) kill();
    }
} catch (const twin::GivenUp&) {
    trace_.push_back("... is given up");
    abandon();
}

void Player::step() {
    const int kind = bytes_.byte();
    if (kind == 255) caller_ = &callers_[bytes_.below(3)];
    if (now() == nullptr) return bytes_.oneIn(3) ? addNode(node()) : init();
    if (db().nodes.size() < 2) return buildNetwork();
    using Action = void (Player::*)();
    static constexpr Action kEntries[] = {
        &Player::computePath,   &Player::computePath, &Player::computePath,
        &Player::computePath,   &Player::addPrimary,  &Player::addPrimary,
        &Player::addBackup,     &Player::addBackup,   &Player::addBackup,
        &Player::removeLsp,     &Player::removeLsp,   &Player::computeBackups,
        &Player::computeBackups};
    static constexpr Action kCore[] = {
        &Player::coreAdd,      &Player::coreAdd,          &Player::coreAdd,
        &Player::coreCompute,  &Player::coreCompute,      &Player::coreCompute,
        &Player::coreBackups,  &Player::coreList,         &Player::coreEvaluate,
        &Player::coreChoose,   &Player::coreLookUp,       &Player::coreHandOut,
        &Player::coreSetState, &Player::coreHoldTopology, &Player::coreSearchHeld,
        &Player::configure};
    if (kind < 120 || (kind < 216 && rules_.entryPointsOnly))
        return (this->*bytes_.anyOf(kEntries))();
    if (kind < 216) return (this->*bytes_.anyOf(kCore))();
    if ((kind == 217 || kind == 221) && !rules_.entryPointsOnly) return multiply();
    if (kind < 218) return print();
    if (kind < 222) return addNode(node());
    if (kind < 238) {
        const Hop hop = {node(), node()};
        return addLink(linkId(), hop);
    }
    if (kind < 242) return rules_.entryPointsOnly ? removeLink() : coreAddLink();
    if (kind < 251) return removeLink();
    if (kind < 254) return removeNode();
    return kind == 254 ? kill() : computePath();
}

void Player::call(const std::string& what, const std::function<std::string()>& plain,
                  const std::function<std::string()>& real) {
    calls_++;
    trace_.push_back(what);
    twin::now.out.clear();
    twin::now.err.clear();
    const twin::Stack* stack = twin::now.stack.get();
    if (const twin::Session* session = now(); session != nullptr)
        stack = session->stack.get();
    const std::size_t from = stack != nullptr ? stack->messages.size() : 0;
    if (failing_ > 0) return callShort(plain, real);
    const std::string expected = plain();
    std::optional<Capture> capture;
    if (!rules_.besideOthers) capture.emplace();
    const std::string actual = real();
    if (capture) capture->stop();
    expect(expected, actual, "result");
    if (capture) {
        expect(twin::now.out, capture->text(0), "standard output");
        if (!failed_) expect(twin::now.err, capture->text(1), "standard error");
    }
    trace_.back().append(" = ").append(expected);
    printed_.push_back(twin::now.err + twin::now.out);
    compareAll(stack == twin::now.stack.get() ? from : 0);
}

void Player::entry(const std::string& what, const std::function<twin::Result()>& plain,
                   const std::function<twin::Result()>& real) {
    auto sayAll = [](const twin::Result& result, Long sessId, const Ids& lsps) {
        return say(showResult(result), sessId, lsps);
    };
    call(
        say(Long(caller_ - callers_), what),
        [&] {
            const twin::Result result = plain();
            return sayAll(result, caller_->plain.sessId, caller_->plain.lsps);
        },
        [&] {
            twin::Result result = real();
            result.exception = vm_.takeException();
            expect(std::string(), vm_.misuse(), "use of JNI");
            expect(0, vm_.pinned(), "elements of arrays that were not handed back");
            return sayAll(result, FakeVm::sessId(caller_->object),
                          FakeVm::lsps(caller_->object));
        });
}

// As an entry point would make it.
void Player::core(const std::string& what,
                  const std::function<std::string(twin::Database&)>& plain,
                  const std::function<std::string(DataBase*)>& real) {
    const Long id = caller_->plain.sessId;
    call(
        say(Long(caller_ - callers_), what),
        [&] {
            twin::Session* session = twin::load(id);
            const std::string result = plain(session->db);
            session->config = twin::now.config;
            return result;
        },
        [&] {
            loadSession(id);
            const std::string result = real(centralDB);
            saveCntx(id);
            return result;
        });
}

void Player::compareAll(std::size_t from) {
    if (!failed_) compareStack(errorManager, twin::now.stack.get(), from);
    if (!rules_.besideOthers) {
        expect(Ids{twin::now.nbOA, twin::now.nbPL}, Ids{NBOA, NBPL}, "NBOA, NBPL");
        expect(twin::now.cost, COST.load(), "COST");
    }
    for (Caller& caller : callers_) compareSession(caller);
    dropHeld();
    for (const HandedOut& held : handedOut_)
        within("state held from", held.hop.first, [&] {
            compareState(held.state,
                         twin::session(held.session)->db.links.at(held.hop).state);
        });
    for (const HeldTopology& held : topologies_) compareTopology(held.topo, held.plain);
}

std::string checked(const char* difference) {
    return difference != nullptr ? difference : "";
}

void Player::compareSession(Caller& caller) {
    const Long id = caller.plain.sessId;
    const twin::Session* expected = twin::session(id);
    if (id >= 0) expect(expected != nullptr, sessions[id] != nullptr, "session");
    if (expected == nullptr) return;
    compareDatabase(sessions[id]->centralDB, expected->db);
    Long where[2];
    if (calls() % 4 == 0 && !failed_)
        expect(std::string(), checked(checkLive(sessions[id]->centralDB, where)),
               "derived state");
    expect(expected->config.predicateConfig.allowReroute,
           sessions[id]->kavrilConfig.predicateConfig.allowReroute, "allowReroute");
}

// Forgets what has gone with its session or link.
void Player::dropHeld() {
    auto isGone = [](Long session, Hop hop) {
        const twin::Session* owner = twin::session(session);
        return owner == nullptr || !owner->db.links.contains(hop);
    };
    std::erase_if(handedOut_,
                  [&](const HandedOut& held) { return isGone(held.session, held.hop); });
    std::erase_if(topologies_, [&](const HeldTopology& held) {
        return std::any_of(held.links.begin(), held.links.end(),
                           [&](Hop hop) { return isGone(held.session, hop); });
    });
}

// Compares the failure tables of all links, which the library must give out for that.
void Player::openAll() {
    for (Caller& caller : callers_) {
        caller_ = &caller;
        if (now() == nullptr) continue;
        DataBase* real = sessions[caller.plain.sessId]->centralDB;
        for (const auto& [hop, link] : db().links) {
            const auto [src, dst] = hop;
            const twin::LinkState& expected = link.state;
            within("in the end, link from", src, [&, src = src, dst = dst] {
                within("to", dst,
                       [&] { compareState(DBgetLinkState(real, src, dst), expected); });
            });
        }
    }
}

// Ends the library's sessions as they are.
void Player::abandon() {
    topologies_.clear();
    handedOut_.clear();
    std::optional<Capture> capture;
    if (!rules_.besideOthers) capture.emplace();
    for (Caller& caller : callers_) {
        FakeVm::sessId(caller.object) = caller.plain.sessId;
        if (twin::session(caller.plain.sessId) != nullptr)
            killKavril(env(), caller.object);
    }
    twin::forgetSessions();
}

// Decoding.

Long Player::node() {
    return bytes_.oneIn(40) ? bytes_.anyOf(kOddIds)
                            : bytes_.below(static_cast<std::size_t>(nbNodes_));
}

Long Player::lspId() {
    return bytes_.oneIn(40) ? bytes_.anyOf(kOddIds) : bytes_.below(24);
}

// One that is up, mostly.
Long Player::anyLsp() {
    if (db().lsps.empty() || bytes_.oneIn(20)) return lspId();
    return bytes_.anyOf(db().lsps).first;
}

// A small one that is free, mostly.
Long Player::linkId() {
    if (bytes_.oneIn(12))
        return bytes_.oneIn(4) ? bytes_.anyOf(kOddIds) : bytes_.below(60);
    Long id = bytes_.below(40);
    while (db().hops.contains(id)) id++;
    return id;
}

Hop Player::anyHop() {
    if (db().links.empty() || bytes_.oneIn(20)) return {node(), node()};
    return bytes_.anyOf(db().links).first;
}

// By palette: coarse amounts, such that sums are exact; single precision; double
// precision; many decades; with odd values among them; about 2^53.
double Player::amount() {
    static constexpr double kOdd[] = {0.0,  -0.0,  -3.0, 5e-324, 1e-45, 1e-12, 1e-9,
                                      1e30, -1e30, 0.1,  1e12,   1e-20, 1e-300};
    static constexpr double kHuge[] = {9007199254740992.0,
                                       -9007199254740992.0,
                                       1.0,
                                       9007200328482816.0,
                                       1073741824.0,
                                       0.5,
                                       3.0};
    const double x = bytes_.byte(), y = bytes_.byte();
    switch (palette_) {
        case 0:
        case 1:
            return bytes_.oneIn(32) ? -3.0 : 0.25 * std::fmod(x, 40.0);
        case 2:
            return static_cast<double>(static_cast<float>((x + y / 256.0) / 25.6));
        case 3:
            return (x + y / 255.0) / 25.6;
        case 4:
        case 5:
            return bytes_.oneIn(4)
                       ? (1.0 + x / 255.0) * std::pow(10.0, std::fmod(y, 33.0) - 20.0)
                       : (x + y / 255.0) / 25.6;
        case 6:
            return bytes_.oneIn(3) ? bytes_.anyOf(kOdd) : 0.1 * x;
        default:
            return bytes_.anyOf(kHuge);
    }
}

double Player::capacity() {
    static constexpr double kOdd[] = {0.0, INFINITY, NAN, -1.0, 1e12, 1073741824.0};
    if (bytes_.oneIn(12)) return bytes_.anyOf(kOdd);
    static constexpr double kHuge[] = {1073741824.0, 9007199254740992.0, 3e16, INFINITY};
    if (palette_ == 7) return bytes_.anyOf(kHuge);
    const double size = 4.0 * std::abs(amount());
    return size + bytes_.below(32);
}

float Player::single() {
    static constexpr float kOdd[] = {NAN, INFINITY, -INFINITY};
    return bytes_.oneIn(60) ? bytes_.anyOf(kOdd) : static_cast<float>(amount());
}

// Along links, as far as there are any.
Ids Player::walk() {
    Ids nodes = {bytes_.below(std::size_t(nbNodes_))};
    for (int left = nbNodes_ > 60 ? 64 : 1 + bytes_.below(4); left > 0; left--) {
        const twin::Node* node = twin::find(db().nodes, nodes.back());
        if (node == nullptr || node->out.empty()) break;
        nodes.push_back(nbNodes_ > 60 ? node->out.back() : bytes_.anyOf(node->out));
    }
    return nodes;
}

Ids Player::path() {
    if (!bytes_.oneIn(8)) return walk();
    Ids nodes;
    for (int left = bytes_.below(5); left > 0; left--) nodes.push_back(node());
    return nodes;
}

// Entry points.

void Player::init() {
    twin::InitArgs args = {};
    const int kind = bytes_.byte();
    args.nbOA = kind % 64 == 63 ? 9 : 1 + kind % 3;
    args.nbPL = kind % 5 == 0 ? 2 : 8;
    if (rules_.besideOthers) args.nbOA = 3, args.nbPL = 8;
    args.capacityClause = kind % 16 != 5;
    args.colorClause = kind % 2 == 0;
    const int used = bytes_.byte();
    float* weights[] = {&args.loadbal,      &args.load,           &args.sqLoad,
                        &args.relativeLoad, &args.sqRelativeLoad, &args.delay,
                        &args.fortz};
    for (std::size_t i = 0; i < 7; i++)
        if ((used >> i & 1) != 0)
            *weights[i] = 0.5F * static_cast<float>(bytes_.below(4));
    args.prices.emplace(std::min(args.nbOA, kClasses), std::vector<float>(8, 1.0F));
    for (auto& row : *args.prices) row[5] = static_cast<float>(bytes_.below(4));
    if (bytes_.oneIn(30)) args.prices->pop_back();
    auto open = [&] {
        initKavril(env(), caller_->object, args.nbOA, args.nbPL,
                   boolean(args.colorClause), JNI_FALSE, boolean(args.capacityClause),
                   args.loadbal, args.load, args.sqLoad, args.relativeLoad,
                   args.sqRelativeLoad, args.delay, args.fortz, vm_.rows(*args.prices));
    };
    entry(
        say("init", args.nbOA, args.nbPL, args.colorClause, args.allowReroute,
            args.capacityClause, args.loadbal, args.load, args.sqLoad, args.relativeLoad,
            args.sqRelativeLoad, args.delay, args.fortz, args.prices),
        [&] {
            if (rules_.besideOthers) {  // the number is up to chance
                open();
                twin::openNextAs(FakeVm::sessId(caller_->object));
            }
            return twin::initKavril(caller_->plain, args);
        },
        [&] {
            if (!rules_.besideOthers) open();
            return twin::Result();
        });
}

void Player::kill() {
    std::erase_if(topologies_, [&](const HeldTopology& held) {
        return held.session == caller_->plain.sessId;
    });
    entry(
        "kill", [&] { return twin::killKavril(caller_->plain); },
        [&] { return killKavril(env(), caller_->object), twin::Result(); });
    std::filesystem::remove(std::exchange(caller_->journal, ""));
    // Somebody else may get the number.
    if (rules_.besideOthers) caller_->plain.sessId = FakeVm::sessId(caller_->object) = -1;
}

void Player::print() {
    entry(
        "print", [&] { return twin::printDB(caller_->plain); },
        [&] { return printKavrilDB(env(), caller_->object), twin::Result(); });
}

void Player::addNode(Long id) {
    entry(
        say("addNode", id), [&] { return twin::addNodeEntry(caller_->plain, id); },
        [&] { return addNodeEntry(env(), caller_->object, id), twin::Result(); });
}

void Player::addLink(Long id, Hop hop) {
    const auto classes = static_cast<std::size_t>(std::clamp(NBOA.load(), 1, kClasses));
    std::vector<float> cap(classes);
    std::vector<std::vector<float>> rbw(classes, std::vector<float>(kLevels));
    const bool reserved = bytes_.oneIn(8);
    for (std::size_t oa = 0; oa < classes; oa++) {
        cap[oa] = static_cast<float>(capacity());
        if (reserved)
            for (std::size_t p = 0; p < kLevels; p += 3)
                rbw[oa][p] = static_cast<float>(amount());
    }
    if (bytes_.oneIn(60)) cap.resize(0);
    entry(
        say("addLink", id, hop.first, hop.second, cap, rbw),
        [&] { return twin::addLinkEntry(caller_->plain, id, hop, cap, rbw); },
        [&] {
            addLinkEntry(env(), caller_->object, id, 7, hop.first, hop.second,
                         vm_.floats(cap), vm_.rows(rbw), nullptr, nullptr, nullptr);
            return twin::Result();
        });
}

// A ring and some links across it, or one long ring, whatever the record has bytes for.
void Player::buildNetwork() {
    const unsigned low = bytes_.byte();
    const unsigned high = bytes_.byte();
    std::minstd_rand random(1 + low + 256 * high);
    std::vector<std::uint8_t> drawn(8000);
    for (std::uint8_t& byte : drawn) byte = static_cast<std::uint8_t>(random() >> 8);
    bytes_ = Bytes(drawn.data(), drawn.size());
    for (Long id = 0; id < nbNodes_; id++)
        if (!db().nodes.contains(id)) addNode(id);
    Long id = 0;
    for (Long src = 0; src < nbNodes_; src++)
        for (Long dst = 0; dst < nbNodes_; dst++) {
            const bool across = nbNodes_ < 60 && bytes_.oneIn(3);
            if (dst == (src + 1) % nbNodes_ || across) addLink(id++, {src, dst});
        }
    bytes_ = {};
}

void Player::removeLink() {
    const Hop hop = anyHop();
    entry(
        say("removeLink", hop.first, hop.second),
        [&] { return twin::removeLinkEntry(caller_->plain, hop); },
        [&] {
            removeLinkEntry(env(), caller_->object, hop.first, hop.second);
            return twin::Result();
        });
}

void Player::removeNode() {
    const Long id = node();
    entry(
        say("removeNode", id), [&] { return twin::removeNodeEntry(caller_->plain, id); },
        [&] { return removeNodeEntry(env(), caller_->object, id), twin::Result(); });
}

void Player::addPrimary() {
    twin::LspArgs args = {lspId(), path(), bytes_.below(8), bytes_.below(4), single()};
    if (bytes_.oneIn(60)) args.level = 8;
    if (bytes_.oneIn(60)) args.path.reset();
    entry(
        say("addLSP", args.id, args.path, args.level, args.oa, args.bw),
        [&] { return twin::addLSPEntry(caller_->plain, args); },
        [&] {
            addLSPEntry(env(), caller_->object, args.id,
                        args.path ? vm_.ints(*args.path) : nullptr, args.level, args.oa,
                        args.bw);
            return twin::Result();
        });
}

// From a node of the primary, mostly.
void Player::addBackup() {
    twin::LspArgs args = {lspId(), walk(), bytes_.below(8), bytes_.below(4), single()};
    const Long primID = anyLsp();
    const bool local = bytes_.oneIn(2);
    const twin::Lsp* primary = twin::find(db().lsps, primID);
    Ids& nodes = *args.path;
    if (primary != nullptr && !bytes_.oneIn(8))
        while (!nodes.empty() && !twin::contains(primary->path, nodes[0]))
            nodes.erase(nodes.begin());
    entry(
        say("addBackupLSP", args.id, primID, nodes, args.level, args.oa, args.bw, local),
        [&] { return twin::addBackupLSPEntry(caller_->plain, args, primID, local); },
        [&] {
            addBackupLSPEntry(env(), caller_->object, args.id, primID, vm_.ints(nodes),
                              args.level, args.oa, args.bw, boolean(local));
            return twin::Result();
        });
}

void Player::removeLsp() {
    const Long id = anyLsp();
    entry(
        say("removeLSP", id), [&] { return twin::removeLSPEntry(caller_->plain, id); },
        [&] { return removeLSPEntry(env(), caller_->object, id), twin::Result(); });
}

void Player::computePath() {
    twin::PathArgs args = {lspId(),         node(),   node(),           bytes_.below(4),
                           bytes_.below(8), single(), !bytes_.oneIn(3), bytes_.oneIn(2)};
    if (bytes_.oneIn(60)) args.level = -1;
    entry(
        say("computePath", args.id, args.src, args.dst, args.oa, args.level, args.bw,
            args.add, args.preempt),
        [&] { return twin::computePathEntry(caller_->plain, args); },
        [&] {
            jintArray path = computePathEntry(
                env(), caller_->object, args.id, args.src, args.dst, 0, 0, 0, args.oa,
                args.level, args.bw, nullptr, boolean(args.add), boolean(args.preempt));
            twin::Result result;
            if (path != nullptr) result.paths = {FakeVm::values(path)};
            return result;
        });
}

void Player::computeBackups() {
    twin::BackupArgs args = {anyLsp(), Ids(), bytes_.below(3), !bytes_.oneIn(3),
                             bytes_.oneIn(5)};
    for (int left = nbNodes_ > 60 ? 66 : bytes_.below(7); left > 0; left--)
        args.ids->push_back(lspId());
    if (bytes_.oneIn(60)) args.ids.reset();
    entry(
        say("computeBackupPath", args.primID, args.ids, args.type, args.add,
            args.preempt),
        [&] { return twin::computeBackupPathEntry(caller_->plain, args); },
        [&] {
            jobjectArray paths = computeBackupPathEntry(
                env(), caller_->object, args.primID,
                args.ids ? vm_.ints(*args.ids) : nullptr, args.type, boolean(args.add),
                boolean(args.preempt));
            twin::Result result;
            if (paths != nullptr) result.paths = FakeVm::valuesOfRows(paths);
            return result;
        });
}
