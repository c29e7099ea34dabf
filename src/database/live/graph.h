// The links of a database, flat: what walks over the network read.
//
// Private to the library. The plain records stay the truth. The graph is built from them
// when it is first asked for; from then on a link or node that comes or goes changes its
// own entries only. A walk is one run through memory instead of a lookup in lists and
// tables for every link.
#pragma once

#include "common/array.h"
#include "database/database_st.h"

struct OutLink {
    Long slot;  // of the link (ledger.h)
    DBLink* link;
};

// The links that leave node n have the positions first[n] up to first[n + 1] - 1, heads
// ascending. Those that enter it have the in-positions firstIn[n] up to firstIn[n + 1] -
// 1, tails ascending.
struct Graph {
    bool isBuilt;
    bool knowsTwoWay;
    bool isTwoWay;  // if known: from the head of every link there is a way to its tail
    Array<Long> first;
    Array<Long> heads;  // by position
    Array<OutLink> out;
    Array<Long> firstIn;
    Array<Long> positions;  // by in-position
    Array<Long> tails;

    Long nbLinks() const { return heads.top; }

    Long nodeSlots() const { return first.top - 1; }  // ids of nodes lie below
};

// False if there is no memory; the graph is then not built.
bool buildGraph(const DataBase* dataBase, Graph* graph);
void endGraph(Graph* graph);

// Position of a link, or where it would stand.
Long positionOf(const Graph* graph, Long tail, Long head);

// Say that a link or node has come or gone. Without memory the graph is given up, to be
// built again.
void addToGraph(Graph* graph, Long tail, Long head, const OutLink& link);
void removeFromGraph(Graph* graph, Long tail, Long head);
void addNodeToGraph(Graph* graph, Long node);

// Whether from the head of every link there is a way to its tail: what can be reached
// from a node is then what it can be reached from. Found out once after a change; false
// if there is no memory to find out.
bool isTwoWay(Graph* graph);
