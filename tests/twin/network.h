// The network: nodes, links and LSPs in maps by id.
//
// A twin of the library that is plain enough to be seen to be right: records are values,
// every table is computed anew whenever it is asked for, nothing is kept between calls.
// Functions have the library's names without their prefixes and give false for -1.
#pragma once

#include <array>
#include <map>
#include <utility>

#include "twin/messages.h"

namespace twin {

using Ids = std::vector<Long>;
using Hop = std::pair<Long, Long>;
using Row = std::array<double, kLevels>;   // by class or by level
using Matrix = std::array<Row, kClasses>;  // [class][level]
using Cells =
    std::array<std::array<std::vector<double>, kLevels>, kClasses>;  // [failure]

struct LinkState {
    Long color = 0;
    Row cap = {};
    Matrix rbw = {}, pbw = {};
    Cells bbw, fbw;
};

struct Lsp {
    Long id = 0;
    Long partner = -1;
    int precedence = 0;
    Row bw = {};
    Ids forbidden;  // colours
    Ids path;
    int type = 0;
    Long primID = 0;
    Ids primPath;

    bool isBackup() const { return type == 1 || type == 2; }
};

// `partner` is the LSP that it reroutes, and (avoidSrc, avoidDst) the link it then
// avoids.
struct Request : Lsp {
    Long avoidSrc = 0, avoidDst = 0;
};

struct Node {
    Ids in, out;  // ascending
};

struct Link {
    Long id = 0;
    LinkState state;
    std::vector<const Lsp*> lsps;  // least important first
};

struct Database {
    std::map<Long, Node> nodes;
    std::map<Hop, Link> links;
    std::map<Long, Hop> hops;  // of the links, by id
    std::map<Long, Lsp> lsps;
    Long nbNodes = 0, nbLinks = 0;
    // Capacities of the library's tables.
    Long nodeSlots = 1, linkSlots = 1, lspSlots = 1, tabSize = 1;

    Long maxNode() const { return nodes.empty() ? -1 : nodes.rbegin()->first; }
    Long linkTop() const { return hops.empty() ? 0 : hops.rbegin()->first + 1; }
};

template <class Map, class Key>
auto* find(Map& map, const Key& key) {
    const auto it = map.find(key);
    return it != map.end() ? &it->second : nullptr;
}

// Where the value first stands, from index `from` on; -1 if nowhere.
Long indexOf(const Ids& list, Long value, Long from = 0);
bool contains(const Ids& list, Long value);
double total(const Row& row);
std::vector<Hop> hopsOf(const Ids& path);

// Makes room for an id in a table of up to `most` entries.
bool grow(Long* size, Long id, Long most);

bool addNode(Database& db, Long id);
const Node* getNode(const Database& db, Long id);
bool addLink(Database& db, Long id, Hop hop, const LinkState& state);
Long getLinkID(const Database& db, Hop hop);
Long getLinkEnd(const Database& db, Long id, Long Hop::*end);
Link* getLink(Database& db, Hop hop);
bool setLinkState(Database& db, Hop hop, const LinkState& state);
bool setLinkCapacity(Database& db, Hop hop, const Row& cap);
bool removeLink(Database& db, Hop hop);
bool removeNode(Database& db, Long id);
void print(const Database& db);

}  // namespace twin
