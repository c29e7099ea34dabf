// Requests: what path computations and admission tests work on.
#pragma once

#include "common/common.h"
#include "database/lsp_type.h"

struct LSPrerouteInfo {
    Long id;   // LSP that the request reroutes and does not contend with; -1: none
    Long src;  // directed link that must not be used, looked at only with an id
    Long dst;
};

struct LSPRequest {
    Long id;
    Long primID;  // for a backup, the primary that it protects
    LSPrerouteInfo rerouteInfo;
    int precedence;        // preemption level, 0 (most important) to 7
    double bw[kClasses];   // bandwidth asked for, per class
    LongList forbidLinks;  // colours (not ids) of the links to avoid
    LongList path;         // nodes; a negative entry marks a part yet to be computed
    DBLSPType type;
};

// Requests by value; capacity and count are the same.
struct LSPRequestList {
    LSPRequest* cont;
    Long size;
};
