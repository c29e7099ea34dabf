#include "twin/state.h"

#include <algorithm>

namespace twin {

namespace {

constexpr const char* kHere = "database/database.c";
constexpr const char* kPredicate = "predicate/predicate.c";

using Levels = std::array<std::vector<double>, kLevels>;

double at(const std::vector<double>& vec, Long f) {
    const auto i = static_cast<std::size_t>(f);
    return i < vec.size() ? vec[i] : 0.0;
}

bool isEmpty(const Levels& levels) {
    return std::all_of(levels.begin(), levels.end(),
                       [](const auto& vec) { return vec.empty(); });
}

// What the links need that fail together, level by level.
Row needs(const Levels& bbw, const Levels& fbw, const Ids& failing) {
    Row need;
    double totBbw = 0.0, totFbw = 0.0;
    for (std::size_t p = 0; p < kLevels; p++) {
        for (Long f : failing) {
            totBbw += at(bbw[p], f);
            totFbw += at(fbw[p], f);
        }
        const double net = totBbw - totFbw;
        need[p] = net < 0.0 ? 0.0 : net;
    }
    return need;
}

// Links that fail together: one by one, then those into one node.
std::vector<Ids> failures(const Database& db) {
    std::vector<Ids> all;
    for (const auto& [id, hop] : db.hops) {
        if (static_cast<Long>(all.size()) >= db.nbLinks) break;
        all.push_back({id});
    }
    for (const auto& [id, node] : db.nodes) {
        all.emplace_back();
        for (Long src : node.in) all.back().push_back(db.links.at({src, id}).id);
    }
    return all;
}

// Where the link lies on the path: only where its tail first stands.
Long hopIndex(const Ids& path, Hop hop) {
    const Long k = indexOf(path, hop.first);
    const auto next = static_cast<std::size_t>(k + 1);
    return k >= 0 && next < path.size() && path[next] == hop.second ? k : -1;
}

Long hopId(const Database& db, Hop hop) {
    const Long id = getLinkID(db, hop);
    if (id < 0) fail(kHere, "Cannot determine link ID");
    return id;
}

void book(Cells& cells, int level, Long f, double mult, const Row& amounts) {
    for (std::size_t oa = 0; oa < kClasses; oa++) {
        if (amounts[oa] == 0.0) continue;
        auto& vec = cells[oa][static_cast<std::size_t>(level)];
        vec.resize(std::max(vec.size(), static_cast<std::size_t>(f + 1)));
        vec[static_cast<std::size_t>(f)] += mult * amounts[oa];
    }
}

bool bookHops(const Database& db, Cells& cells, const Lsp& lsp, Long from, Long to,
              double mult, const Row& amounts) {
    const std::vector<Hop> hops = hopsOf(lsp.primPath);
    for (Long i = from; i < to; i++) {
        const Long id = hopId(db, hops[static_cast<std::size_t>(i)]);
        if (id < 0) return false;
        book(cells, lsp.precedence, id, mult, amounts);
    }
    return true;
}

// What is booked of an LSP where its partner runs too: what two primaries of one level
// need beyond the partner.
Row beyond(const Lsp& lsp, const Lsp& partner) {
    Row bw = lsp.bw;
    if (!lsp.isBackup() && !partner.isBackup() && lsp.precedence == partner.precedence)
        for (std::size_t oa = 0; oa < kClasses; oa++)
            bw[oa] = std::max(0.0, lsp.bw[oa] - partner.bw[oa]);
    return bw;
}

bool updatePrimary(const Database& db, LinkState& ls, const Lsp& lsp, const Lsp* partner,
                   double mult, const Row& amounts, bool rerouting) {
    for (std::size_t oa = 0; oa < kClasses; oa++)
        ls.pbw[oa][static_cast<std::size_t>(lsp.precedence)] += mult * amounts[oa];
    Ids shared;
    if (partner != nullptr)
        for (Hop hop : hopsOf(partner->path)) {
            shared.push_back(hopId(db, hop));
            if (shared.back() < 0) return false;
        }
    for (Hop hop : hopsOf(lsp.path)) {
        const Long id = hopId(db, hop);
        if (id < 0) return false;
        book(ls.fbw, lsp.precedence, id, mult,
             rerouting && contains(shared, id) ? amounts : lsp.bw);
    }
    return true;
}

bool updateLocal(const Database& db, LinkState& ls, const Lsp& lsp, bool onPath,
                 Long primPos, double mult, const Row& amounts) {
    const Long start = lsp.path.empty() ? -1 : indexOf(lsp.primPath, lsp.path[0]);
    const auto next = static_cast<std::size_t>(start + 1);
    if (start < 0 || next >= lsp.primPath.size())
        return fail(kHere, "Cannot determine the link to protect");
    const Long plink = hopId(db, {lsp.path[0], lsp.primPath[next]});
    if (plink < 0) return false;
    if (onPath) book(ls.bbw, lsp.precedence, plink, mult, amounts);
    if (primPos < 0) return true;
    const Long end = indexOf(lsp.primPath, lsp.path.back(), start);
    if (!(start <= primPos && primPos < end))
        book(ls.fbw, lsp.precedence, plink, -mult, amounts);
    return true;
}

bool updateGlobal(const Database& db, LinkState& ls, const Lsp& lsp, bool onPath,
                  Long primPos, double mult, const Row& amounts) {
    const Long start = lsp.path.empty() ? -1 : indexOf(lsp.primPath, lsp.path[0]);
    if (start < 0) return fail(kHere, "Cannot determine the link to protect");
    const Long end = static_cast<Long>(lsp.primPath.size()) - 1;
    if (onPath && !bookHops(db, ls.bbw, lsp, start, end, mult, amounts)) return false;
    return primPos < 0 || bookHops(db, ls.fbw, lsp, 0, start, -mult, amounts);
}

}  // namespace

void computeRBW(const Database& db, LinkState& ls) {
    const std::vector<Ids> all = failures(db);
    for (std::size_t oa = 0; oa < kClasses; oa++) {
        Row worst = {};
        // Nothing is booked: no failure needs anything.
        const bool isQuiet = isEmpty(ls.bbw[oa]) && isEmpty(ls.fbw[oa]);
        for (std::size_t i = 0; !isQuiet && i < all.size(); i++) {
            const Row need = needs(ls.bbw[oa], ls.fbw[oa], all[i]);
            for (std::size_t p = 0; p < kLevels; p++)
                if (need[p] > worst[p]) worst[p] = need[p];
        }
        double oldM = 0.0;
        for (std::size_t p = 0; p < kLevels; p++) {
            ls.rbw[oa][p] = ls.pbw[oa][p] + worst[p] - oldM;
            oldM = worst[p];
        }
    }
}

bool updateLS(Database& db, Hop hop, LinkState& ls, const Lsp& lsp, int op) {
    const bool onPath = hopIndex(lsp.path, hop) >= 0;
    const Lsp* partner = nullptr;
    if (onPath && lsp.partner >= 0) {
        partner = find(db.lsps, lsp.partner);
        if (partner == nullptr) push(WARNING, kHere, "Cannot find the old LSP");
    }
    const bool rerouting = partner != nullptr && hopIndex(partner->path, hop) >= 0;
    const Long primPos = lsp.isBackup() ? hopIndex(lsp.primPath, hop) : -1;
    if (!onPath && primPos < 0) return true;
    if (op != 0 && op != 1) return fail(kHere, "Bad argument (unknown operation)");
    const double mult = op == 0 ? 1.0 : -1.0;
    const Row amounts = rerouting ? beyond(lsp, *partner) : lsp.bw;
    bool done;
    if (lsp.type == 1)
        done = updateLocal(db, ls, lsp, onPath, primPos, mult, amounts);
    else if (lsp.type == 2)
        done = updateGlobal(db, ls, lsp, onPath, primPos, mult, amounts);
    else
        done = updatePrimary(db, ls, lsp, partner, mult, amounts, rerouting);
    if (done) computeRBW(db, ls);
    return done;
}

bool evalLS(Database& db, Hop hop, LinkState& ls, const Request& req, int op) {
    Lsp lsp = req;
    lsp.partner = std::max(req.partner, -1);
    lsp.primPath.clear();
    if (req.type > 2) return fail(kHere, "Unknown request type (NULL)");
    if (req.isBackup()) {
        const Lsp* primary = find(db.lsps, req.primID);
        if (primary == nullptr)
            return fail(kHere, "Impossible to determine the primary path");
        lsp.primPath = primary->path;
    }
    if (req.path.size() < 2) return fail(kHere, "Wrong path in request");
    return updateLS(db, hop, ls, lsp, op);
}

bool capacityClause(const LinkState& ls, const Request& req, Row& gain) {
    for (std::size_t k = 0; k < kClasses; k++) {
        const double all = total(ls.rbw[k]);
        double occupied = all;
        if (now.config.predicateConfig.allowReroute) {
            occupied = 0.0;
            for (int p = 0; p <= req.precedence; p++)
                occupied += ls.rbw[k][static_cast<std::size_t>(p)];
        }
        if (occupied > ls.cap[k]) return false;
        gain[k] = all > ls.cap[k] ? all - ls.cap[k] : 0.0;
    }
    return true;
}

// An evaluation that fails leaves the link in place of a path that is not known.
bool isValidRequestLink(Database& db, Hop hop, const LinkState& ls, Request& req,
                        Row& gain) {
    LinkState trial = ls;
    const Ids path = req.path;
    if (std::any_of(path.begin(), path.end(), [](Long id) { return id < 0; }))
        req.path = {hop.first, hop.second};
    if (!evalLS(db, hop, trial, req, 0))
        return fail(kPredicate, "Unable to update link state");
    req.path = path;
    const PredicateConfig& config = now.config.predicateConfig;
    bool gate = !config.capacityClause || capacityClause(trial, req, gain);
    if (config.colorClause && contains(req.forbidden, trial.color)) gate = false;
    if (req.partner >= 0 && hop == Hop(req.avoidSrc, req.avoidDst)) gate = false;
    return gate;
}

bool isValidLSPLink(Database& db, Hop hop, const LinkState& ls, const Lsp& lsp,
                    Row& gain) {
    Request req = {lsp, -1, -1};
    return isValidRequestLink(db, hop, ls, req, gain);
}

}  // namespace twin
