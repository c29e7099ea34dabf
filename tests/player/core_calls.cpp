// The calls of the C++ interface.

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <iterator>
#include <tuple>

#include "admission/link_eval.h"
#include "admission/lsp_setup.h"
#include "computation/backup/backup.h"
#include "player/player.h"
#include "predicate/predicate.h"
#include "rerouting/rerouting.h"
#include "session/attempt.h"
#include "session/changes.h"
#include "session/journal.h"
#include "session/session_file.h"
#include "twin/backup.h"

using twin::Hop;
using twin::Ids;

twin::Lsp Player::lsp() {
    twin::Lsp lsp;
    lsp.id = lspId();
    lsp.precedence = bytes_.below(8);
    lsp.path = path();
    const int classes = bytes_.byte();
    for (std::size_t oa = 0; oa < 3; oa++)
        if ((classes >> oa & 1) != 0) lsp.bw[oa] = amount();
    if (classes > 240) lsp.bw[7] = amount();
    if (bytes_.oneIn(6)) lsp.forbidden = {bytes_.below(4), 3};
    const int kind = bytes_.byte();
    if (kind % 3 == 0) lsp.partner = std::max(anyLsp(), -1);
    const twin::Lsp* partner = twin::find(db().lsps, lsp.partner);
    if (partner != nullptr && kind % 2 == 0) {
        lsp.precedence = partner->precedence;
        lsp.path = partner->path;
        if (kind % 4 == 0) lsp.bw = {};
    }
    if (kind % 8 < 3) {
        lsp.type = kind % 16 == 0 ? 3 : 1 + kind % 2;
        lsp.primID = anyLsp();
        const twin::Lsp* primary = twin::find(db().lsps, lsp.primID);
        if (primary != nullptr) lsp.primPath = primary->path;
        if (kind > 250) lsp.primPath = walk();
    }
    return lsp;
}

twin::Request Player::request() {
    twin::Request request = {lsp(), 0, 0};
    request.primPath.clear();
    if (request.partner >= 0) std::tie(request.avoidSrc, request.avoidDst) = anyHop();
    return request;
}

// That of a link, with something changed.
twin::LinkState Player::linkState() {
    twin::LinkState state;
    const twin::Link* link = twin::find(db().links, anyHop());
    if (link != nullptr) state = link->state;
    for (auto cells : {&state.bbw, &state.fbw})
        for (auto& levels : *cells)
            for (auto& vec : levels)
                if (vec.empty()) vec.resize(1);
    const auto oa = static_cast<std::size_t>(bytes_.below(3));
    const auto p = static_cast<std::size_t>(bytes_.below(8));
    const int changes = bytes_.byte();
    if ((changes & 1) != 0) state.color = bytes_.below(4);
    if ((changes & 2) != 0) state.cap[oa] = capacity();
    if ((changes & 4) != 0) state.rbw[oa][p] = amount();
    if ((changes & 8) != 0) state.pbw[oa][p] = amount();
    if ((changes & 48) == 16 || (changes & 48) == 32) {
        const double element = amount();
        auto& table = (changes & 48) == 16 ? state.bbw : state.fbw;
        table[oa][p].resize(std::size_t(1 + bytes_.below(20)), element);
    }
    return state;
}

namespace {

std::string show(const twin::Lsp& lsp) {
    return say(lsp.id, lsp.path, lsp.precedence, lsp.bw, Ids{lsp.type, lsp.primID},
               lsp.primPath, lsp.partner, lsp.forbidden);
}

std::string showRequest(const twin::Request& req) {
    return show(static_cast<const twin::Lsp&>(req)) + " " +
           say(req.avoidSrc, req.avoidDst);
}

// The library's record of a twin's.
struct RealLsp : ScopedLSP {
    explicit RealLsp(const twin::Lsp& from) {
        DBlspInit(this);
        fill(this, from);
    }
};
struct RealRequest : ScopedRequest {
    explicit RealRequest(const twin::Request& from) {
        lspRequestInit(this);
        fill(this, from);
    }
};
struct RealState : ScopedLinkState {
    explicit RealState(const twin::LinkState& from) {
        DBlinkStateInit(this);
        fill(this, from);
    }
};
struct RealList : ScopedLongList {
    explicit RealList(const Ids& from = {}) {
        longVecInit(this, -1);
        fill(this, from);
    }
};

twin::Row rowOf(const double* values) {
    twin::Row row;
    std::copy_n(values, row.size(), row.begin());
    return row;
}

}  // namespace

namespace {

// Saves the loaded session, in memory, and opens what is loaded from that.
int openSaved() {
    ByteWriter file;
    UsedNumbers numbers;
    writeFile(&file, centralDB, {NBOA, NBPL});
    beginSession();
    centralDB = readFile(file.data(), file.size(), &numbers);
    return openSession();
}

// What no native method does, no journal records.
void changeUnrecorded() {
    if (Journal* journal = journalOf(currentSessId)) journal->needsBase = true;
}

}  // namespace

void Player::beginJournal() {
    static std::atomic<long> begun = 0;
    caller_->journal =
        std::filesystem::temp_directory_path() /
        ("kavril_play-" + std::to_string(getpid()) + "-" + std::to_string(begun++));
    caller_->atBase = *now()->stack;
    core(
        "keep a journal", [](twin::Database&) { return "1"; },
        [&](DataBase*) {
            UsedNumbers numbers = {NBOA, NBPL};
            return show(
                Long{openJournal(caller_->journal.c_str(), false, &numbers) == 0});
        });
}

// Opens the session that is in another's journal, which ends that.
Long Player::openRecovered(const Caller& from) {
    closeJournal();
    saveCntx(from.plain.sessId);
    beginSession();
    centralDB = DBnew(0);
    const Long id = openSession();
    UsedNumbers numbers = {};
    return openJournal(from.journal.c_str(), false, &numbers) == 0 ? id : -1;
}

// Gives another caller a copy of the session, what has been saved and loaded, or what was
// recovered from a journal, in place of the session it has; either may go on.
void Player::multiply() {
    Caller* from = caller_;
    Caller* to = &callers_[(caller_ - callers_ + 1 + bytes_.below(2)) % 3];
    const char* const kinds[] = {"copy for", "save for", "recover for"};
    const int kind = std::min(bytes_.below(4), 2);
    if (kind == 2 && from->journal.empty()) return beginJournal();
    caller_ = to;
    if (now() != nullptr) kill();
    // Messages are no changes; a base has them.
    const bool hasBase = kind == 2 && !journalOf(from->plain.sessId)->needsBase;
    auto open = [&] {
        jint& id = FakeVm::sessId(to->object);
        loadSession(FakeVm::sessId(from->object));
        if (kind == 0) id = copySession(FakeVm::sessId(from->object));
        if (kind == 1) id = openSaved();
        if (kind == 2) id = openRecovered(*from);
        saveCntx(id);
    };
    call(
        say(Long(from - callers_), kinds[kind], Long(to - callers_)),
        [&] {
            if (rules_.besideOthers) {  // the number is up to chance
                open();
                twin::openNextAs(FakeVm::sessId(to->object));
            }
            twin::copySession(from->plain, to->plain);
            if (hasBase) *now()->stack = from->atBase;
            return show(to->plain.sessId);
        },
        [&] {
            if (!rules_.besideOthers) open();
            return show(FakeVm::sessId(to->object));
        });
    if (kind == 2) {
        to->journal = std::exchange(from->journal, "");
        to->atBase = hasBase ? from->atBase : *now()->stack;
    }
    if (bytes_.oneIn(2)) caller_ = from;
}

void Player::configure() {
    PrimaryComputationConfig weights = {};
    PredicateConfig switches = {bytes_.oneIn(2), !bytes_.oneIn(8), bytes_.oneIn(2)};
    const int used = bytes_.byte();
    auto weight = [&] { return 0.25 * bytes_.below(8); };
    weights.Fortz = weight();
    double* const rows[] = {weights.loadBal,  weights.load,      weights.sqLoad,
                            weights.relLoad,  weights.sqRelLoad, weights.delay,
                            weights.rerouting};
    for (std::size_t i = 0; i < std::size(rows); i++)
        if ((used >> i & 1) != 0) rows[i][bytes_.below(3)] = weight();
    core(
        say("configure", used, weights.Fortz),
        [&](twin::Database&) {
            twin::now.config.primaryComputationConfig = weights;
            twin::now.config.predicateConfig = switches;
            return "";
        },
        [&](DataBase*) {
            kavrilConfig.primaryComputationConfig = weights;
            kavrilConfig.predicateConfig = switches;
            changeUnrecorded();
            return "";
        });
}

void Player::coreAddLink() {
    const Long id = linkId();
    const Hop hop = {node(), node()};
    const twin::LinkState state = linkState();
    core(
        say("DBaddLink", id, hop.first, hop.second),
        [&](twin::Database& db) { return show(Long{twin::addLink(db, id, hop, state)}); },
        [&](DataBase*) {
            RealState real(state);
            return show(Long{SCaddLink(id, hop.first, hop.second, &real) == 0});
        });
}

void Player::coreSetState() {
    const Hop hop = anyHop();
    const twin::LinkState state = linkState();
    const bool onlyCapacity = bytes_.oneIn(2);
    core(
        say(onlyCapacity ? "DBsetLinkCapacity" : "DBsetLinkState", hop.first, hop.second,
            state.cap),
        [&](twin::Database& db) {
            return show(Long{onlyCapacity ? twin::setLinkCapacity(db, hop, state.cap)
                                          : twin::setLinkState(db, hop, state)});
        },
        [&](DataBase* db) {
            RealState real(state);
            if (onlyCapacity)
                return show(
                    Long{SCsetLinkCapacity(hop.first, hop.second, real.cap) == 0});
            changeUnrecorded();
            return show(Long{DBsetLinkState(db, hop.first, hop.second, &real) == 0});
        });
}

void Player::coreAdd() {
    twin::Lsp lsp = this->lsp();
    const bool reroute = bytes_.oneIn(2);
    const bool isChange = bytes_.oneIn(2);
    if (isChange) {
        lsp.id = anyLsp();
        const twin::Lsp* old = twin::find(db().lsps, lsp.id);
        if (old != nullptr && bytes_.below(3) > 0) lsp.path = old->path;
        if (bytes_.below(4) > 0) lsp.type = 0;
    }
    core(
        say(isChange ? "DBchangeLSP" : "DBaddLSP", show(lsp)),
        [&](twin::Database& db) {
            twin::now.config.predicateConfig.allowReroute = reroute;
            Ids preempted = {3};
            const bool done =
                (isChange ? twin::changeLSP : twin::addLSP)(db, lsp, preempted);
            return say(Long{done}, preempted);
        },
        [&](DataBase*) {
            kavrilConfig.predicateConfig.allowReroute = reroute;
            RealLsp real(lsp);
            RealList preempted({3});
            const bool done = (isChange ? SCchangeLSP : SCaddLSP)(&real, &preempted) == 0;
            return say(Long{done}, idsOf(preempted));
        });
}

void Player::coreList() {
    const twin::Lsp lsp = this->lsp();
    core(
        say("getpreemptList", show(lsp)),
        [&](twin::Database& db) {
            twin::now.config.predicateConfig.allowReroute = true;
            Ids preempted;
            const bool done = twin::getPreemptList(db, lsp, preempted);
            return say(Long{done}, preempted);
        },
        [&](DataBase* db) {
            kavrilConfig.predicateConfig.allowReroute = true;
            RealLsp real(lsp);
            RealList preempted;
            const bool done = getpreemptList(db, &real, &preempted) == 0;
            return say(Long{done}, idsOf(preempted));
        });
}

void Player::coreCompute() {
    twin::Request request = this->request();
    request.type = 0;
    const int kind = bytes_.byte();
    request.path = {node(), -1, node()};
    if (kind % 8 == 1) request.path.erase(request.path.begin() + 1);
    if (kind % 8 == 2) request.path[1] = node();
    if (kind == 11) request.path.pop_back();
    core(
        say("computePrimaryPath", showRequest(request)),
        [&](twin::Database& db) {
            const bool done = twin::computePrimaryPath(db, request);
            return say(Long{done}, done ? request.path : Ids());
        },
        [&, request](DataBase* db) {
            RealRequest real(request);
            const bool done = computePrimaryPath(db, &real) == 0;
            return say(Long{done}, done ? idsOf(real.path) : Ids());
        });
}

// Perhaps a second time into the same list.
void Player::coreBackups() {
    const Long id = anyLsp();
    const int type = bytes_.oneIn(16) ? 3 : bytes_.below(9) * 3 / 8;
    const int times = bytes_.oneIn(4) ? 2 : 1;
    core(
        say("computeBackup", id, type, times),
        [&](twin::Database& db) {
            std::vector<twin::Request> requests(1);
            std::string text;
            for (int i = 0; i < times; i++)
                text += say(Long{twin::computeBackup(db, requests, id, type)});
            for (const twin::Request& req : requests)
                text.append(" ").append(
                    say(req.id, req.primID, req.type, req.precedence, req.bw, req.path));
            return text;
        },
        [&](DataBase* db) {
            LSPRequestList requests;
            lspRequestListInit(&requests, -1);
            std::string text;
            for (int i = 0; i < times; i++)
                text +=
                    say(Long{computeBackup(db, &requests, id, BackupType(type)) == 0});
            for (Long i = 0; i < requests.size; i++) {
                const LSPRequest& req = requests.cont[i];
                text.append(" ").append(say(req.id, req.primID, Long{req.type},
                                            req.precedence, rowOf(req.bw),
                                            idsOf(req.path)));
            }
            lspRequestListEnd(&requests);
            return text;
        });
}

// Trials on a state of the caller's own, or on one that it holds of a link.
void Player::coreEvaluate() {
    twin::Request request = this->request();
    const int kind = bytes_.below(6);
    Hop hop = anyHop();
    if (!request.path.empty() && kind < 4)
        for (Hop on : twin::hopsOf(request.path))
            if (bytes_.oneIn(2)) hop = on;
    twin::LinkState before = linkState();
    DBLinkState* held = nullptr;
    for (const HandedOut& state : handedOut_)
        if (state.session == caller_->plain.sessId && state.hop == hop &&
            bytes_.oneIn(2)) {
            held = state.state;
            before = db().links.at(hop).state;
        }
    twin::LinkState after = before;
    const twin::Request asked = request;
    core(
        say("evaluate", kind, hop.first, hop.second, showRequest(request)),
        [&](twin::Database& db) {
            twin::Row gain = {};
            bool done;
            if (kind < 3)
                done = twin::evalLS(db, hop, after, request, kind);
            else if (kind < 5)
                done = twin::isValidRequestLink(db, hop, before, request, gain);
            else
                done = twin::isValidLSPLink(db, hop, before, request, gain);
            return say(Long{done}, gain, request.path);
        },
        [&](DataBase* db) {
            twin::Row gain = {};
            RealState own(held != nullptr ? twin::LinkState() : before);
            RealRequest real(asked);
            RealLsp realLsp(asked);
            DBLinkState* from = held != nullptr ? held : &own;
            bool done;
            if (kind < 3) {
                RealState to{twin::LinkState()};
                DBLinkState* place = held == nullptr && asked.id % 2 == 0 ? from : &to;
                done = evalLS(db, hop.first, hop.second, place, from, &real,
                              static_cast<operation>(kind)) == 0;
                compareState(place, after);
            } else if (kind < 5) {
                done = isValidRequestLink(db, hop.first, hop.second, from, &real,
                                          gain.data());
            } else {
                done = isValidLSPLink(db, hop.first, hop.second, from, &realLsp,
                                      gain.data());
            }
            return say(Long{done}, gain, idsOf(real.path));
        });
}

void Player::coreChoose() {
    const Hop hop = anyHop();
    if (!db().links.contains(hop)) return;
    const twin::LinkState state = linkState();
    const twin::Request request = this->request();
    twin::Row gain = {};
    for (std::size_t oa = 0; oa < 3; oa++)
        if (bytes_.oneIn(2)) gain[oa] = amount();
    core(
        say("chooseReroutedLSPs", hop.first, hop.second, request.precedence, gain),
        [&](twin::Database& db) {
            Ids chosen;
            const bool done = twin::chooseReroutedLSPs(
                request.precedence, state, db.links.at(hop).lsps, gain, chosen);
            return say(Long{done}, done ? chosen : Ids(),
                       twin::makeRerouteScore(request, gain, state, 1));
        },
        [&](DataBase* db) {
            RealList chosen;
            RealState real(state);
            RealRequest realRequest(request);
            const bool done = chooseReroutedLSPs(request.precedence, &real,
                                                 DBgetLinkLSPs(db, hop.first, hop.second),
                                                 gain.data(), &chosen) == 0;
            return say(Long{done}, done ? idsOf(chosen) : Ids(),
                       makeRerouteScore(&realRequest, gain.data(), &real, 1));
        });
}

void Player::coreLookUp() {
    const Hop hop = anyHop();
    const Long id = bytes_.below(60), nd = node();
    if (bytes_.oneIn(3)) return coreTakeBack(anyLsp(), hop);
    core(
        say("look up", hop.first, hop.second, id, nd),
        [&](twin::Database& db) {
            const twin::Node* node = twin::getNode(db, nd);
            const Long link = twin::getLinkID(db, hop);
            const Long src = twin::getLinkEnd(db, id, &Hop::first);
            const Long dst = twin::getLinkEnd(db, id, &Hop::second);
            return say(link, src, dst, db.maxNode(),
                       Long{twin::find(db.lsps, id) != nullptr},
                       node != nullptr ? node->in : Ids());
        },
        [&](DataBase* db) {
            const LongList* in = DBgetNodeInNeighb(db, nd);
            const Long link = DBgetLinkID(db, hop.first, hop.second);
            const Long src = DBgetLinkSrc(db, id), dst = DBgetLinkDst(db, id);
            return say(link, src, dst, DBgetMaxNodeID(db),
                       Long{DBgetLSP(db, id) != nullptr},
                       in != nullptr ? idsOf(*in) : Ids());
        });
}

// Changes of which nothing is left.
void Player::coreTakeBack(Long lsp, Hop hop) {
    if (failing_ > 0) return;
    std::erase_if(handedOut_, [&](const HandedOut& held) {
        return held.session == caller_->plain.sessId;
    });
    std::erase_if(topologies_, [&](const HeldTopology& held) {
        return held.session == caller_->plain.sessId;
    });
    core(
        say("take back", lsp, hop.first, hop.second), [](twin::Database&) { return "1"; },
        [&](DataBase*) {
            const ErrorList stack = errorManager;
            errorInit();
            const bool begun = beginAttempt() == 0;
            const double none[kClasses] = {};
            beginAttempt();
            SCremoveLSP(lsp);
            endAttempt(lsp % 2 == 0);
            SCsetLinkCapacity(hop.first, hop.second, none);
            SCremoveLink(hop.first, hop.second);
            kavrilConfig.predicateConfig.allowReroute ^= true;
            endAttempt(false);
            errorDestroy();
            errorManager = stack;
            return show(Long{begun});
        });
}

void Player::coreHandOut() {
    const Hop hop = anyHop();
    DBLinkState* state = nullptr;
    core(
        say("DBgetLinkState", hop.first, hop.second),
        [&](twin::Database& db) { return show(Long{twin::getLink(db, hop) != nullptr}); },
        [&](DataBase* db) {
            state = DBgetLinkState(db, hop.first, hop.second);
            return show(Long{state != nullptr});
        });
    if (state != nullptr && handedOut_.size() < 6)
        handedOut_.push_back({caller_->plain.sessId, hop, state});
}

// Builds a topology and keeps it while the network changes.
void Player::coreHoldTopology() {
    if (topologies_.size() > 2 || rules_.tame) return;
    twin::Request request = this->request();
    request.type = 0;
    request.path = {node(), -1, node()};
    HeldTopology& held = topologies_.emplace_back();
    held.session = caller_->plain.sessId;
    held.request = request;
    initTopo(&held.topo, -1);
    bool done = false;
    auto build = [&](twin::Database& db) {
        done = twin::fillTopo(db, request, held.plain);
        if (!done) held.plain = {};
        for (const twin::TopoNode& node : held.plain.nodes) {
            for (const twin::Connect& in : node.in)
                held.links.insert({in.neighb, node.id});
            for (const twin::Connect& out : node.out)
                held.links.insert({node.id, out.neighb});
        }
        return show(Long{done});
    };
    core(say("fillTopo", showRequest(request)), build, [&](DataBase* db) {
        RealRequest real(held.request);
        const bool filled = fillTopo(db, &real, &held.topo) == 0;
        if (!filled) {  // what was built stays, for endTopo
            held.topo.nodeVec.top = held.topo.nodeInd.top = 0;
            held.topo.nbLinks = 0;
        }
        return show(Long{filled});
    });
    if (!done) topologies_.pop_back();
}

void Player::coreSearchHeld() {
    if (topologies_.empty()) return;
    HeldTopology& held = topologies_.back();
    if (held.session != caller_->plain.sessId) return;
    twin::Request request = held.request;
    for (double& bw : request.bw) bw = bw != 0.0 ? amount() : 0.0;
    core(
        say("bellmanKalaba", showRequest(request)),
        [&](twin::Database&) {
            const bool done = twin::bellmanKalaba(held.plain, request) &&
                              twin::updateRequest(held.plain, request);
            return say(Long{done}, done ? request.path : Ids());
        },
        [&, request](DataBase*) {
            RealRequest real(request);
            const bool done = bellmanKalaba(&held.topo, &real) == 0 &&
                              updateRequest(&held.topo, &real) == 0;
            return say(Long{done}, done ? idsOf(real.path) : Ids());
        });
}
