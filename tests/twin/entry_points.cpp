#include "twin/entry_points.h"

#include <algorithm>
#include <cmath>

#include "twin/backup.h"
#include "twin/search.h"

namespace twin {

namespace {

constexpr const char* kHere = "jni_interface.c";
constexpr const char* kAddDB = "AddDBException";
constexpr const char* kNoRoute = "NoRouteToHostException";

constexpr std::size_t kSessions = 128;
thread_local std::array<std::unique_ptr<Session>, kSessions> sessions;
thread_local Long lastSession = -1;

std::size_t usable(int nb) {
    return static_cast<std::size_t>(std::clamp(nb, 0, 8));
}

template <class Array>
bool checkArray(const Array& array, std::size_t length) {
    return (array && array->size() >= length) || fail(kHere, "Bad argument (NULL)");
}

bool readTable(const Table& table, int nbRows, int nbColumns, Matrix& to) {
    if (!checkArray(table, usable(nbRows))) return false;
    for (std::size_t i = 0; i < usable(nbRows); i++) {
        if (!checkArray(Array((*table)[i]), usable(nbColumns))) return false;
        std::copy_n((*table)[i].begin(), usable(nbColumns), to[i].begin());
    }
    return true;
}

bool checkAmount(int level, float bw) {
    if (level < 0 || level >= kLevels)
        return fail(kHere, "Bad argument (preemption level)");
    return std::isfinite(bw) || fail(kHere, "Bad argument (bandwidth)");
}

void setBandwidth(Row& bw, int oa, float amount) {
    if (oa >= 0 && static_cast<std::size_t>(oa) < usable(now.nbOA))
        bw[static_cast<std::size_t>(oa)] = static_cast<double>(amount);
}

Result refuse(const char* exception, const std::string& text) {
    fail(kHere, text);
    return {exception, {}};
}

// Runs act on the loaded session, whose configuration it may change.
template <class Act>
Result withSession(const Object& object, const char* unknown, Act act) {
    Session* here = load(object.sessId);
    if (here == nullptr) return {unknown, {}};
    const Result result = act(here->db);
    here->config = now.config;
    return result;
}

// Work that only fails or not.
template <class Act>
Result change(const Object& object, const char* otherwise, Act act) {
    return withSession(object, kAddDB, [&](Database& db) {
        return act(db) ? Result() : refuse(kAddDB, otherwise);
    });
}

Result placeLSP(const Object& object, const LspArgs& args, int type, Long primID) {
    return withSession(object, kAddDB, [&](Database& db) {
        now.config.predicateConfig.allowReroute = false;
        std::string text = std::string("Impossible to add ") +
                           (type == 0 ? "PRIMARY" : "BACKUP") +
                           " LSP (computed by another algorithm)";
        auto place = [&] {
            if (!checkAmount(args.level, args.bw) || !checkArray(args.path, 0))
                return false;
            Lsp lsp;
            lsp.id = args.id;
            lsp.precedence = args.level;
            setBandwidth(lsp.bw, args.oa, args.bw);
            lsp.path = *args.path;
            lsp.type = type;
            if (type != 0) {
                const Lsp* primary = find(db.lsps, primID);
                if (primary == nullptr) {
                    text = "Impossible to find PRIMARY LSP";
                    return false;
                }
                lsp.primID = primID;
                lsp.primPath = primary->path;
            }
            Ids preempted;
            return addLSP(db, lsp, preempted);
        };
        if (place()) return Result();
        fail(kHere, text);
        push(CRITICAL,
             format("Lsp ID: %d, Request: %f\n", args.id, static_cast<double>(args.bw)));
        return Result{kAddDB, {}};
    });
}

// The accented letters are single bytes.
void printFailedBackup(const Database& db, const Lsp& backup) {
    now.err += format(
        "Backup global non ajout\xe9 pour primaire %d, valeur de la bande passante: %f: "
        "\n",
        backup.primID, backup.bw[0]);
    for (Hop hop : hopsOf(backup.path)) {
        const LinkState& ls = db.links.at(hop).state;
        now.err += format(
            "Valeur de la capacit\xe9 du lien %d - %d: %f, "
            "Valeur de la bande passante r\xe9serv\xe9"
            "e P0: %f, PetB0: %f\n",
            hop.first, hop.second, ls.cap[0], ls.pbw[0][0], ls.rbw[0][0]);
    }
    now.err += " \n";
}

// Gives a session the next free number.
void open(std::unique_ptr<Session> fresh, Object& object) {
    do lastSession = (lastSession + 1) % static_cast<Long>(kSessions);
    while (session(lastSession) != nullptr);
    sessions[static_cast<std::size_t>(lastSession)] = std::move(fresh);
    object.sessId = lastSession;
    load(lastSession);
}

}  // namespace

Session* session(Long id) {
    const auto slot = static_cast<std::size_t>(id);
    return id >= 0 && slot < kSessions ? sessions[slot].get() : nullptr;
}

Session* load(Long id) {
    Session* here = session(id);
    if (here == nullptr) {
        fail(kHere, format("Non existing Session (%d)", id));
        return nullptr;
    }
    now.stack = here->stack;
    now.config = here->config;
    return here;
}

void openNextAs(Long id) {
    lastSession = id - 1;
}

void forgetSessions() {
    for (auto& slot : sessions) slot.reset();
    now.stack.reset();
}

Result initKavril(Object& object, const InitArgs& args) {
    now.stack = std::make_shared<Stack>();
    const auto live = kSessions - static_cast<std::size_t>(std::count(
                                      sessions.begin(), sessions.end(), nullptr));
    if (live == kSessions) return refuse("", format("Too many Sessions (%zu)", live));
    Matrix prices = {};
    if (!readTable(args.prices, args.nbOA, args.nbPL, prices)) return {};
    now.cost = 0.0;
    now.nbOA = args.nbOA;
    now.nbPL = args.nbPL;
    auto fresh = std::make_unique<Session>();
    KAVRILConfig& config = fresh->config;
    config.predicateConfig = {args.allowReroute, args.capacityClause, args.colorClause};
    PrimaryComputationConfig& weights = config.primaryComputationConfig;
    weights.Fortz = static_cast<double>(args.fortz);
    weights.loadBal[0] = static_cast<double>(args.loadbal);
    weights.load[0] = static_cast<double>(args.load);
    weights.sqLoad[0] = static_cast<double>(args.sqLoad);
    weights.relLoad[0] = static_cast<double>(args.relativeLoad);
    weights.sqRelLoad[0] = static_cast<double>(args.sqRelativeLoad);
    weights.delay[0] = static_cast<double>(args.delay);
    for (std::size_t oa = 0; oa < kClasses; oa++)
        std::copy(prices[oa].begin(), prices[oa].end(),
                  config.reroutingConfig.scoreCoef[oa]);
    fresh->stack = now.stack;
    open(std::move(fresh), object);
    return {};
}

void copySession(const Object& from, Object& to) {
    auto copy = std::make_unique<Session>(*load(from.sessId));
    for (auto& [hop, link] : copy->db.links)
        for (const Lsp*& lsp : link.lsps) lsp = &copy->db.lsps.at(lsp->id);
    copy->stack = std::make_shared<Stack>(*copy->stack);
    open(std::move(copy), to);
}

Result killKavril(Object& object) {
    const Session* here = load(object.sessId);
    if (here == nullptr) {
        if (lastSession == -1) now.err += "ERROR, call to killKavril before initKavril\n";
        return {};
    }
    printStack(*here->stack);
    now.stack.reset();
    sessions[static_cast<std::size_t>(object.sessId)].reset();
    return {};
}

Result printDB(Object& object) {
    const Session* here = load(object.sessId);
    if (here != nullptr) print(here->db);
    return {};
}

Result addNodeEntry(Object& object, Long id) {
    return change(object, "Impossible to init a Node",
                  [&](Database& db) { return addNode(db, id); });
}

Result addLinkEntry(Object& object, Long id, Hop hop, const Array& cap,
                    const Table& rbw) {
    return change(object, "Impossible to add Link", [&](Database& db) {
        LinkState state;
        if (!checkArray(cap, usable(now.nbOA))) return false;
        std::copy_n(cap->begin(), usable(now.nbOA), state.cap.begin());
        return readTable(rbw, now.nbOA, now.nbPL, state.rbw) &&
               addLink(db, id, hop, state);
    });
}

Result removeLinkEntry(Object& object, Hop hop) {
    return change(object, "Impossible to remove Link",
                  [&](Database& db) { return removeLink(db, hop); });
}

Result removeNodeEntry(Object& object, Long id) {
    return change(object, "Impossible to remove Node",
                  [&](Database& db) { return removeNode(db, id); });
}

Result addLSPEntry(Object& object, const LspArgs& args) {
    return placeLSP(object, args, 0, 0);
}

Result addBackupLSPEntry(Object& object, const LspArgs& args, Long primID, bool local) {
    return placeLSP(object, args, local ? 1 : 2, primID);
}

Result removeLSPEntry(Object& object, Long id) {
    return change(object, "Impossible to remove LSP",
                  [&](Database& db) { return removeLSP(db, id); });
}

Result computePathEntry(Object& object, const PathArgs& args) {
    return withSession(object, kNoRoute, [&](Database& db) -> Result {
        now.config.predicateConfig.allowReroute = args.preempt;
        Request req;
        req.id = args.id;
        req.precedence = args.level;
        setBandwidth(req.bw, args.oa, args.bw);
        req.path = {args.src, -1, args.dst};
        if (!checkAmount(args.level, args.bw) || !computePrimaryPath(db, req))
            return refuse(kNoRoute, "Impossible to compute Path");
        Ids preempted;
        if (args.add && !addLSP(db, req, preempted))
            return refuse(kAddDB, "Impossible to add PRIMARY LSP");
        if (!args.add && args.preempt && !getPreemptList(db, req, preempted)) {
            fail(kHere, "Impossible to obtain preemptList");
            printStack(*now.stack);
            return {"RoutingException", {}};
        }
        for (Long id : preempted)
            if (!removeLSP(db, id)) return refuse(kAddDB, "Impossible to remove LSP");
        if (!preempted.empty()) object.lsps = preempted;
        return {"", {{req.path}}};
    });
}

Result computeBackupPathEntry(Object& object, const BackupArgs& args) {
    return withSession(object, kNoRoute, [&](Database& db) -> Result {
        now.config.predicateConfig.allowReroute = args.preempt;
        const bool global = args.type == 1;
        std::vector<Request> requests(1);
        if (!checkArray(args.ids, 0) ||
            !computeBackup(db, requests, args.primID, global ? 2 : 1))
            return refuse(kNoRoute, format("Impossible to compute %s backup paths",
                                           global ? "global" : "local"));
        if ((args.add || args.preempt) && !checkArray(args.ids, requests.size()))
            return refuse(kAddDB, "Impossible to add BACKUP LSP");
        Lsp backup;
        backup.primPath = db.lsps.at(args.primID).path;
        if (args.type == 0 && requests.size() + 1 != backup.primPath.size())
            now.err += "Pas assez de lsps de backups locaux pour la taille du lsp!\n";
        backup.type = global ? 2 : 1;
        backup.primID = args.primID;
        std::vector<Ids> paths;
        for (const Request& req : requests) paths.push_back(req.path);
        for (std::size_t i = 0; i < requests.size(); i++) {
            backup.id = i < args.ids->size() ? (*args.ids)[i] : 0;
            std::copy_n(requests[i].bw.begin(), usable(now.nbOA), backup.bw.begin());
            backup.path = paths[i];
            Ids preempted;
            if (args.add && !addLSP(db, backup, preempted)) {
                fail(kHere, "Impossible to add BACKUP LSP");
                printFailedBackup(db, backup);
                return {kAddDB, {}};
            }
            if (!args.add && args.preempt && !getPreemptList(db, backup, preempted)) {
                fail(kHere, "Impossible to obtain preemptList");
                now.err += "Can't obtain preemptList \n";
            }
        }
        return {"", paths};
    });
}

}  // namespace twin
