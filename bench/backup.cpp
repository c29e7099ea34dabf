// Rows on backups.

#include "computation/backup/backup.h"

#include <algorithm>

#include "error/error.h"
#include "rows.h"

namespace {

// A backup with its primary, of which it protects the hops from first up to last - 1.
struct Answer {
    Long primId;
    BackupType type;
    Path primary;
    Path backup;
    std::size_t first;
    std::size_t last;

    // The nodes to avoid if possible.
    Path protectedNodes() const {
        if (type == LOCAL_BACKUP) return {primary[last]};
        return {primary.begin() + 1, primary.end() - 1};
    }
};

bool contains(const Path& nodes, Long node) {
    return std::find(nodes.begin(), nodes.end(), node) != nodes.end();
}

bool avoidsNodes(const Answer& a) {
    const Path nodes = a.protectedNodes();
    return std::none_of(nodes.begin(), nodes.end(),
                        [&](Long node) { return contains(a.backup, node); });
}

// Whether there was a way round the protected nodes over links that have room for
// everything that the call can have put on them.
bool hadDetour(const Rig& rig, const Answer& a, int oa, double bw) {
    const Path& prim = a.primary;
    const Path avoid = a.protectedNodes();
    auto isOpen = [&](Long id) {
        const Link& link = rig.state.network.links[id];
        const bool isLastHop = link.src == prim.end()[-2] && link.dst == prim.back();
        return !isLastHop && !contains(avoid, link.dst) &&
               freeBandwidth(rig.state.dataBase, link, oa) >= bw;
    };
    const Path hops = hopsFrom(rig.state.network, prim[a.first], isOpen);
    const auto goals = a.type == LOCAL_BACKUP ? a.last + 1 : a.last;
    return std::any_of(prim.begin() + goals, prim.end(),
                       [&](Long node) { return hops[node] >= 0; });
}

void verify(Rig& rig, const Answer& a) {
    const DBLabelSwitchedPath* primary = DBgetLSP(rig.state.dataBase, a.primId);
    const Path& prim = a.primary;
    requirePath(rig.state, a.backup, prim[a.first], a.backup.back());
    require(contains({prim.begin() + (a.type == LOCAL_BACKUP ? a.first + 1 : a.last),
                      prim.end()},
                     a.backup.back()),
            "the backup does not rejoin its primary");
    for (auto hop = prim.begin() + a.first; hop != prim.begin() + a.last; hop++)
        require(
            std::search(a.backup.begin(), a.backup.end(), hop, hop + 2) == a.backup.end(),
            "the backup uses a link that it protects");
    const int oa = primary->bw[0] > 0.0 ? 0 : 1;
    const double most = primary->bw[oa] * static_cast<double>(prim.size());
    require(avoidsNodes(a) || !hadDetour(rig, a, oa, most),
            "the backup uses a node that it protects");

    ScopedRequest req;
    initRequest(&req, {-1, -1, -1, oa, primary->precedence + 1, primary->bw[oa]});
    req.primID = a.primId;
    req.type = a.type == LOCAL_BACKUP ? DB_LOCAL_BACKUP_LSP : DB_GLOBAL_BACKUP_LSP;
    setPath(&req, a.backup);
    requireAdmitted(rig, a.backup, &req, oa);
}

// Protects a primary; false if that is not possible. Searches are counted as they have
// to be made: a second one where the first, round the next node, found no way, but only
// one at the last hop, where there can be no such way.
bool protect(Rig& rig, BackupType type, Sample* sample) {
    const Muted quiet;
    const Long id = rig.state.drawUnprotected();
    const DBLabelSwitchedPath* primary = DBgetLSP(rig.state.dataBase, id);
    const Path path = nodesOf(primary->path);
    const int oa = primary->bw[0] > 0.0 ? 0 : 1;
    rig.floor.prepare({id, path.front(), path.back(), oa, 0, primary->bw[oa]});
    RequestList reqs;
    int ret = 0;
    errorManager.top = 0;
    timeBoth(rig, path.front(), sample,
             [&] { ret = computeBackup(rig.state.dataBase, &reqs, id, type); });
    if (ret < 0) return false;

    const std::size_t hops = path.size() - 1;
    const std::size_t backups = type == LOCAL_BACKUP ? hops : 1;
    require(static_cast<std::size_t>(reqs.size) == backups, "wrong number of backups");
    std::vector<Answer> answers;
    sample->units = 0.0;
    for (std::size_t i = 0; i < backups; i++) {
        const std::size_t last = type == LOCAL_BACKUP ? i + 1 : hops;
        answers.push_back({id, type, path, nodesOf(reqs.cont[i].path), i, last});
        const bool isLastHop = type == LOCAL_BACKUP && last == hops;
        sample->units += isLastHop || avoidsNodes(answers[i]) ? 1.0 : 2.0;
    }
    sample->verify = [&rig, answers] {
        for (const Answer& a : answers) verify(rig, a);
    };
    return true;
}

}  // namespace

Sample localProtection(Rig& rig) {
    Sample sample;
    while (!protect(rig, LOCAL_BACKUP, &sample)) continue;
    return sample;
}

Sample globalProtection(Rig& rig) {
    Sample sample;
    while (!protect(rig, GLOBAL_BACKUP, &sample)) continue;
    return sample;
}
