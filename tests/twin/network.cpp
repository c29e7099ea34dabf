#include "twin/network.h"

#include <algorithm>

namespace twin {

namespace {

constexpr const char* kHere = "database/database.c";
constexpr const char* kUtil = "database/database_util.c";
constexpr Long kMostBytes = 2147483647;  // that a block can tell of itself

void printIds(const Ids& ids) {
    for (Long id : ids) now.out += format("%d ", id);
}

void printLink(const Link& link) {
    now.out += "\tList of LSPs\n\t------------\n";
    for (const Lsp* lsp : link.lsps) now.out += format("%d ", lsp->id);
    now.out += "\n\n\tLink-state\n\t----------\n";
    for (std::size_t oa = 0; oa < kClasses; oa++)
        now.out += format("\tCapacity[%zu] = %f\n\tpbw[%zu] = %f\n\trbw[%zu] = %f\n", oa,
                          link.state.cap[oa], oa, total(link.state.pbw[oa]), oa,
                          total(link.state.rbw[oa]));
    now.out += "\n\n";
}

}  // namespace

Long indexOf(const Ids& list, Long value, Long from) {
    for (auto i = static_cast<std::size_t>(from); i < list.size(); i++)
        if (list[i] == value) return static_cast<Long>(i);
    return -1;
}

bool contains(const Ids& list, Long value) {
    return indexOf(list, value) >= 0;
}

double total(const Row& row) {
    double sum = 0.0;
    for (double value : row) sum += value;
    return sum;
}

std::vector<Hop> hopsOf(const Ids& path) {
    std::vector<Hop> hops;
    for (std::size_t i = 0; i + 1 < path.size(); i++)
        hops.emplace_back(path[i], path[i + 1]);
    return hops;
}

bool grow(Long* size, Long id, Long most) {
    if (id < *size) return true;
    if (id >= most) return false;
    *size = std::max(id + 1, 2 * *size);
    return true;
}

bool addNode(Database& db, Long id) {
    if (id < 0)
        fail(kUtil, "Bad argument (NULL)");
    else if (!grow(&db.nodeSlots, id, kMostBytes / 8)) {
        fail(kUtil, "Critical lack of memory");
        fail(kUtil, "Unable to resize node vector prior to insertion");
    } else if (db.nodes.contains(id))
        fail(kUtil, "Trying to add a node with a reserved ID");
    else {
        db.nodes[id];
        db.nbNodes++;
        return true;
    }
    return fail(kHere, "Unable to insert a new node in the general node container");
}

const Node* getNode(const Database& db, Long id) {
    const Node* node = find(db.nodes, id);
    if (node == nullptr) fail(kHere, format("Node don't exist (id = %d)", id));
    return node;
}

bool addLink(Database& db, Long id, Hop hop, const LinkState& state) {
    const auto [src, dst] = hop;
    if (id < 0 || src < 0 || dst < 0) return fail(kHere, "Bad argument (NULL)");
    if (db.hops.contains(id))
        return fail(kHere, format("Trying to add a link with a reserved ID (ID=%d)", id));
    if (!db.nodes.contains(src) || !db.nodes.contains(dst))
        return fail(kHere, "Source or destination node doesn't exist");
    if (db.links.contains(hop))
        return fail(kHere, "Unable to insert a new node in the general node container");
    if (!grow(&db.linkSlots, id, kMostBytes / 4)) {
        for (int ends = 0; ends < 2; ends++) {
            fail("common/common.c", "Critical lack of memory");
            fail("common/common.c", "Unable to resize long vector");
        }
        return fail(kHere, "Link addition uncomplete");
    }
    grow(&db.tabSize, std::max(src, dst), kMostBytes);
    db.links[hop] = {id, state, {}};
    db.hops[id] = hop;
    for (auto [list, end] :
         {std::pair(&db.nodes[src].out, dst), {&db.nodes[dst].in, src}}) {
        list->push_back(end);
        std::sort(list->begin(), list->end());
    }
    db.nbLinks++;
    return true;
}

Long getLinkID(const Database& db, Hop hop) {
    if (hop.first < 0 || hop.second < 0) {
        fail(kHere, "Bad argument (NULL or negative value)");
        return -1;
    }
    const Link* link = find(db.links, hop);
    return link != nullptr ? link->id : -1;
}

Long getLinkEnd(const Database& db, Long id, Long Hop::*end) {
    if (id < 0 || id >= db.linkSlots) {
        fail("common/common.c",
             id < 0 ? "Bad argument (index < 0)" : "Bad argument (wrong index)");
        fail(kHere, "Inexistent link");
        return -1;
    }
    const Hop* hop = find(db.hops, id);
    return hop != nullptr ? hop->*end : -1;
}

Link* getLink(Database& db, Hop hop) {
    Link* link = find(db.links, hop);
    if (link == nullptr)
        fail(kHere,
             format("Inexistent Link (src = %d, dst = %d)", hop.first, hop.second));
    return link;
}

// Vectors that are longer here keep what the other's do not have.
bool setLinkState(Database& db, Hop hop, const LinkState& state) {
    Link* link = getLink(db, hop);
    if (link == nullptr) return false;
    const LinkState old = std::exchange(link->state, state);
    for (auto cells : {&LinkState::bbw, &LinkState::fbw})
        for (std::size_t oa = 0; oa < kClasses; oa++)
            for (std::size_t p = 0; p < kLevels; p++) {
                auto& to = (link->state.*cells)[oa][p];
                const auto& from = (old.*cells)[oa][p];
                for (std::size_t f = to.size(); f < from.size(); f++)
                    to.push_back(from[f]);
            }
    return true;
}

bool setLinkCapacity(Database& db, Hop hop, const Row& cap) {
    Link* link = getLink(db, hop);
    if (link != nullptr) link->state.cap = cap;
    return link != nullptr;
}

bool removeLink(Database& db, Hop hop) {
    const Link* link = find(db.links, hop);
    if (link == nullptr)
        return fail(kHere, "Link doesn't exist or database unconsistancy");
    std::erase(db.nodes[hop.first].out, hop.second);
    std::erase(db.nodes[hop.second].in, hop.first);
    db.hops.erase(link->id);
    db.links.erase(hop);
    db.nbLinks--;
    return true;
}

bool removeNode(Database& db, Long id) {
    Node* node = find(db.nodes, id);
    if (node == nullptr) return fail(kHere, "Trying to remove an inexistent node");
    while (!node->in.empty()) removeLink(db, {node->in.back(), id});
    while (!node->out.empty()) removeLink(db, {id, node->out.back()});
    db.nodes.erase(id);
    db.nbLinks--;
    return true;
}

void print(const Database& db) {
    now.out += "Printing info about nodes ...\n-----------------------------\n";
    for (const auto& [id, node] : db.nodes) {
        now.out += format("Node id : %d\n-------------\nIncoming neighboors : \n", id);
        printIds(node.in);
        now.out += "\nOutgoing neighboors : \n";
        printIds(node.out);
        now.out += "\n";
    }
    now.out += "\nPrinting info about links ...\n-----------------------------\n";
    for (const auto& [hop, link] : db.links) {
        now.out += format("Link %d-%d (id = %d)\n-----------------------\n", hop.first,
                          hop.second, link.id);
        printLink(link);
    }
}

}  // namespace twin
