// The tables of every link, recomputed the long way from the LSPs that are up.

#include <array>
#include <map>
#include <tuple>

#include "database/stored_link.h"
#include "support/support.h"

namespace {

enum Table { PBW, RBW, BBW, FBW };
// Table, class, level, failing link (of pbw and rbw: 0).
using Cells = std::map<std::tuple<Table, int, int, Long>, double>;

void add(Cells* cells, Table table, const DBLabelSwitchedPath* lsp, Long f, double sign,
         const double* bw) {
    for (int oa = 0; oa < kClasses; oa++)
        (*cells)[{table, oa, lsp->precedence, f}] += sign * bw[oa];
}

Ids linksOf(DataBase* db, const LongList& nodes) {
    Ids links;
    for (Long i = 0; i + 1 < nodes.top; i++)
        links.push_back(DBgetLinkID(db, nodes.cont[i], nodes.cont[i + 1]));
    return links;
}

// -1 if it is not there.
Long indexIn(const Ids& ids, Long id) {
    const auto at = std::find(ids.begin(), ids.end(), id);
    return at == ids.end() ? -1 : static_cast<Long>(at - ids.begin());
}

// Of two primaries of one level that are partners, the one with the higher id needs on
// what they share only what exceeds the other: together they carry the larger bandwidth.
void addPrimary(DataBase* db, Cells* cells, Long link, const DBLabelSwitchedPath* lsp) {
    const DBLabelSwitchedPath* other = DBgetLSP(db, lsp->noContentionId);
    const bool shares = other != nullptr && other->id < lsp->id && other->type == 0 &&
                        other->precedence == lsp->precedence;
    const Ids shared = shares ? linksOf(db, other->path) : Ids();
    double excess[kClasses] = {};
    for (int oa = 0; shares && oa < kClasses; oa++)
        excess[oa] = std::max(0.0, lsp->bw[oa] - other->bw[oa]);
    const bool here = indexIn(shared, link) >= 0;
    add(cells, PBW, lsp, 0, 1.0, here ? excess : lsp->bw);
    for (Long f : linksOf(db, lsp->path))
        add(cells, FBW, lsp, f, 1.0, here && indexIn(shared, f) >= 0 ? excess : lsp->bw);
}

void addBackup(DataBase* db, Cells* cells, Long link, const DBLabelSwitchedPath* lsp) {
    const Ids prim = linksOf(db, lsp->primPath);
    const Ids nodes = values(lsp->primPath);
    const bool local = lsp->type == DB_LOCAL_BACKUP_LSP;
    const Long start = indexIn(nodes, lsp->path.cont[0]);
    const Ids before(prim.begin(), prim.begin() + start);
    const Ids guarded(prim.begin() + start,
                      local ? prim.begin() + start + 1 : prim.end());
    if (indexIn(linksOf(db, lsp->path), link) >= 0)
        for (Long f : guarded) add(cells, BBW, lsp, f, 1.0, lsp->bw);
    const Long hop = indexIn(prim, link);
    const bool bypassed = start <= hop && hop < indexIn(nodes, values(lsp->path).back());
    for (Long f : local ? guarded : before)
        if (hop >= 0 && !(local && bypassed)) add(cells, FBW, lsp, f, -1.0, lsp->bw);
}

// What a failure activates beyond what it frees, levels 0 to p, is its need; M(p) that of
// the worst one. Level p reserves its primaries and M(p) - M(p - 1).
void reserve(DataBase* db, Cells* cells) {
    using Levels = std::array<double, kLevels>;
    std::map<std::pair<int, Long>, Levels> needs;  // failing: link f, or node n as -1 - n
    for (const auto& [cell, bw] : *cells) {
        const auto [table, oa, level, f] = cell;
        if (table != BBW && table != FBW) continue;
        for (Long failure : {f, -1 - DBgetLinkDst(db, f)})
            for (int p = level; p < kLevels; p++)
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
                    (*cells)[{table, oa, p, f}] -= vec.cont[f];
            }
        }
}

void expectLinkMatches(DataBase* db, const DBLink* link) {
    Cells cells;
    std::vector<std::tuple<int, double, Long>> crossing, listed;  // in the order of lists
    auto key = [](auto* lsp) {
        return std::tuple(-lsp->precedence, -lsp->bw[0], lsp->id);
    };
    for (Long id = 0; id < db->lspVec.size; id++) {
        const DBLabelSwitchedPath* lsp = db->lspVec.cont[id];
        if (lsp == nullptr) continue;
        const bool crosses = indexIn(linksOf(db, lsp->path), link->id) >= 0;
        if (crosses) crossing.push_back(key(lsp));
        if (lsp->type != 0) addBackup(db, &cells, link->id, lsp);
        if (lsp->type == 0 && crosses) addPrimary(db, &cells, link->id, lsp);
    }
    reserve(db, &cells);
    subtract(&cells,
             *fullState(db, DBgetLinkSrc(db, link->id), DBgetLinkDst(db, link->id)));
    std::erase_if(cells, [](const auto& cell) { return cell.second == 0.0; });
    EXPECT_THAT(cells, IsEmpty()) << "differences on link " << link->id;
    std::sort(crossing.begin(), crossing.end());
    for (Long i = 0; i < link->lspList.top; i++)
        listed.push_back(key(link->lspList.cont[i]));
    EXPECT_EQ(crossing, listed) << "link " << link->id;
}

}  // namespace

void expectTablesMatch(DataBase* db) {
    for (Long id = 0; id < db->linkSrcVec.top; id++)
        if (const Long src = DBgetLinkSrc(db, id); src >= 0)
            expectLinkMatches(db, findLink(&db->linkTab, src, DBgetLinkDst(db, id)));
}
