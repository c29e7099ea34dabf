#include "fuzz/model.h"

#include <algorithm>
#include <tuple>

namespace {

constexpr double kEps = 1e-10;

Long indexOf(const Ids& ids, Long id, Long from = 0) {
    for (std::size_t i = static_cast<std::size_t>(from); i < ids.size(); i++)
        if (ids[i] == id) return static_cast<Long>(i);
    return -1;
}

Long length(const Ids& path) {
    return static_cast<Long>(path.size());
}

Long nbHops(const Ids& path) {
    return std::max<Long>(length(path) - 1, 0);
}

Hop hopAt(const Ids& path, Long i) {
    return {path[static_cast<std::size_t>(i)], path[static_cast<std::size_t>(i) + 1]};
}

// A hop is looked for behind the first occurrence of its node only.
Long hopIndex(const Ids& path, Hop hop) {
    const Long i = indexOf(path, hop.first);
    return i >= 0 && i < nbHops(path) && hopAt(path, i) == hop ? i : -1;
}

bool isSimple(const Ids& path) {
    return std::set<Long>(path.begin(), path.end()).size() == path.size();
}

bool isConcerned(const ModelLsp& lsp, Hop hop) {
    return hopIndex(lsp.path, hop) >= 0 ||
           (lsp.isBackup() && hopIndex(lsp.primPath, hop) >= 0);
}

void add(Matrix* to, int level, double sign, const std::array<double, kClasses>& bw) {
    for (std::size_t oa = 0; oa < kClasses; oa++)
        (*to)[oa][static_cast<std::size_t>(level)] += sign * bw[oa];
}

void add(Tables* to, const Tables& from) {
    auto addAll = [](Matrix* a, const Matrix& b) {
        for (std::size_t oa = 0; oa < kClasses; oa++)
            for (std::size_t p = 0; p < kLevels; p++) (*a)[oa][p] += b[oa][p];
    };
    addAll(&to->pbw, from.pbw);
    for (const auto& [f, matrix] : from.bbw) addAll(&to->bbw[f], matrix);
    for (const auto& [f, matrix] : from.fbw) addAll(&to->fbw[f], matrix);
}

}  // namespace

void Model::addNode(Long id) {
    nodes.insert(id);
    nodesAdded_++;
}

bool Model::canAddLink(Hop hop, Long id) const {
    const bool idTaken = std::any_of(links.begin(), links.end(), [=](const auto& entry) {
        return entry.second.id == id;
    });
    return id >= 0 && !idTaken && nodes.contains(hop.first) &&
           nodes.contains(hop.second) && !links.contains(hop);
}

void Model::addLink(Hop hop, const ModelLink& link) {
    links[hop] = link;
}

void Model::removeLink(Hop hop) {
    auto crosses = [&](const Ids& path) {
        for (Long i = 0; i < nbHops(path); i++)
            if (hopAt(path, i) == hop) return true;
        return false;
    };
    std::vector<ModelLsp*> torn;
    for (auto& [id, lsp] : lsps) {
        const ModelLsp* partner = partnerOf(lsp);
        if (crosses(lsp.path) || crosses(lsp.primPath) ||
            (partner != nullptr && crosses(partner->path)))
            torn.push_back(&lsp);
    }
    for (ModelLsp* lsp : torn) freeze(lsp);
    for (auto& [id, lsp] : lsps)
        if (lsp.frozen) lsp.frozen->erase(hop);
    links.erase(hop);
}

void Model::removeNode(Long id) {
    Ids in, out;
    for (const auto& [hop, link] : links) {
        if (hop.second == id) in.push_back(hop.first);
        if (hop.first == id && hop.second != id) out.push_back(hop.second);
    }
    for (Long src : in) removeLink({src, id});
    for (Long dst : out) removeLink({id, dst});
    nodes.erase(id);
    nodesRemoved_++;
}

// An LSP that gets another partner leaves the former with a pairing that is not mutual:
// what they share is no longer taken out as it was put in.
void Model::setPartner(ModelLsp* lsp, Long partner) {
    const auto former = lsps.find(lsp->partner);
    if (former != lsps.end() && former->first != partner) {
        freeze(&former->second);
        freeze(lsp);
    }
    lsp->partner = partner;
}

void Model::addLsp(ModelLsp lsp) {
    lsp.age = setups_++;
    const auto partner = lsps.find(lsp.partner);
    if (partner == lsps.end())
        lsp.partner = -1;
    else
        setPartner(&partner->second, lsp.id);
    lsps[lsp.id] = lsp;
    reserve(lsp);
    // What is booked twice on a link does not come down to the other's bandwidth either.
    if (partner == lsps.end() || (isSimple(lsp.path) && isSimple(partner->second.path)))
        return;
    freeze(&lsps[lsp.id]);
    freeze(&partner->second);
}

void Model::removeLsp(Long id) {
    const ModelLsp lsp = lsps.at(id);
    const std::vector<Hop> touched = updates(lsp);
    lsps.erase(id);
    if (const auto partner = lsps.find(lsp.partner); partner != lsps.end())
        setPartner(&partner->second, -1);
    if (!lsp.frozen) return reserve(lsp);
    for (Hop hop : touched) links.at(hop).known = false;
    for (const auto& [hop, tables] : *lsp.frozen) links.at(hop).known = false;
}

void Model::forget(const ModelLsp& lsp) {
    freeze(&lsps.at(lsp.id));
    for (Hop hop : updates(lsp)) links.at(hop).known = false;
}

Verdict Model::canRemoveLsp(Long id) const {
    const auto lsp = lsps.find(id);
    if (lsp == lsps.end()) return Verdict::NO;
    return lsp->second.frozen ? Verdict::UNKNOWN : Verdict::YES;
}

const ModelLsp* Model::partnerOf(const ModelLsp& lsp) const {
    const auto partner = lsps.find(lsp.partner);
    return lsp.partner >= 0 && partner != lsps.end() ? &partner->second : nullptr;
}

void Model::freeze(ModelLsp* lsp) const {
    if (lsp->frozen) return;
    std::map<Hop, Tables> booked;
    for (Hop hop : updates(*lsp)) book(*lsp, hop, &booked[hop]);
    lsp->frozen = std::move(booked);
}

Ids Model::hopIds(const Ids& path) const {
    Ids ids;
    for (Long i = 0; i < nbHops(path); i++) {
        const auto link = links.find(hopAt(path, i));
        ids.push_back(link == links.end() ? -1 : link->second.id);
    }
    return ids;
}

bool Model::hasAllLinks(const Ids& path) const {
    return indexOf(hopIds(path), -1) < 0;
}

std::vector<Hop> Model::updates(const ModelLsp& lsp) const {
    std::vector<Hop> hops;
    for (Long i = 0; i < nbHops(lsp.path); i++)
        if (links.contains(hopAt(lsp.path, i))) hops.push_back(hopAt(lsp.path, i));
    if (!lsp.isBackup()) return hops;
    for (Long i = 0; i < nbHops(lsp.primPath); i++) {
        const Hop hop = hopAt(lsp.primPath, i);
        if (links.contains(hop) && std::find(hops.begin(), hops.end(), hop) == hops.end())
            hops.push_back(hop);
    }
    return hops;
}

bool Model::book(const ModelLsp& lsp, Hop hop, Tables* to) const {
    const bool onPath = hopIndex(lsp.path, hop) >= 0;
    const Long primHop = lsp.isBackup() ? hopIndex(lsp.primPath, hop) : -1;
    if (!onPath && primHop < 0) return true;
    if (!lsp.isBackup()) {
        // Partners of one level carry the larger of the two on what they share: the
        // younger adds what exceeds the older.
        const ModelLsp* other = onPath ? partnerOf(lsp) : nullptr;
        const bool shares = other != nullptr && !other->isBackup() &&
                            other->level == lsp.level && other->age < lsp.age;
        std::array<double, kClasses> excess = lsp.bw;
        for (std::size_t oa = 0; shares && oa < kClasses; oa++)
            excess[oa] = std::max(0.0, lsp.bw[oa] - other->bw[oa]);
        const bool here = shares && hopIndex(other->path, hop) >= 0;
        if (other != nullptr && !hasAllLinks(other->path)) return false;
        const Ids shared = here ? hopIds(other->path) : Ids();
        add(&to->pbw, lsp.level, 1.0, here ? excess : lsp.bw);
        for (Long id : hopIds(lsp.path)) {
            if (id < 0) return false;
            add(&to->fbw[id], lsp.level, 1.0, indexOf(shared, id) >= 0 ? excess : lsp.bw);
        }
        return true;
    }
    const Ids prim = hopIds(lsp.primPath);
    const Long start = lsp.path.empty() ? -1 : indexOf(lsp.primPath, lsp.path[0]);
    if (start < 0) return false;
    if (lsp.type == DB_GLOBAL_BACKUP_LSP) {
        for (Long i = start; onPath && i < length(prim); i++) {
            if (prim[static_cast<std::size_t>(i)] < 0) return false;
            add(&to->bbw[prim[static_cast<std::size_t>(i)]], lsp.level, 1.0, lsp.bw);
        }
        for (Long i = 0; primHop >= 0 && i < start; i++) {
            if (prim[static_cast<std::size_t>(i)] < 0) return false;
            add(&to->fbw[prim[static_cast<std::size_t>(i)]], lsp.level, -1.0, lsp.bw);
        }
        return true;
    }
    if (start >= length(prim) || prim[static_cast<std::size_t>(start)] < 0) return false;
    const Long guarded = prim[static_cast<std::size_t>(start)];
    if (onPath) add(&to->bbw[guarded], lsp.level, 1.0, lsp.bw);
    const Long end = indexOf(lsp.primPath, lsp.path.back(), start);
    const bool bypassed = start <= primHop && primHop < end;
    if (primHop >= 0 && !bypassed) add(&to->fbw[guarded], lsp.level, -1.0, lsp.bw);
    return true;
}

Tables Model::tables(Hop hop) const {
    Tables tables;
    for (const auto& [id, lsp] : lsps) {
        if (lsp.frozen) {
            const auto booked = lsp.frozen->find(hop);
            if (booked != lsp.frozen->end()) add(&tables, booked->second);
            continue;
        }
        for (Hop updated : updates(lsp))
            if (updated == hop) book(lsp, hop, &tables);
    }
    return tables;
}

// The worst failure of a link or of all links into a node, level by level. Failures are
// counted against the counters of the database, which node removals leave askew.
Matrix Model::reserved(const Tables& tables) const {
    std::map<Long, Long> heads;  // by link id, ascending
    for (const auto& [hop, link] : links) heads[link.id] = hop.second;
    std::map<Long, Ids> failures;
    Long counted = 0;
    for (const auto& [id, head] : heads) {
        if (counted++ < nbLinks()) failures[id] = {id};
        failures[-1 - head].push_back(id);
    }
    Matrix rbw = tables.pbw;
    for (std::size_t oa = 0; oa < kClasses; oa++) {
        Row worst = {};
        for (const auto& [failure, ids] : failures) {
            double need = 0.0;
            for (std::size_t p = 0; p < kLevels; p++) {
                for (Long id : ids) {
                    const auto bbw = tables.bbw.find(id);
                    const auto fbw = tables.fbw.find(id);
                    if (bbw != tables.bbw.end()) need += bbw->second[oa][p];
                    if (fbw != tables.fbw.end()) need -= fbw->second[oa][p];
                }
                worst[p] = std::max(worst[p], need);
            }
        }
        for (std::size_t p = 0; p < kLevels; p++)
            rbw[oa][p] += worst[p] - (p > 0 ? worst[p - 1] : 0.0);
    }
    return rbw;
}

void Model::reserve(const ModelLsp& lsp) {
    for (Hop hop : updates(lsp))
        if (isConcerned(lsp, hop)) links.at(hop).rbw = reserved(tables(hop));
}

Ids Model::crossing(Hop hop) const {
    std::vector<std::tuple<int, double, Long>> keys;
    for (const auto& [id, lsp] : lsps)
        for (Long i = 0; i < nbHops(lsp.path); i++)
            if (hopAt(lsp.path, i) == hop && (!lsp.frozen || lsp.frozen->contains(hop)))
                keys.emplace_back(-lsp.level, -lsp.bw[0], id);
    std::sort(keys.begin(), keys.end());
    Ids ids;
    for (const auto& key : keys) ids.push_back(std::get<2>(key));
    return ids;
}

Verdict Model::admits(const ModelLsp& lsp, Hop hop, Row* gain) const {
    const auto link = links.find(hop);
    if (link == links.end() || lsp.type > 2) return Verdict::NO;
    if (!link->second.known) return Verdict::UNKNOWN;
    if (lsp.isBackup() && !lsps.contains(lsp.primID)) return Verdict::NO;
    ModelLsp trial = lsp;
    trial.age = setups_;
    // A node that cannot be stands for a path that is not known yet.
    if (std::any_of(lsp.path.begin(), lsp.path.end(), [](Long node) { return node < 0; }))
        trial.path = {hop.first, hop.second};
    if (trial.path.size() < 2) return Verdict::NO;
    if (lsp.isBackup()) trial.primPath = lsps.at(lsp.primID).path;
    Tables tables = this->tables(hop);
    if (!book(trial, hop, &tables)) return Verdict::NO;
    const Matrix rbw = isConcerned(trial, hop) ? reserved(tables) : link->second.rbw;
    if (!capacityClause) return Verdict::YES;
    for (std::size_t oa = 0; oa < kClasses; oa++) {
        double total = 0.0, kept = 0.0;
        for (std::size_t p = 0; p < kLevels; p++) {
            total += rbw[oa][p];
            if (!allowReroute || static_cast<int>(p) <= lsp.level) kept += rbw[oa][p];
        }
        const double capacity = link->second.capacity[oa];
        if (kept > capacity) return Verdict::NO;
        (*gain)[oa] = std::max(0.0, total - capacity);
    }
    return Verdict::YES;
}

// Whole levels first, then those that fit best.
bool Model::choose(const ModelLsp& lsp, Hop hop, const Row& gain, Ids* chosen) const {
    std::size_t oa = kClasses - 1;
    while (oa > 0 && !(gain[oa] > kEps)) oa--;
    double need = gain[oa];
    std::vector<const ModelLsp*> from;
    for (Long id : crossing(hop))
        if (lsps.at(id).bw[oa] > kEps) from.push_back(&lsps.at(id));
    std::size_t i = 0;
    auto take = [&](std::size_t at) {
        chosen->push_back(from[at]->id);
        need -= from[at]->bw[oa];
    };
    while (need > kEps) {
        if (i >= from.size() || from[i]->level <= lsp.level) return false;
        const int level = from[i]->level;
        const double reserved = links.at(hop).rbw[oa][static_cast<std::size_t>(level)];
        if (need >= reserved) {
            for (; i < from.size() && from[i]->level == level; i++)
                chosen->push_back(from[i]->id);
            need -= reserved;
            continue;
        }
        while (need > kEps) {
            if (i >= from.size()) return false;
            if (need >= from[i]->bw[oa]) {
                take(i++);
                continue;
            }
            while (i < from.size() && from[i]->bw[oa] >= need && from[i]->level == level)
                i++;
            take(i - 1);
        }
    }
    return true;
}

// Asks link after link, until one refuses.
Verdict Model::ask(const ModelLsp& lsp, Ids* victims, bool* refused) const {
    Row gain = {};
    std::vector<Hop> asked;
    for (const Ids* path : {&lsp.path, &lsp.primPath}) {
        if (path == &lsp.primPath && !lsp.isBackup()) break;
        for (Long i = 0; i < nbHops(*path); i++) {
            const Hop hop = hopAt(*path, i);
            const bool again = std::find(asked.begin(), asked.end(), hop) != asked.end();
            if (path == &lsp.primPath && again) continue;
            if (!links.contains(hop)) return Verdict::NO;
            asked.push_back(hop);
            const Verdict verdict = admits(lsp, hop, &gain);
            if (verdict == Verdict::UNKNOWN) return verdict;
            *refused = verdict == Verdict::NO;
            Ids chosen, merged;
            if (!choose(lsp, hop, gain, &chosen)) return Verdict::NO;
            // A sorted union that keeps what one side holds twice.
            std::sort(chosen.begin(), chosen.end());
            std::set_union(chosen.begin(), chosen.end(), victims->begin(), victims->end(),
                           std::back_inserter(merged));
            *victims = merged;
            if (*refused) return Verdict::YES;
        }
    }
    return Verdict::YES;
}

Verdict Model::canListVictims(const ModelLsp& lsp, Ids* victims) const {
    bool refused = false;
    return ask(lsp, victims, &refused);
}

Verdict Model::canAddLsp(const ModelLsp& lsp, Ids* victims) const {
    bool refused = false;
    const Verdict verdict = ask(lsp, victims, &refused);
    if (verdict != Verdict::YES) return verdict;
    if (refused || !fitsTable(lsp.id) || lsps.contains(lsp.id)) return Verdict::NO;
    // Stored and yet a failure, if the links were asked about another path.
    Tables tables;
    for (Hop hop : updates(lsp))
        if (!book(lsp, hop, &tables)) return Verdict::NO;
    return Verdict::YES;
}
