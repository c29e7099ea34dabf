#include "twin/setup.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <tuple>

namespace twin {

namespace {

constexpr const char* kHere = "database/database.c";
constexpr const char* kRerouting = "rerouting/rerouting.c";
constexpr double kEps = 1e-10;

// The least important first, then the larger in class 0, then the smaller id.
bool isBefore(const Lsp* a, const Lsp* b) {
    return std::tuple(b->precedence, b->bw[0], a->id) <
           std::tuple(a->precedence, a->bw[0], b->id);
}

// Asks link by link. `failed` tells a failure from a refusal.
bool admit(Database& db, const Lsp& lsp, Ids& preempted, bool* failed) {
    Row gain = {};
    std::set<Long> processed;
    *failed = true;
    auto ask = [&](Hop hop, bool prim, bool* allowed) {
        Link* link = find(db.links, hop);
        if (link == nullptr) {
            getLink(db, hop);
            return fail(kHere, "Unable to get the list of LSPs carried by the link");
        }
        if (prim && processed.contains(link->id)) return true;
        *allowed = isValidLSPLink(db, hop, link->state, lsp, gain);
        Ids chosen;
        if (!chooseReroutedLSPs(lsp.precedence, link->state, link->lsps, gain, chosen))
            return fail(kHere, "Unable choose LSPs for rerouting");
        preempted = merge(chosen, preempted);
        processed.insert(link->id);
        return true;
    };
    bool allowed = true;
    for (bool prim : {false, true})
        for (Hop hop : hopsOf(!prim ? lsp.path : lsp.isBackup() ? lsp.primPath : Ids()))
            if (allowed && !ask(hop, prim, &allowed)) return false;
    *failed = false;
    return allowed;
}

bool takeOff(std::vector<const Lsp*>& list, const Lsp& lsp) {
    const auto place = std::find(list.begin(), list.end(), &lsp);
    if (place == list.end())
        return push(WARNING, "database/database_util.c", "Removing inexistent LSP"),
               false;
    list.erase(place);
    return true;
}

// Books the LSP on its links or takes it off them, as far as that goes.
bool bookLSP(Database& db, const Lsp& lsp, int op, bool lists = true) {
    bool complete = true;
    std::set<Hop> processed;
    for (bool prim : {false, true})
        for (Hop hop : hopsOf(!prim ? lsp.path : lsp.isBackup() ? lsp.primPath : Ids())) {
            if (prim && processed.contains(hop)) continue;
            Link* link = getLink(db, hop);
            if (link == nullptr) {
                complete = false;
                continue;
            }
            processed.insert(hop);
            auto& list = link->lsps;
            if (!prim && lists && op == 0)
                list.insert(std::lower_bound(list.begin(), list.end(), &lsp, isBefore),
                            &lsp);
            else if (!prim && lists && !takeOff(list, lsp))
                complete = false;
            if (!updateLS(db, hop, link->state, lsp, op)) complete = false;
        }
    return complete;
}

bool setPartner(Database& db, Long partner, Long id) {
    Lsp* lsp = find(db.lsps, partner);
    if (lsp == nullptr)
        push(WARNING, kHere, "Unable to get no contention LSP");
    else
        lsp->partner = id;
    return lsp != nullptr;
}

bool isStorable(Database& db, Long id) {
    constexpr const char* kUtil = "database/database_util.c";
    if (id < 0) return fail(kUtil, "Bad argument (NULL)");
    if (!grow(&db.lspSlots, id, std::numeric_limits<Long>::max() / 8)) {
        fail(kUtil, "Critical lack of memory");
        return fail(kUtil, "Unable to resize LSP vector prior to insertion");
    }
    if (db.lsps.contains(id))
        return fail(kUtil, "Trying to add an LSP with a reserved ID");
    return true;
}

bool notEnough() {
    return fail(kRerouting, "Not enough preemptable bandwidth for LSP selection");
}

}  // namespace

bool addLSP(Database& db, const Lsp& lsp, Ids& preempted) {
    bool failed;
    if (!admit(db, lsp, preempted, &failed))
        return failed ? false : fail(kHere, "LSP refused by the predicate");
    if (!isStorable(db, lsp.id))
        return fail(kHere, "Unable to insert LSP in the general LSP container");
    Lsp& stored = db.lsps[lsp.id] = lsp;
    if (stored.partner >= 0 && !setPartner(db, stored.partner, stored.id))
        stored.partner = -1;
    return bookLSP(db, stored, 0) || fail(kHere, "LSP addition uncomplete");
}

bool removeLSP(Database& db, Long id) {
    Lsp* lsp = find(db.lsps, id);
    if (lsp == nullptr)
        return fail(kHere, format("Trying to remove inexistent LSP (id = %d)", id));
    const bool complete = bookLSP(db, *lsp, 1);
    const Long partner = lsp->partner;
    db.lsps.erase(id);
    if (partner >= 0) setPartner(db, partner, -1);
    return complete || fail(kHere, "LSP removal uncomplete");
}

// The two are there side by side, the old one first and the new one in the end under the
// id, the other one under -1.
bool changeLSP(Database& db, const Lsp& lsp, Ids& preempted) {
    Lsp* old = find(db.lsps, lsp.id);
    if (old == nullptr)
        return fail(kHere, format("Trying to change inexistent LSP (id = %d)", lsp.id));
    if (old->isBackup() || lsp.isBackup() || old->partner >= 0)
        return fail(kHere, "Trying to change a backup or an LSP that is being replaced");
    Lsp changed = lsp;
    changed.partner = old->id;
    changed.precedence = old->precedence;
    bool failed, isLess = lsp.path == old->path;
    for (std::size_t oa = 0; oa < kClasses; oa++) isLess &= lsp.bw[oa] <= old->bw[oa];
    if (!isLess && !admit(db, changed, preempted, &failed))
        return failed ? false : fail(kHere, "LSP refused by the predicate");
    for (Hop hop : hopsOf(old->path))
        if (Link* link = find(db.links, hop)) takeOff(link->lsps, *old);
    Lsp& stored = db.lsps[-1] = changed;
    bool complete = bookLSP(db, stored, 0);
    auto before = db.lsps.extract(lsp.id), after = db.lsps.extract(-1);
    before.key() = -1;
    after.key() = lsp.id;
    db.lsps.insert(std::move(before));
    db.lsps.insert(std::move(after));
    old->partner = lsp.id;
    complete &= bookLSP(db, *old, 1, false);
    db.lsps.erase(-1);
    stored.partner = -1;
    if (lsp.precedence != stored.precedence) {
        complete &= bookLSP(db, stored, 1);
        stored.precedence = lsp.precedence;
        complete &= bookLSP(db, stored, 0);
    }
    return complete || fail(kHere, "LSP change uncomplete");
}

bool getPreemptList(Database& db, const Lsp& lsp, Ids& preempted) {
    bool failed;
    admit(db, lsp, preempted, &failed);
    return !failed;
}

Ids merge(Ids& la, Ids& lb) {
    std::sort(la.begin(), la.end());
    std::sort(lb.begin(), lb.end());
    Ids dest;
    auto b = lb.begin();
    for (auto a = la.begin(); a != la.end();) {
        if (b != lb.end() && *b < *a) {
            dest.push_back(*b++);
            continue;
        }
        if (b != lb.end() && *b == *a) b++;
        dest.push_back(*a++);
    }
    dest.insert(dest.end(), b, lb.end());
    return dest;
}

bool chooseReroutedLSPs(int precedence, const LinkState& ls,
                        const std::vector<const Lsp*>& lsps, const Row& toGain,
                        Ids& chosen) {
    std::size_t oa = 0;
    for (std::size_t k = 0; k < kClasses; k++)
        if (toGain[k] > kEps) oa = k;
    double need = toGain[oa];
    std::vector<const Lsp*> candidates;
    for (const Lsp* lsp : lsps)
        if (lsp->bw[oa] > kEps) candidates.push_back(lsp);
    std::size_t i = 0;
    const std::size_t end = candidates.size();
    auto take = [&](std::size_t k) {
        chosen.push_back(candidates[k]->id);
        need -= candidates[k]->bw[oa];
    };
    if (need <= kEps) return true;
    int level;
    for (;;) {
        if (i == end || candidates[i]->precedence <= precedence) return notEnough();
        level = candidates[i]->precedence;
        const double reserved = ls.rbw[oa][static_cast<std::size_t>(level)];
        if (!(need >= reserved)) break;
        for (; i < end && candidates[i]->precedence == level; i++)
            chosen.push_back(candidates[i]->id);
        need -= reserved;
        if (!(need > kEps)) return true;
    }
    for (long repeats = 0; !(need <= kEps);) {
        if (i == end) return notEnough();
        if (need >= candidates[i]->bw[oa]) {
            take(i++);
            continue;
        }
        std::size_t j = i;
        while (j < end && candidates[j]->bw[oa] >= need &&
               candidates[j]->precedence == level)
            j++;
        // One that was taken before is taken again while that changes anything.
        if (j == i && (need - candidates[j - 1]->bw[oa] == need || ++repeats > 1L << 24))
            return notEnough();
        if (repeats > now.patience) throw GivenUp();
        take(j - 1);
        i = j;
    }
    return true;
}

double makeRerouteScore(const Request& req, const Row& gain, const LinkState& ls,
                        std::size_t oa) {
    const double toGain = gain[oa];
    if (!(toGain > 0.0)) return 0.0 / req.bw[oa];
    double score = 0.0, gained = 0.0;
    for (int level = 7; level > req.precedence; level--) {
        const auto p = static_cast<std::size_t>(level);
        const double left = toGain - gained;
        const double reserved = ls.rbw[oa][p];
        const double price = now.config.reroutingConfig.scoreCoef[oa][p];
        score += price * (left > reserved ? reserved : left);
        gained += left > reserved ? reserved : left;
        if (!(toGain > gained)) return score / req.bw[oa];
    }
    fail(kRerouting, "internal error: impossible to realize gain");
    return INFINITY;
}

}  // namespace twin
