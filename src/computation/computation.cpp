#include "computation/computation.h"

#include <cstring>

#include "error/error.h"

#define ERROR_SOURCE "computation/computation.c"

namespace {

// The lists of a zeroed record; none is left behind on failure.
int initLists(LSPRequest* req) {
    if (longVecInit(&req->forbidLinks, -1) == 0) {
        if (longVecInit(&req->path, -1) == 0) return 0;
        longVecEnd(&req->forbidLinks);
    }
    return FAIL_WITH(-1, "Unable to create label switched path request");
}

int reset(LSPRequest* req) {
    *req = {};
    req->rerouteInfo.id = -1;
    return initLists(req);
}

// Initialises requests from..to-1, or none.
int initRange(LSPRequest* cont, Long from, Long to) {
    for (Long i = from; i < to; i++) {
        if (lspRequestInit(&cont[i]) == 0) continue;
        PUSH_ERROR(CRITICAL, "Error while initialisation of LSPRequest");
        while (--i >= from) lspRequestEnd(&cont[i]);
        return -1;
    }
    return 0;
}

}  // namespace

LSPRequest* lspRequestNew() {
    auto* req = static_cast<LSPRequest*>(mycalloc(1, sizeof(LSPRequest)));
    if (req == nullptr) return FAIL_WITH(nullptr, "Critical lack of memory");
    if (reset(req) < 0) {
        myfree(req);
        return nullptr;
    }
    return req;
}

int lspRequestInit(LSPRequest* req) {
    if (req == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    return reset(req);
}

int lspRequestDestroy(LSPRequest* req) {
    if (lspRequestEnd(req) < 0) return -1;
    myfree(req);
    return 0;
}

int lspRequestEnd(LSPRequest* req) {
    if (req == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    longVecEnd(&req->forbidLinks);
    longVecEnd(&req->path);
    return 0;
}

int lspRequestCopy(LSPRequest* dst, LSPRequest* src) {
    if (dst == nullptr || src == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    dst->id = src->id;
    dst->primID = src->primID;
    dst->precedence = src->precedence;
    dst->type = src->type;
    dst->rerouteInfo = src->rerouteInfo;
    const int forbidLinks = longVecCopy(&dst->forbidLinks, &src->forbidLinks);
    const int path = longVecCopy(&dst->path, &src->path);
    if (forbidLinks < 0 || path < 0)
        return FAIL_WITH(-1, "Label switched path request copy uncomplete");
    return 0;
}

Long lspRequestListSize(LSPRequestList* reqList) {
    if (reqList == nullptr) return FAIL_WITH(-1, "LSPRequestList == NULL");
    return reqList->size;
}

LSPRequest* lspRequestListGet(LSPRequestList* reqList, Long index) {
    if (reqList == nullptr) return FAIL_WITH(nullptr, "LSPRequestList == NULL");
    if (index < 0 || index >= reqList->size)
        return FAIL_WITH(nullptr, "Out of bound index");
    return &reqList->cont[index];
}

int lspRequestListSet(LSPRequestList*, LSPRequest*, Long) {
    return FAIL_WITH(0, "Trying to call an undefined function");
}

int lspRequestListInit(LSPRequestList* reqList, Long size) {
    if (reqList == nullptr) return FAIL_WITH(-1, "LSPRequestList == NULL");
    if (size < 1) size = 1;
    void* cont = mycalloc(static_cast<std::size_t>(size), sizeof(LSPRequest));
    if (cont == nullptr)
        return FAIL_WITH(-1, "Impossible to allocate memory for LSPRequestList");
    reqList->cont = static_cast<LSPRequest*>(cont);
    if (initRange(reqList->cont, 0, size) < 0) {
        myfree(reqList->cont);
        reqList->cont = nullptr;
        return -1;
    }
    reqList->size = size;
    return 0;
}

int lspRequestListEnd(LSPRequestList* reqList) {
    if (reqList == nullptr) return FAIL_WITH(-1, "LSPRequestList == NULL");
    for (Long i = 0; i < reqList->size; i++) lspRequestEnd(&reqList->cont[i]);
    myfree(reqList->cont);
    return 0;
}

int lspRequestListResize(LSPRequestList* reqList, Long size) {
    if (reqList == nullptr) return FAIL_WITH(-1, "LSPRequestList == NULL");
    if (size < 0) size = 0;
    if (size > reqList->size) {
        void* cont =
            myrealloc(reqList->cont, static_cast<std::size_t>(size) * sizeof(LSPRequest));
        if (cont == nullptr)
            return FAIL_WITH(-1, "Impossible to allocate memory for LSPRequestList");
        reqList->cont = static_cast<LSPRequest*>(cont);
        if (initRange(reqList->cont, reqList->size, size) < 0) return -1;
    } else {
        for (Long i = reqList->size - 1; i >= size; i--) lspRequestEnd(&reqList->cont[i]);
    }
    reqList->size = size;
    return 0;
}
