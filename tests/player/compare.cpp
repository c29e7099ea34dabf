#include "player/compare.h"

#include <algorithm>
#include <cmath>

using twin::Hop;
using twin::Ids;

std::string show(Long value) {
    return std::to_string(value);
}

std::string show(double value) {
    return std::isnan(value) ? "nan" : twin::format("%a", value);
}

std::string show(const std::string& text) {
    return text;
}

Ids idsOf(const LongList& list) {
    return {list.cont, list.cont + list.top};
}

void fill(LongList* to, const Ids& from) {
    to->top = 0;
    for (Long id : from) longVecPushBack(to, id);
}

namespace {

// To exactly that size, which tells how much a copy overwrites.
void fill(DoubleVec* to, const std::vector<double>& from) {
    dblVecResize(to, static_cast<Long>(std::max<std::size_t>(from.size(), 1)));
    std::copy(from.begin(), from.end(), to->cont);
}

}  // namespace

void fill(DBLinkState* to, const twin::LinkState& from) {
    to->color = from.color;
    for (std::size_t oa = 0; oa < kClasses; oa++) {
        to->cap[oa] = from.cap[oa];
        for (std::size_t p = 0; p < kLevels; p++) {
            to->rbw[oa][p] = from.rbw[oa][p];
            to->pbw[oa][p] = from.pbw[oa][p];
            fill(&to->bbw[oa][p], from.bbw[oa][p]);
            fill(&to->fbw[oa][p], from.fbw[oa][p]);
        }
    }
}

// What LSPs and requests have in common.
template <class Record, class Plain>
void fillAsked(Record* to, const Plain& from) {
    to->id = from.id;
    to->precedence = from.precedence;
    std::copy(from.bw.begin(), from.bw.end(), to->bw);
    to->type = static_cast<DBLSPType>(from.type);
    to->primID = from.primID;
    fill(&to->forbidLinks, from.forbidden);
    fill(&to->path, from.path);
}

void fill(DBLabelSwitchedPath* to, const twin::Lsp& from) {
    fillAsked(to, from);
    to->noContentionId = from.partner;
    fill(&to->primPath, from.primPath);
}

void fill(LSPRequest* to, const twin::Request& from) {
    fillAsked(to, from);
    to->rerouteInfo = {from.partner, from.avoidSrc, from.avoidDst};
}

DBLink* storedLink(const DataBase* db, Hop hop) {
    const auto [src, dst] = hop;
    const Long size = db->linkTab.size;
    return src >= 0 && dst >= 0 && src < size && dst < size ? db->linkTab.cont[src][dst]
                                                            : nullptr;
}

namespace {

void compareRows(const double* actual, const twin::Row& expected, const char* what) {
    for (std::size_t i = 0; i < expected.size(); i++)
        if (!isSame(expected[i], actual[i]))
            within(what, static_cast<Long>(i),
                   [&] { expect(expected[i], actual[i], ""); });
}

void compareTables(const DBLinkState* state, const twin::LinkState& expected) {
    expect(expected.color, state->color, "color");
    compareRows(state->cap, expected.cap, "cap");
    for (std::size_t oa = 0; oa < kClasses; oa++)
        within("class", static_cast<Long>(oa), [&] {
            compareRows(state->pbw[oa], expected.pbw[oa], "pbw");
            compareRows(state->rbw[oa], expected.rbw[oa], "rbw");
        });
}

void compareCells(const DoubleVec& actual, const std::vector<double>& expected) {
    if (actual.cont == nullptr) throw Difference("is gone");
    const auto size = static_cast<std::size_t>(actual.size);
    for (std::size_t f = 0; f < std::max(size, expected.size()); f++)
        within("failure", static_cast<Long>(f), [&] {
            expect(f < expected.size() ? expected[f] : 0.0,
                   f < size ? actual.cont[f] : 0.0, "bandwidth");
        });
}

void compareNode(const DBNode* actual, const twin::Node* node, Long id) {
    expect(Long{node != nullptr}, Long{actual != nullptr}, "there");
    if (node == nullptr) return;
    expect(id, actual->id, "id");
    expect(node->in, idsOf(actual->inNeighb), "in");
    expect(node->out, idsOf(actual->outNeighb), "out");
}

void compareLink(const DBLink* actual, const twin::Link* link) {
    expect(Long{link != nullptr}, Long{actual != nullptr}, "there");
    if (link == nullptr) return;
    expect(link->id, actual->id, "id");
    compareTables(&actual->state, link->state);
    Ids crossing, actualCrossing;
    for (const twin::Lsp* lsp : link->lsps) crossing.push_back(lsp->id);
    for (Long i = 0; i < actual->lspList.top; i++)
        actualCrossing.push_back(actual->lspList.cont[i]->id);
    expect(crossing, actualCrossing, "LSPs");
}

void compareLsp(const DBLabelSwitchedPath* actual, const twin::Lsp* lsp) {
    expect(Long{lsp != nullptr}, Long{actual != nullptr}, "there");
    if (lsp == nullptr) return;
    expect(Ids{lsp->id, lsp->partner, lsp->precedence, lsp->type, lsp->primID},
           Ids{actual->id, actual->noContentionId, actual->precedence, actual->type,
               actual->primID},
           "id, partner, precedence, type, primary");
    compareRows(actual->bw, lsp->bw, "bw");
    expect(lsp->forbidden, idsOf(actual->forbidLinks), "colours");
    expect(lsp->path, idsOf(actual->path), "path");
    expect(lsp->primPath, idsOf(actual->primPath), "primary path");
}

void compareConnects(const BKConnectVec& actual,
                     const std::vector<twin::Connect>& expected) {
    expect(static_cast<Long>(expected.size()), actual.top, "number");
    for (std::size_t i = 0; i < expected.size(); i++)
        within("connection", static_cast<Long>(i), [&] {
            expect(expected[i].neighb, actual.cont[i].neighbId, "neighbour");
            compareRows(actual.cont[i].info.gain, expected[i].gain, "gain");
            compareState(actual.cont[i].linkState, *expected[i].state);
        });
}

}  // namespace

void compareDatabase(const DataBase* db, const twin::Database& expected) {
    expect(Ids{expected.nbNodes, expected.nbLinks, expected.maxNode() + 1,
               expected.linkTop(), expected.nodeSlots, expected.linkSlots,
               expected.lspSlots, expected.tabSize},
           Ids{db->nbNodes, db->nbLinks, db->nodeVec.top, db->linkSrcVec.top,
               db->nodeVec.size, db->linkSrcVec.size, db->lspVec.size, db->linkTab.size},
           "nbNodes, nbLinks, top of nodes and links, slots");
    for (Long id = 0; id < db->nodeVec.size; id++)
        within("node", id, [&] {
            compareNode(db->nodeVec.cont[id], twin::find(expected.nodes, id), id);
        });
    for (Long id = 0; id < db->linkSrcVec.size; id++)
        within("link id", id, [&] {
            const Hop* hop = twin::find(expected.hops, id);
            expect(hop != nullptr ? hop->first + 1 : 0, db->linkSrcVec.cont[id], "tail");
            expect(hop != nullptr ? hop->second + 1 : 0, db->linkDstVec.cont[id], "head");
        });
    for (Long src = 0; src < db->linkTab.size; src++)
        for (Long dst = 0; dst < db->linkTab.size; dst++)
            within("link from", src, [&] {
                within("to", dst, [&] {
                    compareLink(db->linkTab.cont[src][dst],
                                twin::find(expected.links, Hop(src, dst)));
                });
            });
    for (Long id = 0; id < db->lspVec.size; id++)
        within("LSP", id,
               [&] { compareLsp(db->lspVec.cont[id], twin::find(expected.lsps, id)); });
}

void compareState(const DBLinkState* state, const twin::LinkState& expected) {
    compareTables(state, expected);
    for (std::size_t oa = 0; oa < kClasses; oa++)
        for (std::size_t p = 0; p < kLevels; p++)
            within("bbw, fbw of class and level", static_cast<Long>(10 * oa + p), [&] {
                compareCells(state->bbw[oa][p], expected.bbw[oa][p]);
                compareCells(state->fbw[oa][p], expected.fbw[oa][p]);
            });
}

void compareTopology(const BKTopology& topo, const twin::Topology& expected) {
    expect(
        Ids{static_cast<Long>(expected.nodes.size()), expected.top(), expected.nbLinks},
        Ids{topo.nodeVec.top, topo.nodeInd.top, topo.nbLinks}, "topology");
    for (std::size_t i = 0; i < expected.nodes.size(); i++)
        within("built node", expected.nodes[i].id, [&] {
            const twin::TopoNode& node = expected.nodes[i];
            const BKNode& actual = topo.nodeVec.cont[i];
            expect(Ids{node.id, node.elected, node.candidate},
                   Ids{actual.nodeId, actual.neighbInd, actual.info.newNeighbInd},
                   "id, elected, candidate");
            expect(node.cost, actual.info.cost, "cost");
            expect(node.newCost, actual.info.newCost, "new cost");
            compareRows(actual.info.sum, node.sum, "sum");
            compareRows(actual.info.newSum, node.newSum, "new sum");
            compareConnects(actual.inNeighb, node.in);
            compareConnects(actual.outNeighb, node.out);
        });
}

void compareStack(const ErrorList& stack, const twin::Stack* expected, std::size_t from) {
    expect(Long{expected != nullptr}, Long{stack.list != nullptr}, "error stack");
    if (expected == nullptr) return;
    for (std::size_t i = from; i < static_cast<std::size_t>(stack.top); i++) {
        const std::string actual = twin::masked(stack.list[i].message);
        if (i >= expected->messages.size())
            throw Difference("one message too many: " + actual);
        expect(expected->messages[i].text, actual, "message");
        expect(Long{expected->messages[i].level}, Long{stack.list[i].gravity}, "gravity");
    }
    expect(Ids{static_cast<Long>(expected->messages.size()), expected->size},
           Ids{stack.top, stack.size}, "number of messages and slots");
}
