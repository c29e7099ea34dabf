// The network of a database, flat: what walks over all nodes or all links reads.
//
// Private to the library. The plain records stay the truth; this is built from them on
// demand and again after a node or link has come or gone, which costs one pass over the
// network. Between such changes a walk is one run through memory instead of a lookup in
// lists and tables per link (bench/primary.cpp).
#pragma once

#include "database/database_st.h"

struct TopoLink {
    Long id;
    Long tail;
    Long head;
    DBLink* link;  // null for a free id
};

// Where an out-link leads, for walks that read nothing else.
struct OutHop {
    Long head;
    Long inPosition;  // of the link among the in-links
};

struct DBTopology {
    std::uint32_t version;  // of the database when this was built
    Long nbNodes;           // counters of the database then: the failures that count
    Long nbLinks;           //   depend on them
    Long nodeSlots;         // node ids in use lie below
    Long linkSlots;         // link ids likewise
    Long linkLimit;         // failures that count: links with ids below
    Long nodeLimit;         //   and nodes with ids below
    bool consistent;        // every link stands in both its nodes' lists of neighbours
    bool connected;         // then: every node can be reached from every other

    TopoLink* byId;
    Long* outById;  // position among the out-links, if consistent
    Long nbFree;    // ids below linkSlots that no link has
    // In-links of node n: in[firstIn[n]] up to in[firstIn[n + 1] - 1], tails ascending.
    Long* firstIn;
    TopoLink* in;
    Long* inIds;    // of `in`, for the walks that read nothing else
    Long* outOfIn;  // positions of `in` among the out-links, if consistent
    // Out-links likewise, heads ascending.
    Long* firstOut;
    TopoLink* out;
    OutHop* hops;  // of `out`, if consistent
};

// The current picture, owned by the database; null, without a message, if there is no
// memory for it.
DBTopology* currentTopology(DataBase* dataBase);

// Says that a node or link has come or gone.
inline void topologyChanged(DataBase* dataBase) {
    dataBase->version++;
}

void endTopology(DBTopology* topology);
