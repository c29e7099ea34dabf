// Primary paths: topology of a request, link score, search and driver.
//
//     computePrimaryPath(db, &req)      req.path: [source, ..., destination] -> the path
//       initTopo, fillTopo              the links that admit the request
//       bellmanKalaba                   best path to every node that can be reached
//       updateRequest                   read out the destination's path
//       endTopo
#pragma once

#include "common/scoped.h"
#include "computation/computation_st.h"
#include "computation/primary/primaryPath_util.h"

// Replaces req->path, which carries source and destination in its first and last entry,
// by the nodes of the path found, and adds its score to COST. On -1 the path may be
// partly written; database, configuration and COST are unchanged.
int computePrimaryPath(DataBase* dataBase, LSPRequest* req);

// First and last node of the request's path; -1 unless it has two entries or more with
// both ends known.
int getRequestSrc(LSPRequest* req);
int getRequestDst(LSPRequest* req);

// An empty topology; `size` is the initial capacity of nodeInd, -1 for the default.
int initTopo(BKTopology* topo, Long size);

// Builds the nodes that can be reached from the request's source, through inadmissible
// links too, and connects them by the links that admit the request.
int fillTopo(DataBase* dataBase, LSPRequest* req, BKTopology* topo);
int endTopo(BKTopology* topo);

// Prints the topology to standard output, in the order of ids; ends with -1 at the first
// id that is not in it.
int printTopo(BKTopology* topo);

inline bool topoIsLive(const BKTopology* topo) {
    return topo->nodeInd.cont != nullptr;
}
using ScopedTopo = Scoped<BKTopology, endTopo, topoIsLive>;

// Sets the sums of the source to the current utilisations of the admitted links.
int initScore(Long src, BKTopology* topo);

// The score of the path to dst through src and `connect`, the link between them as it
// stands among dst's incoming ones: src's score plus what the request adds on the link,
// all of it raised by the price of rerouting. +infinity for a link not to be used. The
// congestion term has the slopes of Fortz and Thorup, "Internet Traffic Engineering by
// Optimizing OSPF Weights" (INFOCOM 2000), with breakpoints of its own.
double makeScore(BKTopology* topo, LSPRequest* req, Long src, Long dst,
                 BKConnect* connect);

// Finds, pass by pass, a best path from the request's source to every node: scores in
// info.cost, predecessors in neighbInd. Ends with the first pass that changes nothing,
// which is certain only with weights that are not negative. Among equal scores the path
// elected first stays; an improvement is one of more than 1e-10.
int bellmanKalaba(BKTopology* topo, LSPRequest* req);

// Steps of the search: 1 if dst is not on the predecessor chain of src; what an elected
// candidate and an activated node carry along for the load balance term.
int noLoop(BKTopology* topo, Long src, Long dst);
int updateNodeInfoOnElect(BKTopology* topo, LSPRequest* req, Long src, Long dst,
                          BKConnect* connect);
int activateNodeInfo(BKTopology* topo, Long nd);

// Writes the path that the search left for the request's destination.
int updateRequest(BKTopology* topo, LSPRequest* req);

// Position in nodeVec of a node id. Ids never built, also those at or beyond
// nodeInd.top, read 0: the source.
inline Long nodePosition(const BKTopology* topo, Long id) {
    return id >= 0 && id < topo->nodeInd.top ? topo->nodeInd.cont[id] : 0;
}

inline BKNode* topoNode(const BKTopology* topo, Long id) {
    return &topo->nodeVec.cont[nodePosition(topo, id)];
}
