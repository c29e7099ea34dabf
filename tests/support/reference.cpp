// The tables of every link, recomputed the long way from the LSPs that are up.

#include <array>
#include <cmath>
#include <map>
#include <tuple>

#include "database/stored_link.h"
#include "support/support.h"

namespace {

enum Table { PBW, RBW, BBW, FBW };
// Table, class, level, failing link (of pbw and rbw: 0).
using Cells = std::map<std::tuple<Table, int, int, Long>, double>;

// An LSP that is up, with the links of its path and of its primary's.
struct Placed {
    const DBLabelSwitchedPath* lsp;
    Ids links, prim;
};

// A database with what all its links need to know.
struct Placement {
    DataBase* db;
    std::vector<Placed> lsps;
    Long endOfFailures;  // link ids from here on are not counted as failures
};

void add(Cells* cells, Table table, const DBLabelSwitchedPath* lsp, Long f, double sign,
         const double* bw) {
    for (int oa = 0; oa < kClasses; oa++)
        if (bw[oa] != 0.0) (*cells)[{table, oa, lsp->precedence, f}] += sign * bw[oa];
}

Ids linksOf(DataBase* db, const LongList& nodes) {
    Ids links;
    for (Long i = 0; i + 1 < nodes.top; i++)
        links.push_back(DBgetLinkID(db, nodes.cont[i], nodes.cont[i + 1]));
    return links;
}

// Only as many links as the database counts can fail alone; a node that was removed has
// taken one off that count.
Long endOfFailures(DataBase* db) {
    Long id = 0;
    for (Long seen = 0; id < db->linkSrcVec.top && seen < db->nbLinks; id++)
        if (db->linkSrcVec.cont[id] != 0) seen++;
    return id;
}

Placement placementOf(DataBase* db) {
    Placement placement{db, {}, endOfFailures(db)};
    for (Long id = 0; id < db->lspVec.size; id++)
        if (const DBLabelSwitchedPath* lsp = db->lspVec.cont[id])
            placement.lsps.push_back(
                {lsp, linksOf(db, lsp->path), linksOf(db, lsp->primPath)});
    return placement;
}

// -1 if it is not there.
Long indexIn(const Ids& ids, Long id) {
    const auto at = std::find(ids.begin(), ids.end(), id);
    return at == ids.end() ? -1 : static_cast<Long>(at - ids.begin());
}

// Of two primaries of one level that are partners, the one with the higher id needs on
// what they share only what exceeds the other: together they carry the larger bandwidth.
void addPrimary(DataBase* db, Cells* cells, Long link, const Placed& placed) {
    const DBLabelSwitchedPath* lsp = placed.lsp;
    const DBLabelSwitchedPath* other = DBgetLSP(db, lsp->noContentionId);
    const bool shares = other != nullptr && other->id < lsp->id && other->type == 0 &&
                        other->precedence == lsp->precedence;
    const Ids shared = shares ? linksOf(db, other->path) : Ids();
    double excess[kClasses] = {};
    for (int oa = 0; shares && oa < kClasses; oa++)
        excess[oa] = std::max(0.0, lsp->bw[oa] - other->bw[oa]);
    const bool here = indexIn(shared, link) >= 0;
    add(cells, PBW, lsp, 0, 1.0, here ? excess : lsp->bw);
    for (Long f : placed.links)
        add(cells, FBW, lsp, f, 1.0, here && indexIn(shared, f) >= 0 ? excess : lsp->bw);
}

void addBackup(Cells* cells, Long link, const Placed& placed) {
    const auto& [lsp, links, prim] = placed;
    const Long hop = indexIn(prim, link);
    const bool crosses = indexIn(links, link) >= 0;
    if (hop < 0 && !crosses) return;
    const Ids nodes = values(lsp->primPath);
    const bool local = lsp->type == DB_LOCAL_BACKUP_LSP;
    const Long start = indexIn(nodes, lsp->path.cont[0]);
    const Ids before(prim.begin(), prim.begin() + start);
    const Ids guarded(prim.begin() + start,
                      local ? prim.begin() + start + 1 : prim.end());
    if (crosses)
        for (Long f : guarded) add(cells, BBW, lsp, f, 1.0, lsp->bw);
    const bool bypassed = start <= hop && hop < indexIn(nodes, values(lsp->path).back());
    for (Long f : local ? guarded : before)
        if (hop >= 0 && !(local && bypassed)) add(cells, FBW, lsp, f, -1.0, lsp->bw);
}

// What a failure activates beyond what it frees, levels 0 to p, is its need; M(p) that of
// the worst one. Level p reserves its primaries and M(p) - M(p - 1).
void reserve(const Placement& placement, Cells* cells) {
    using Levels = std::array<double, kLevels>;
    std::map<std::pair<int, Long>, Levels> needs;  // failing: link f, or node n as -1 - n
    for (const auto& [cell, bw] : *cells) {
        const auto [table, oa, level, f] = cell;
        if (table != BBW && table != FBW) continue;
        for (Long failure : {f, -1 - DBgetLinkDst(placement.db, f)})
            for (int p = level; p < kLevels && failure < placement.endOfFailures; p++)
                needs[{oa, failure}][p] += table == BBW ? bw : -bw;
    }
    Levels worst[kClasses] = {};
    for (const auto& [failure, need] : needs)
        for (int p = 0; p < kLevels; p++)
            worst[failure.first][p] = std::max(worst[failure.first][p], need[p]);
    for (int oa = 0; oa < kClasses; oa++)
        for (int p = 0; p < kLevels; p++)
            (*cells)[{RBW, oa, p, 0}] = (*cells)[{PBW, oa, p, 0}] + worst[oa][p] -
                                        (p > 0 ? worst[oa][p - 1] : 0.0);
}

void subtract(Cells* cells, const DBLinkState& ls) {
    for (int oa = 0; oa < kClasses; oa++)
        for (int p = 0; p < kLevels; p++) {
            (*cells)[{PBW, oa, p, 0}] -= ls.pbw[oa][p];
            (*cells)[{RBW, oa, p, 0}] -= ls.rbw[oa][p];
            for (Table table : {BBW, FBW}) {
                const DoubleVec& vec = (table == BBW ? ls.bbw : ls.fbw)[oa][p];
                for (Long f = 0; f < vec.size; f++)
                    if (vec.cont[f] != 0.0) (*cells)[{table, oa, p, f}] -= vec.cont[f];
            }
        }
}

Cells cellsOf(const Placement& placement, Long link) {
    Cells cells;
    for (const Placed& placed : placement.lsps) {
        if (placed.lsp->type != 0)
            addBackup(&cells, link, placed);
        else if (indexIn(placed.links, link) >= 0)
            addPrimary(placement.db, &cells, link, placed);
    }
    reserve(placement, &cells);
    return cells;
}

double share(double difference, double cap) {
    return std::abs(difference) / (cap > 0.0 ? cap : 1.0);
}

// Leaves in the cells those that differ by more than that, and returns the largest share.
double keepDifferences(Cells* cells, const DBLinkState& ls, double tolerance) {
    double largest = 0.0;
    std::erase_if(*cells, [&](const auto& cell) {
        const double differs = share(cell.second, ls.cap[std::get<1>(cell.first)]);
        largest = std::max(largest, differs);
        return differs <= tolerance;
    });
    return largest;
}

void expectListMatches(const Placement& placement, const DBLink* link) {
    std::vector<std::tuple<int, double, Long>> crossing, listed;  // in the order of lists
    auto key = [](auto* lsp) {
        return std::tuple(-lsp->precedence, -lsp->bw[0], lsp->id);
    };
    for (const Placed& placed : placement.lsps)
        if (indexIn(placed.links, link->id) >= 0) crossing.push_back(key(placed.lsp));
    std::sort(crossing.begin(), crossing.end());
    for (Long i = 0; i < link->lspList.top; i++)
        listed.push_back(key(link->lspList.cont[i]));
    EXPECT_EQ(crossing, listed) << "link " << link->id;
}

}  // namespace

double expectTablesMatch(DataBase* db, double tolerance) {
    const Placement placement = placementOf(db);
    double largest = 0.0;
    for (Long id = 0; id < db->linkSrcVec.top; id++) {
        const Long src = DBgetLinkSrc(db, id), dst = DBgetLinkDst(db, id);
        if (src < 0) continue;
        Cells cells = cellsOf(placement, id);
        const DBLinkState* ls = fullState(db, src, dst);
        subtract(&cells, *ls);
        largest = std::max(largest, keepDifferences(&cells, *ls, tolerance));
        EXPECT_THAT(cells, IsEmpty()) << "differences on link " << id;
        expectListMatches(placement, findLink(&db->linkTab, src, dst));
    }
    return largest;
}
