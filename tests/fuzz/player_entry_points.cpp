// The calls of entry points.

#include <algorithm>
#include <cmath>

#include "database/database.h"
#include "fuzz/player.h"
#include "session.h"
#include "support/entry_points.h"

namespace {

constexpr const char* kAddDb = "AddDBException";
constexpr const char* kNoRoute = "NoRouteToHostException";

bool isAccepted(int level, double bw) {
    return level >= 0 && level < kLevels && std::isfinite(static_cast<jfloat>(bw));
}

}  // namespace

template <class Call>
Player::Outcome Player::call(Call call) {
    calls_++;
    const Long before = now_->live ? stack().top : 0;
    call(env(), now_->object);
    require(vm_.misuse().empty(), "misuse of JNI");
    require(vm_.pinned() == 0, "elements of an array were not handed back");
    return {vm_.takeException(), before};
}

void Player::init() {
    const int kind = bytes_.byte();
    const jint nbOA = kind % 64 == 63 ? 9 : 1 + kind % 3;
    const jint nbPL = kind % 5 == 0 ? 2 : 8;
    const jboolean clause = kind % 16 != 5 ? JNI_TRUE : JNI_FALSE;
    const int used = bytes_.byte();
    jfloat w[7] = {};
    for (int i = 0; i < 7; i++)
        if ((used >> i & 1) != 0) w[i] = 0.5F * static_cast<jfloat>(bytes_.below(4));
    jobjectArray prices = vm_.rows(std::vector(8, std::vector<jfloat>(8, 1.0F)));
    call([&](JNIEnv* env, jobject object) {
        initKavril(env, object, nbOA, nbPL, JNI_TRUE, JNI_FALSE, clause, w[0], w[1], w[2],
                   w[3], w[4], w[5], w[6], prices);
    });
    now_->live = true;
    model() = {};
    model().capacityClause = clause != JNI_FALSE;
    require(sessions[FakeVm::sessId(now_->object)] != nullptr, "no session");
}

void Player::kill() {
    call([](JNIEnv* env, jobject object) { killKavril(env, object); });
    require(sessions[FakeVm::sessId(now_->object)] == nullptr, "session is still there");
    now_->live = false;
}

void Player::print() {
    call([](JNIEnv* env, jobject object) { printKavrilDB(env, object); });
}

void Player::addNode(Long id) {
    const Outcome outcome =
        call([=](JNIEnv* env, jobject object) { addNodeEntry(env, object, id); });
    const bool free = !model().nodes.contains(id);
    compare(outcome, fitsTable(id) && free ? Verdict::YES : Verdict::NO,
            {kAddDb, "Impossible to init a Node"});
    if (outcome.exception.empty()) model().addNode(id);
}

void Player::addLink(Long id, Hop hop) {
    ModelLink link;
    link.id = id;
    link.known = coarse_;
    std::vector<jfloat> capacity(kClasses);
    std::vector<std::vector<jfloat>> rbw(kClasses, std::vector<jfloat>(kLevels));
    const auto classes = static_cast<std::size_t>(std::clamp(NBOA, 0, kClasses));
    const auto levels = static_cast<std::size_t>(std::clamp(NBPL, 0, kLevels));
    const bool reserved = bytes_.oneIn(10);
    for (std::size_t oa = 0; oa < classes; oa++) {
        capacity[oa] = static_cast<jfloat>(4.0 * amount());
        link.capacity[oa] = static_cast<double>(capacity[oa]);
        for (std::size_t p = 0; reserved && p < levels; p++) {
            rbw[oa][p] = static_cast<jfloat>(0.25 * bytes_.below(8));
            link.rbw[oa][p] = static_cast<double>(rbw[oa][p]);
        }
    }
    jfloatArray caps = vm_.floats(capacity);
    jobjectArray rows = vm_.rows(rbw);
    const Outcome outcome = call([&](JNIEnv* env, jobject object) {
        addLinkEntry(env, object, id, 0, hop.first, hop.second, caps, rows, nullptr,
                     nullptr, nullptr);
    });
    compare(outcome,
            fitsTable(id) && model().canAddLink(hop, id) ? Verdict::YES : Verdict::NO,
            {kAddDb, "Impossible to add Link"});
    if (outcome.exception.empty()) model().addLink(hop, link);
}

// A ring and some links across it.
void Player::buildNetwork() {
    const Long nodes = 4 + bytes_.below(3);
    for (Long id = 0; id < nodes; id++)
        if (!model().nodes.contains(id)) addNode(id);
    Long id = 0;
    for (Long src = 0; src < nodes; src++)
        for (Long dst = 0; dst < nodes; dst++)
            if (dst == (src + 1) % nodes || bytes_.oneIn(3)) addLink(id++, {src, dst});
}

void Player::removeLink() {
    const bool some = !model().links.empty() && !bytes_.oneIn(8);
    const Hop hop = some ? bytes_.anyOf(model().links).first : Hop{node(), node()};
    const Outcome outcome = call([=](JNIEnv* env, jobject object) {
        removeLinkEntry(env, object, hop.first, hop.second);
    });
    compare(outcome, model().links.contains(hop) ? Verdict::YES : Verdict::NO,
            {kAddDb, "Impossible to remove Link"});
    if (outcome.exception.empty()) model().removeLink(hop);
}

void Player::removeNode() {
    const Long id = node();
    const Outcome outcome =
        call([=](JNIEnv* env, jobject object) { removeNodeEntry(env, object, id); });
    compare(outcome, model().nodes.contains(id) ? Verdict::YES : Verdict::NO,
            {kAddDb, "Impossible to remove Node"});
    if (outcome.exception.empty()) model().removeNode(id);
}

void Player::addPrimary() {
    ModelLsp lsp = this->lsp(path());
    const Long oa = bytes_.below(4);
    const double bw = static_cast<double>(static_cast<jfloat>(amount()));
    if (bytes_.oneIn(60)) lsp.level = 8;
    setBandwidth(&lsp, oa, bw);
    jintArray nodes = vm_.ints(lsp.path);
    model().allowReroute = false;
    Ids victims;
    const Verdict verdict =
        isAccepted(lsp.level, bw) ? model().canAddLsp(lsp, &victims) : Verdict::NO;
    const Outcome outcome = call([&](JNIEnv* env, jobject object) {
        addLSPEntry(env, object, lsp.id, nodes, lsp.level, oa, static_cast<jfloat>(bw));
    });
    compare(outcome, verdict, {kAddDb, "Lsp ID: "});
    settle(lsp, outcome.exception.empty());
}

// From a node of the primary, mostly.
void Player::addBackup() {
    ModelLsp lsp = this->lsp(path());
    lsp.primID = anyLsp();
    lsp.type = bytes_.oneIn(2) ? DB_LOCAL_BACKUP_LSP : DB_GLOBAL_BACKUP_LSP;
    const auto primary = model().lsps.find(lsp.primID);
    const bool known = primary != model().lsps.end();
    if (known) lsp.primPath = primary->second.path;
    if (!lsp.primPath.empty() && !bytes_.oneIn(8)) {
        const auto at = std::find_first_of(lsp.path.begin(), lsp.path.end(),
                                           lsp.primPath.begin(), lsp.primPath.end());
        lsp.path.erase(lsp.path.begin(), at);
    }
    const Long oa = bytes_.below(4);
    const double bw = static_cast<double>(static_cast<jfloat>(amount()));
    setBandwidth(&lsp, oa, bw);
    jintArray nodes = vm_.ints(lsp.path);
    model().allowReroute = false;
    Ids victims;
    const Verdict verdict = known && isAccepted(lsp.level, bw)
                                ? model().canAddLsp(lsp, &victims)
                                : Verdict::NO;
    const Outcome outcome = call([&](JNIEnv* env, jobject object) {
        addBackupLSPEntry(env, object, lsp.id, lsp.primID, nodes, lsp.level, oa,
                          static_cast<jfloat>(bw),
                          lsp.type == DB_LOCAL_BACKUP_LSP ? JNI_TRUE : JNI_FALSE);
    });
    compare(outcome, verdict, {kAddDb, "Lsp ID: "});
    settle(lsp, outcome.exception.empty());
}

void Player::removeLsp() {
    const Long id = anyLsp();
    const Verdict verdict = model().canRemoveLsp(id);
    const Outcome outcome =
        call([=](JNIEnv* env, jobject object) { removeLSPEntry(env, object, id); });
    compare(outcome, verdict, {kAddDb, "Impossible to remove LSP"});
    settleRemovals();
}

void Player::computePath() {
    ModelLsp lsp = this->lsp({});
    const Long src = node();
    const Long dst = node();
    const Long oa = bytes_.below(4);
    const double bw = static_cast<double>(static_cast<jfloat>(amount()));
    const bool add = !bytes_.oneIn(3);
    const bool preempt = bytes_.oneIn(2);
    setBandwidth(&lsp, oa, bw);
    model().allowReroute = preempt;
    const Verdict reachable = isAccepted(lsp.level, bw)
                                  ? isReachable(lsp, src, dst, [](Hop) { return true; })
                                  : Verdict::NO;
    jintArray result = nullptr;
    const Outcome outcome = call([&](JNIEnv* env, jobject object) {
        result =
            computePathEntry(env, object, lsp.id, src, dst, 0, 0, 0, oa, lsp.level,
                             static_cast<jfloat>(bw), nullptr, add ? JNI_TRUE : JNI_FALSE,
                             preempt ? JNI_TRUE : JNI_FALSE);
    });
    if (outcome.exception == kNoRoute || reachable == Verdict::NO)
        return compare(outcome, reachable, {kNoRoute, "Impossible to compute Path"});
    if (result == nullptr) {
        // The path is not told. What can be, is: the LSP that was stored names it.
        require(add || preempt, "no path");
        const DBLabelSwitchedPath* stored = DBgetLSP(db(), lsp.id);
        if (stored != nullptr && !model().lsps.contains(lsp.id)) {
            lsp.path = {stored->path.cont, stored->path.cont + stored->path.top};
            settle(lsp, true);
        }
        settleRemovals();
        return;
    }
    lsp.path = FakeVm::values(result);
    checkPath(lsp, lsp.path, src, dst);
    Ids victims;
    Verdict verdict = Verdict::YES;
    if (add) verdict = model().canAddLsp(lsp, &victims);
    if (!add && preempt) verdict = model().canListVictims(lsp, &victims);
    require(verdict != Verdict::NO, "an LSP that has to be refused");
    settle(lsp, true);
    if (verdict == Verdict::UNKNOWN) return settleRemovals();
    if (!victims.empty())
        require(FakeVm::lsps(now_->object) == victims, "LSPs that give way");
    require(removeVictims(victims) != Verdict::NO, "victim cannot be removed");
    settleRemovals();
}

void Player::computeBackups() {
    const Long id = anyLsp();
    const bool global = bytes_.oneIn(3);
    const bool add = !bytes_.oneIn(3);
    Ids ids;
    for (Long left = bytes_.below(7); left > 0; left--) ids.push_back(lspId());
    jintArray array = bytes_.oneIn(60) ? nullptr : vm_.ints(ids);
    const bool preempt = bytes_.oneIn(5);
    model().allowReroute = preempt;
    jobjectArray result = nullptr;
    const Outcome outcome = call([&](JNIEnv* env, jobject object) {
        result = computeBackupPathEntry(
            env, object, id, array, global ? 1 : bytes_.below(2) * 2,
            add ? JNI_TRUE : JNI_FALSE, preempt ? JNI_TRUE : JNI_FALSE);
    });
    const auto primary = model().lsps.find(id);
    const bool possible = array != nullptr && primary != model().lsps.end();
    if (outcome.exception == kNoRoute || !possible)
        return compare(outcome, possible ? Verdict::UNKNOWN : Verdict::NO,
                       {kNoRoute, global ? "Impossible to compute global backup paths"
                                         : "Impossible to compute local backup paths"});
    compare(outcome, Verdict::UNKNOWN, {kAddDb, "Impossible to add BACKUP LSP"});
    ModelLsp backup;
    backup.type = global ? DB_GLOBAL_BACKUP_LSP : DB_LOCAL_BACKUP_LSP;
    backup.primID = id;
    backup.primPath = primary->second.path;
    for (Long oa = 0; oa < NBOA && oa < kClasses; oa++)
        backup.bw[static_cast<std::size_t>(oa)] =
            primary->second.bw[static_cast<std::size_t>(oa)];
    if (result == nullptr) {
        for (Long placed : ids) {
            const DBLabelSwitchedPath* stored = DBgetLSP(db(), placed);
            if (stored == nullptr || model().lsps.contains(placed)) continue;
            backup.id = placed;
            backup.path = {stored->path.cont, stored->path.cont + stored->path.top};
            settle(backup, true);
        }
        return;
    }
    const std::vector<Ids> paths = FakeVm::valuesOfRows(result);
    checkBackups(primary->second, paths, global);
    for (std::size_t i = 0; add && i < paths.size(); i++) {
        backup.id = ids[i];
        backup.path = paths[i];
        Ids victims;
        require(model().canAddLsp(backup, &victims) != Verdict::NO,
                "a backup that has to be refused");
        settle(backup, true);
    }
}
