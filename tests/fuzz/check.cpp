#include "fuzz/check.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <string>

#include "database/database.h"
#include "database/link_book.h"
#include "fuzz/player.h"

std::uint64_t digest = 0;

namespace {

bool isZero(const Matrix& matrix) {
    return std::all_of(matrix.begin(), matrix.end(), [](const Row& row) {
        return std::all_of(row.begin(), row.end(), [](double x) { return x == 0.0; });
    });
}

void dropZeros(std::map<Long, Matrix>* table) {
    std::erase_if(*table, [](const auto& entry) { return isZero(entry.second); });
}

Matrix matrixOf(const double (&table)[kClasses][kLevels]) {
    Matrix matrix;
    for (std::size_t oa = 0; oa < kClasses; oa++)
        std::copy_n(table[oa], kLevels, matrix[oa].begin());
    return matrix;
}

void addVectors(std::map<Long, Matrix>* to, const DoubleVec (&from)[kClasses][kLevels]) {
    for (std::size_t oa = 0; oa < kClasses; oa++)
        for (std::size_t p = 0; p < kLevels; p++)
            for (Long f = 0; f < from[oa][p].size; f++)
                if (from[oa][p].cont[f] != 0.0) (*to)[f][oa][p] += from[oa][p].cont[f];
}

void digestBits(const Matrix& matrix) {
    for (const Row& row : matrix)
        for (double x : row) {
            if (x != x) x = std::numeric_limits<double>::quiet_NaN();
            digest = (digest ^ std::bit_cast<std::uint64_t>(x)) * 0x100000001b3;
            digest ^= digest >> 32;
        }
}

Ids idsOf(const LongList& list) {
    return {list.cont, list.cont + list.top};
}

void compareLink(const DBLink* link, const Model& model, Hop hop, bool tables) {
    const ModelLink& expected = model.links.at(hop);
    require(link->id == expected.id, "id of a link");
    Ids crossing;
    for (Long i = 0; i < link->lspList.top; i++)
        crossing.push_back(link->lspList.cont[i]->id);
    require(crossing == model.crossing(hop), "LSP list of a link");
    if (!expected.known) return;
    require(matrixOf(link->state.rbw) == expected.rbw, "rbw of a link");
    digestBits(matrixOf(link->state.rbw));
    Tables booked = model.tables(hop);
    require(matrixOf(link->state.pbw) == booked.pbw, "pbw of a link");
    if (!tables) return;
    const Tables actual = failureTables(link);
    dropZeros(&booked.bbw);
    dropZeros(&booked.fbw);
    require(actual.bbw == booked.bbw, "bbw of a link");
    require(actual.fbw == booked.fbw, "fbw of a link");
}

void compareNodes(DataBase* db, const Model& model) {
    std::map<Long, std::pair<Ids, Ids>> expected;
    for (Long id : model.nodes) expected[id];
    for (const auto& [hop, link] : model.links) {
        expected[hop.first].second.push_back(hop.second);
        expected[hop.second].first.push_back(hop.first);
    }
    for (Long id = 0; id < db->nodeVec.size; id++) {
        const DBNode* node = db->nodeVec.cont[id];
        require((node != nullptr) == expected.contains(id), "nodes");
        if (node == nullptr) continue;
        require(idsOf(node->inNeighb) == expected[id].first, "incoming neighbours");
        require(idsOf(node->outNeighb) == expected[id].second, "outgoing neighbours");
    }
    const Long top = model.nodes.empty() ? -1 : *model.nodes.rbegin();
    require(DBgetMaxNodeID(db) == top, "highest node");
    require(DBgetNbNodes(db) == model.nbNodes(), "number of nodes");
}

void compareLsps(DataBase* db, const Model& model) {
    std::size_t stored = 0;
    for (Long id = 0; id < db->lspVec.size; id++) {
        const DBLabelSwitchedPath* lsp = db->lspVec.cont[id];
        if (lsp == nullptr) continue;
        stored++;
        const auto expected = model.lsps.find(id);
        require(expected != model.lsps.end() && lsp->id == id, "LSPs");
        require(idsOf(lsp->path) == expected->second.path, "path of an LSP");
        require(lsp->noContentionId == expected->second.partner, "partner of an LSP");
    }
    require(stored == model.lsps.size(), "LSPs");
}

}  // namespace

Tables failureTables(const DBLink* link) {
    Tables tables;
    addVectors(&tables.bbw, link->state.bbw);
    addVectors(&tables.fbw, link->state.fbw);
    for (std::size_t oa = 0; link->book != nullptr && oa < kClasses; oa++) {
        const RecordMap<BookEntry>& entries = link->book->classes[oa].links;
        for (Long i = 0; i < entries.top; i++)
            for (std::size_t p = 0; p < kLevels; p++) {
                tables.bbw[entries.ids[i]][oa][p] += entries.cont[i]->bbw[p];
                tables.fbw[entries.ids[i]][oa][p] += entries.cont[i]->fbw[p];
            }
    }
    dropZeros(&tables.bbw);
    dropZeros(&tables.fbw);
    return tables;
}

void compareWithModel(DataBase* db, const Model& model, bool tables) {
    compareNodes(db, model);
    compareLsps(db, model);
    require(DBgetNbLinks(db) == model.nbLinks(), "number of links");
    std::size_t stored = 0;
    for (Long id = 0; id < db->linkSrcVec.top; id++) {
        if (db->linkSrcVec.cont[id] == 0) continue;
        stored++;
        const Hop hop = {db->linkSrcVec.cont[id] - 1, db->linkDstVec.cont[id] - 1};
        const DBLink* link = findLink(&db->linkTab, hop.first, hop.second);
        require(link != nullptr && model.links.contains(hop), "links");
        compareLink(link, model, hop, tables);
    }
    require(stored == model.links.size(), "links");
}
