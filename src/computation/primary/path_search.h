// The primary path search on the flat network.
//
// Private to the library. Gives the path, the cost and the messages of the topology,
// search and read-out of primaryPath.h, to the last bit, without building a topology: a
// link is admitted by what is known of it, its score terms are computed once, and it is
// scored again only where that can change something.
#pragma once

#include "computation/computation_st.h"
#include "database/database_st.h"

// FOUND replaces req->path as computePrimaryPath does and stores the score of the path.
// FAILED and UNREACHABLE leave a message, UNREACHABLE an empty path. NOT_APPLICABLE
// changes nothing: the request or the configuration is of a kind for the topology.
enum class SearchResult { FOUND, UNREACHABLE, FAILED, NOT_APPLICABLE };

//
// Links that are left out, by position in the graph, are not there for the search.
SearchResult findPath(DataBase* dataBase, LSPRequest* req, double* cost,
                      const bool* isLeftOut = nullptr);
