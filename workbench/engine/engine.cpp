#include "engine/engine.h"
#include "admission/lsp_setup.h"

#include <algorithm>
#include <deque>
#include <set>
#include <stdexcept>

#include "common/print.h"
#include "common/setup.h"
#include "computation/backup/backup.h"
#include "computation/computation.h"
#include "computation/primary/primaryPath.h"
#include "database/database.h"
#include "engine/convert.h"
#include "engine/detour.h"
#include "error/error.h"

namespace workbench {

namespace {

thread_local bool engineExists = false;

KAVRILConfig libraryConfig(const Configuration& configuration) {
    KAVRILConfig config = {};
    const auto classes = static_cast<int>(configuration.classes.size());
    config.primaryComputationConfig = libraryWeights(configuration.weights, classes);
    for (int oa = 0; oa < classes; oa++)
        std::fill_n(config.reroutingConfig.scoreCoef[oa], kLevels, 1.0);
    config.predicateConfig = {
        .allowReroute = false, .capacityClause = true, .colorClause = true};
    return config;
}

std::string joined(const std::vector<std::string>& texts) {
    std::string all;
    for (const std::string& text : texts) all += (all.empty() ? "" : "; ") + text;
    return all.empty() ? "the library gave no reason" : all;
}

DBLSPType libraryType(LspKind kind) {
    switch (kind) {
        case LspKind::LOCAL_BACKUP:
            return DB_LOCAL_BACKUP_LSP;
        case LspKind::GLOBAL_BACKUP:
            return DB_GLOBAL_BACKUP_LSP;
        case LspKind::PRIMARY:
            break;
    }
    return DB_PRIMARY_LSP;
}

bool listIsLive(const LSPRequestList* list) {
    return list->cont != nullptr;
}
using ScopedRequestList = Scoped<LSPRequestList, lspRequestListEnd, listIsLive>;

}  // namespace

Engine::Library::Library(const Configuration& configuration) {
    if (engineExists) throw std::logic_error("a thread holds one network at a time");
    pool_ = memoryPoolNew();
    if (pool_ == nullptr) throw std::bad_alloc();
    before_ = useMemoryPool(pool_);
    errorInit();
    centralDB = DBnew(0);
    if (centralDB == nullptr) {
        errorDestroy();
        useMemoryPool(before_);
        memoryPoolDestroy(pool_);
        throw std::bad_alloc();
    }
    kavrilConfig = libraryConfig(configuration);
    NBOA = static_cast<int>(configuration.classes.size());
    NBPL = kLevels;
    COST = 0.0;
    engineExists = true;
}

Engine::Library::~Library() {
    DBdestroy(centralDB);
    centralDB = nullptr;
    errorDestroy();
    useMemoryPool(before_);
    memoryPoolDestroy(pool_);
    engineExists = false;
}

Engine::Engine(const Plan& plan)
    : plan_(plan),
      network_(plan.network),
      configuration_(plan.configuration),
      survival_(plan),
      library_(configuration_) {
    addNetwork();
}

void Engine::addNetwork() {
    const int nodes = static_cast<int>(network_.nodes.size());
    for (int node = 0; node < nodes; node++) DBaddNode(centralDB, node);
    for (std::size_t i = 0; i < network_.links.size(); i++) {
        const Link& link = network_.links[i];
        const int id = static_cast<int>(i);
        ScopedLinkState state;
        DBlinkStateInit(&state);
        state.color = link.colour;
        for (int oa = 0; oa < NBOA; oa++) state.cap[oa] = capacity(id, oa);
        if (DBaddLink(centralDB, id, link.src, link.dst, &state) < 0)
            throw std::runtime_error("link " + linkName(network_, id) + ": " +
                                     joined(takeErrors()));
        linkOf_[static_cast<long long>(link.src) * nodes + link.dst] = id;
    }
}

double Engine::capacity(int link, int trafficClass) const {
    return capacityOf(plan_, link, trafficClass);
}

int Engine::linkBetween(int src, int dst) const {
    const auto at = linkOf_.find(static_cast<long long>(src) *
                                     static_cast<long long>(network_.nodes.size()) +
                                 dst);
    return at == linkOf_.end() ? -1 : at->second;
}

std::vector<std::string> Engine::takeErrors() {
    std::vector<std::string> texts;
    while (errorManager.top > 0) {
        std::string text = errorManager.list[--errorManager.top].message;
        texts.push_back(text.substr(0, text.rfind(" in ")));
    }
    return texts;
}

std::vector<int> Engine::coloursWith(int bits) const {
    std::set<int> colours;
    for (const Link& link : network_.links)
        if ((link.colour & bits) != 0) colours.insert(link.colour);
    return {colours.begin(), colours.end()};
}

void Engine::allowPreemption(bool allow) {
    kavrilConfig.predicateConfig.allowReroute = allow;
}

void Engine::fill(LSPRequest* libraryRequest, const Request& request) const {
    libraryRequest->precedence = request.level;
    libraryRequest->bw[request.trafficClass] = request.bandwidth;
    libraryRequest->rerouteInfo.id = request.replaces;
    libraryRequest->rerouteInfo.src = -1;
    libraryRequest->rerouteInfo.dst = -1;
    appendTo(&libraryRequest->forbidLinks, request.avoidColours);
    appendTo(&libraryRequest->path, {request.src, -1, request.dst});
}

Path Engine::findPath(const Request& request, AvoidedLink avoided) {
    ScopedRequest asked;
    lspRequestInit(&asked);
    fill(&asked, request);
    if (avoided.src >= 0) {
        // The library looks at the link to avoid only along with an LSP that is rerouted;
        // an id that is not in use makes it that and nothing more.
        if (asked.rerouteInfo.id < 0) asked.rerouteInfo.id = nextId_;
        asked.rerouteInfo.src = avoided.src;
        asked.rerouteInfo.dst = avoided.dst;
    }
    allowPreemption(request.preempt);
    COST = 0.0;
    if (computePrimaryPath(centralDB, &asked) < 0) return {};
    const Path path = {.found = true, .nodes = valuesOf(asked.path), .score = COST};
    const std::string broken = brokenLimit(request, path.nodes);
    return broken.empty() ? path : pathWithinLimits(request, broken);
}

// Adds one LSP to the library and to the records; returns why not.
std::string Engine::put(const PlanLsp& lsp, std::vector<int>* preempted) {
    ScopedLSP added;
    DBlspInit(&added);
    added.id = lsp.id;
    added.precedence = lsp.level;
    added.bw[lsp.trafficClass] = lsp.bandwidth;
    added.type = libraryType(lsp.kind);
    added.primID = lsp.primary;
    appendTo(&added.path, lsp.path);
    if (lsp.primary >= 0) appendTo(&added.primPath, lsps_.at(lsp.primary).path);

    ScopedLongList giveWay;
    longVecInit(&giveWay, -1);
    if (DBaddLSP(centralDB, &added, &giveWay) < 0) {
        const std::string reason = joined(takeErrors());
        if (DBgetLSP(centralDB, lsp.id) != nullptr) DBremoveLSP(centralDB, lsp.id);
        return reason;
    }
    if (preempted != nullptr) *preempted = valuesOf(giveWay);
    lsps_[lsp.id] = lsp;
    if (lsp.primary >= 0) backups_.emplace(lsp.primary, lsp.id);
    nextId_ = std::max(nextId_, lsp.id + 1);
    return {};
}

void Engine::noteSurvival(int primary) {
    std::vector<PlanLsp> backups;
    for (int id : backupsOf(primary)) backups.push_back(lsps_.at(id));
    survival_.set(lsps_.at(primary), backups);
}

// What an LSP overloads, empty if nothing.
std::string Engine::overload(int primary) const {
    const auto overload = survival_.overloadBy(primary);
    if (!overload) return {};
    const std::string link = linkName(network_, overload->link);
    return overload->failure.empty()
               ? link + " has no room"
               : link + " has no room when " + overload->failure + " fails";
}

std::vector<std::string> Engine::exposed(int primary) const {
    std::vector<std::string> names;
    for (int failure : survival_.exposures(primary))
        names.push_back(survival_.failures()[failure].name);
    return names;
}

void Engine::drop(int lsp) {
    if (DBremoveLSP(centralDB, lsp) < 0)
        throw std::runtime_error("LSP " + std::to_string(lsp) +
                                 " cannot be removed: " + joined(takeErrors()));
    const int primary = lsps_.at(lsp).primary;
    const auto [first, last] = backups_.equal_range(primary);
    for (auto at = first; at != last; ++at)
        if (at->second == lsp) {
            backups_.erase(at);
            break;
        }
    lsps_.erase(lsp);
}

std::vector<int> Engine::backupsOf(int primary) const {
    std::vector<int> ids;
    const auto [first, last] = backups_.equal_range(primary);
    for (auto at = first; at != last; ++at) ids.push_back(at->second);
    return ids;
}

void Engine::remove(int lsp) {
    for (int backup : backupsOf(lsp)) drop(backup);
    drop(lsp);
    survival_.remove(lsp);
}

void Engine::unprotect(int primary) {
    for (int backup : backupsOf(primary)) drop(backup);
    noteSurvival(primary);
}

std::vector<PlanLsp> Engine::withBackups(int primary) const {
    std::vector<PlanLsp> all = {lsps_.at(primary)};
    for (int id : backupsOf(primary)) all.push_back(lsps_.at(id));
    return all;
}

void Engine::load(const std::vector<PlanLsp>& lsps) {
    kavrilConfig.predicateConfig.capacityClause = false;
    allowPreemption(false);
    for (const PlanLsp& lsp : lsps)
        if (const std::string reason = put(lsp, nullptr); !reason.empty())
            throw std::runtime_error("LSP " + std::to_string(lsp.id) + ": " + reason);
    kavrilConfig.predicateConfig.capacityClause = true;
    for (const PlanLsp& lsp : lsps)
        if (lsp.kind == LspKind::PRIMARY) noteSurvival(lsp.id);
}

// Where a failure leaves no room on the library's path, another is taken that keeps room
// in all failures.
Answer Engine::request(const Request& request) {
    Path path = {.found = true, .nodes = request.route, .score = 0.0};
    if (request.route.empty()) {
        path = findPath(request);
        takeErrors();
    }
    if (!path.found) {
        Answer answer;
        answer.reason = path.reason.empty() ? refusal(request) : path.reason;
        return answer;
    }
    Answer answer = requestOn(request, path);
    if (answer.placed || !request.route.empty() || !request.avoidColours.empty() ||
        request.maxHops > 0 || request.maxDelay > 0.0 || survival_.failures().empty())
        return answer;
    const Wish wish = {.src = request.src,
                       .goals = {request.dst},
                       .trafficClass = request.trafficClass,
                       .bandwidth = request.bandwidth,
                       .forbidden = std::vector<char>(network_.links.size(), 0),
                       .failures = {}};
    path = {.found = true,
            .nodes = findWay(network_, survival_, wish, true),
            .score = path.score};
    return path.nodes.empty() ? answer : requestOn(request, path);
}

Answer Engine::requestOn(const Request& request, const Path& path) {
    Answer answer;
    PlanLsp lsp;
    lsp.id = request.id >= 0 ? request.id : nextId_;
    lsp.demand = request.demand;
    lsp.path = path.nodes;
    lsp.trafficClass = request.trafficClass;
    lsp.level = request.level;
    lsp.bandwidth = request.bandwidth;
    allowPreemption(request.preempt);
    std::vector<int> preempted;
    answer.reason = put(lsp, &preempted);
    if (!answer.reason.empty()) return answer;
    std::vector<PlanLsp> removed;
    for (int id : preempted) {
        if (!lsps_.contains(id)) continue;  // a backup that went with its primary
        const PlanLsp one = lsps_.at(id);
        const int primary = one.kind == LspKind::PRIMARY ? id : one.primary;
        for (PlanLsp& gone : withBackups(primary)) removed.push_back(std::move(gone));
        remove(primary);
    }
    noteSurvival(lsp.id);
    answer.reason = overload(lsp.id);
    if (!answer.reason.empty()) {
        remove(lsp.id);
        load(removed);
        return answer;
    }
    answer.placed = true;
    answer.lsp = lsp.id;
    answer.path = path.nodes;
    answer.score = path.score;
    answer.removed = std::move(removed);
    return answer;
}

bool Engine::reachable(int src, int dst, int withoutLink) const {
    std::vector<char> seen(network_.nodes.size(), 0);
    std::deque<int> todo = {src};
    seen[src] = 1;
    while (!todo.empty()) {
        const int node = todo.front();
        todo.pop_front();
        if (node == dst) return true;
        const LongList* next = DBgetNodeOutNeighb(centralDB, node);
        for (Long i = 0; i < next->top; i++) {
            const int neighbour = next->cont[i];
            if (seen[neighbour] || linkBetween(node, neighbour) == withoutLink) continue;
            seen[neighbour] = 1;
            todo.push_back(neighbour);
        }
    }
    return false;
}

std::string Engine::refusal(const Request& request) const {
    return reachable(request.src, request.dst, -1)
               ? "no path has room"
               : "no links lead from one end to the other";
}

// The search starts at the last link of the primary and ends with the first failure, so
// the last request without a path is the one that failed.
std::string Engine::unprotectable(const PlanLsp& primary,
                                  const LSPRequestList& found) const {
    if (primary.path.size() < 2) return "its ends are one node";
    if (found.cont[0].type == DB_GLOBAL_BACKUP_LSP)
        return "no other path from end to end, or none with room";
    Long hop = found.size - 1;
    while (hop > 0 && found.cont[hop].path.top > 0) hop--;
    const int from = primary.path[hop];
    const int link = linkBetween(from, primary.path[hop + 1]);
    for (std::size_t i = hop + 1; i < primary.path.size(); i++)
        if (reachable(from, primary.path[i], link))
            return "no way around " + linkName(network_, link) + " has room";
    return "there is no way around " + linkName(network_, link);
}

// A backup restores the links that it is there for, and those nodes between them that it
// stays clear of.
PlanLsp Engine::backupOf(const PlanLsp& primary, bool local, int hop,
                         const std::vector<int>& path) const {
    PlanLsp backup = primary;
    backup.id = nextId_;
    backup.kind = local ? LspKind::LOCAL_BACKUP : LspKind::GLOBAL_BACKUP;
    backup.primary = primary.id;
    backup.path = path;
    backup.level = std::min(primary.level + 1, kPlanLevels - 1);
    const int first = local ? hop : 0;
    const int end = local ? hop + 1 : static_cast<int>(primary.path.size()) - 1;
    for (int at = first; at < end; at++)
        backup.protectedLinks.push_back(
            linkBetween(primary.path[at], primary.path[at + 1]));
    for (int at = first + 1; at <= end && at + 1 < std::ssize(primary.path); at++)
        if (std::ranges::count(backup.path, primary.path[at]) == 0)
            backup.protectedNodes.push_back(primary.path[at]);
    return backup;
}

std::string Engine::protectByLibrary(int primary, Protection protection) {
    takeErrors();
    allowPreemption(false);
    const bool local = protection == Protection::LOCAL;
    ScopedRequestList found;
    lspRequestListInit(&found, 1);
    {
        const Silence silence;
        if (computeBackup(centralDB, &found, primary,
                          local ? LOCAL_BACKUP : GLOBAL_BACKUP) < 0) {
            takeErrors();
            return unprotectable(lsps_.at(primary), found);
        }
    }
    takeErrors();
    for (Long i = 0; i < found.size; i++) {
        const std::string reason = put(
            backupOf(lsps_.at(primary), local, i, valuesOf(found.cont[i].path)), nullptr);
        if (reason.empty()) continue;
        unprotect(primary);
        return "a link has no room for a backup: " + reason;
    }
    noteSurvival(primary);
    return {};
}

// A way that the ledger of failures finds room on may be refused by the library, which is
// more cautious about nodes. Then the next way does without the fullest of its links.
std::string Engine::putDetour(int primary, Protection protection, int hop,
                              DetourWish wish) {
    constexpr int kTries = 6;
    const PlanLsp lsp = lsps_.at(primary);
    for (int i = 0; i < kTries; i++) {
        const auto path =
            backupPath(network_, survival_, lsp, hop, wish.unwanted, wish.byDelay);
        if (path.empty()) return "no way that survives has room";
        const PlanLsp backup = backupOf(lsp, protection == Protection::LOCAL, hop, path);
        if (put(backup, nullptr).empty()) {
            noteSurvival(primary);
            if (!survival_.overloadBy(primary)) return {};
            drop(backup.id);
            noteSurvival(primary);
        }
        wish.unwanted.push_back(
            std::ranges::min(survival_.linksOf(path), {}, [&](int link) {
                return survival_.room(link, lsp.trafficClass) /
                       std::max(1e-300, network_.links[link].capacity);
            }));
    }
    return "no way that survives has room";
}

std::string Engine::protectByDetours(int primary, Protection protection,
                                     const DetourWish& wish) {
    const int hops = static_cast<int>(lsps_.at(primary).path.size()) - 1;
    const bool local = protection == Protection::LOCAL;
    for (int hop = local ? hops - 1 : -1; hop >= (local ? 0 : -1); hop--) {
        const std::string reason = putDetour(primary, protection, hop, wish);
        if (reason.empty()) continue;
        unprotect(primary);
        return reason;
    }
    takeErrors();
    return {};
}

std::vector<PlanLsp> Engine::takeBackups(int primary) {
    std::vector<PlanLsp> backups = withBackups(primary);
    backups.erase(backups.begin());
    unprotect(primary);
    return backups;
}

std::string Engine::protectAgainstAll(int primary, Protection protection) {
    if (const std::string reason = protectByLibrary(primary, protection); !reason.empty())
        return reason;
    const std::string tooMuch = overload(primary);
    const std::vector<int> exposures = survival_.exposures(primary);
    if (tooMuch.empty() &&
        (exposures.empty() || !couldCover(network_, survival_, lsps_.at(primary),
                                          protection == Protection::LOCAL, exposures)))
        return {};
    const std::vector<PlanLsp> chosen = takeBackups(primary);
    const bool found = protectByDetours(primary, protection, {}).empty();
    if (found &&
        (!tooMuch.empty() || survival_.exposures(primary).size() < exposures.size()))
        return {};
    if (found) unprotect(primary);
    if (!tooMuch.empty()) return tooMuch;
    load(chosen);
    noteSurvival(primary);
    return {};
}

void Engine::keepLimits(int primary, Protection protection, const PathLimits& limits) {
    const std::size_t broken = beyond(primary, limits).size();
    if (broken == 0) return;
    const std::size_t exposures = survival_.exposures(primary).size();
    DetourWish wish = {.unwanted = {}, .byDelay = limits.maxDelay > 0.0};
    for (const Link& link : network_.links)
        if ((link.colour & limits.avoid) != 0) wish.unwanted.push_back(link.id);
    const std::vector<PlanLsp> chosen = takeBackups(primary);
    const bool found = protectByDetours(primary, protection, wish).empty();
    if (found && survival_.exposures(primary).size() <= exposures &&
        beyond(primary, limits).size() < broken)
        return;
    if (found) unprotect(primary);
    load(chosen);
    noteSurvival(primary);
}

std::string Engine::protect(int primary, Protection protection,
                            const PathLimits& limits) {
    if (protection == Protection::NONE) return {};
    const std::string reason = protectAgainstAll(primary, protection);
    if (reason.empty() && limits.any()) keepLimits(primary, protection, limits);
    return reason;
}

}  // namespace workbench
