// The primary path search on the flat picture of the network.
//
// Private to the library. Gives the path, the cost and the messages of the topology,
// search and read-out of primaryPath.h, to the last bit, without building a topology: a
// link is admitted from its summary, its score terms are computed once, and it is scored
// again only where that can change something.
#pragma once

#include "computation/computation_st.h"
#include "database/database_st.h"

enum class FastResult { FOUND, UNREACHABLE, NOT_APPLICABLE };

// Replaces req->path as computePrimaryPath does and stores the score of the path.
// UNREACHABLE leaves the path empty and a message. NOT_APPLICABLE changes nothing: the
// request, the configuration or the network is of a kind that needs the long road.
FastResult findPathFast(DataBase* dataBase, LSPRequest* req, double* cost);
