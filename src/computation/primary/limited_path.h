// Primary paths within limits: what a caller wants of a path besides room for it.
//
//     req.path = [source, -1, 4, 5, -1, destination]
//     computeLimitedPath(db, &req, limits)    limits.maxLinks = 6
//
// The nodes of the request's path are passed in this order, with whatever it takes where
// a negative entry stands and by the link between them where none does. Colours that the
// request forbids are avoided whether or not the session has the colour clause. A path
// with nothing to be found is only held against the limits: whether it has room, or is
// there at all, is for DBaddLSP to say.
//
// Without nodes between the ends and with paths short enough, the answer is what
// computePrimaryPath gives in the network without the links that the limits exclude.
// Otherwise it is the path with the least sum of the scores that its links have one by
// one. That is the best score of a path, but for scores of which a link is not the only
// cause or that fall: those for balance, and for delay beyond saturation. These are taken
// as on the first link of a path, and as 0 below that.
#pragma once

#include "common/scoped.h"
#include "computation/computation_st.h"
#include "database/database_st.h"

struct PathLimits {
    LongList colors;  // every link has one of these; empty: any
    LongList nodes;   // that are not passed
    LongList links;   // that are not taken: source and destination of each
    Long maxLinks;    // 0 for any number
};

// No limits.
int pathLimitsInit(PathLimits* limits);
int pathLimitsEnd(PathLimits* limits);

inline bool limitsAreLive(const PathLimits* limits) {
    return limits->colors.cont != nullptr;
}
using ScopedLimits = Scoped<PathLimits, pathLimitsEnd, limitsAreLive>;

enum class LimitedPath {
    FOUND,     // req->path is the path, its score is added to COST
    NO_NODE,   // one of the nodes to be passed is missing
    NO_ROOM,   // no path has room for the request, even without the limits
    NO_WAY,    // no path is within the limits, even without a need of room
    NOT_BOTH,  // paths have room, others are within the limits
    GIVEN_UP,  // there may be one: too many were tried that would pass a node twice, or
               // maxLinks is too large for a network as large as this
    FAILED     // out of memory, or a request that is none; a message says which
};

// Without limits and nodes between the ends this is computePrimaryPath. With any, the
// request's path is left as it was unless one is found. The database does not change.
LimitedPath computeLimitedPath(DataBase* dataBase, LSPRequest* req,
                               const PathLimits& limits);
