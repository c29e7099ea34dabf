// LSP requests and lists of them: making, copying, releasing.
//
// A request owns its two lists, a list owns its requests.
#pragma once

#include "common/scoped.h"
#include "computation/computation_st.h"

// A request of all zeros but rerouteInfo.id, which is -1, with empty lists.
LSPRequest* lspRequestNew();
int lspRequestInit(LSPRequest* req);
int lspRequestDestroy(LSPRequest* req);
int lspRequestEnd(LSPRequest* req);

// Copies everything but the bandwidths: dst keeps its own. If a list cannot be copied,
// the other still is.
int lspRequestCopy(LSPRequest* dst, LSPRequest* src);

inline bool requestIsLive(const LSPRequest* req) {
    return req->path.cont != nullptr;
}
using ScopedRequest = Scoped<LSPRequest, lspRequestEnd, requestIsLive>;

Long lspRequestListSize(LSPRequestList* reqList);

// The request at `index` itself, or null.
LSPRequest* lspRequestListGet(LSPRequestList* reqList, Long index);

// Not implemented: pushes a message, changes nothing and returns 0.
int lspRequestListSet(LSPRequestList* reqList, LSPRequest* req, Long index);

// `size` initialised requests, at least one.
int lspRequestListInit(LSPRequestList* reqList, Long size);

// Ends the requests and frees the array; the record's fields keep their values.
int lspRequestListEnd(LSPRequestList* reqList);

// Ends requests from the end of the list, or adds initialised ones; a size below 0
// counts as 0. On failure the list keeps its size and requests.
int lspRequestListResize(LSPRequestList* reqList, Long size);

inline bool requestsAreLive(const LSPRequestList* list) {
    return list->cont != nullptr;
}
using ScopedRequestList = Scoped<LSPRequestList, lspRequestListEnd, requestsAreLive>;
