// Links: addition, lookup and removal.

#include <algorithm>

#include "database/database.h"
#include "database/live/live.h"
#include "error/error.h"

#define ERROR_SOURCE "database/database.c"

namespace {

bool isReserved(const LongVec* vec, Long id) {
    return id < vec->size && vec->cont[id] > 0;
}

// Makes room for the id in both translation tables, which nothing else grows: so an id
// that is too large for a table is found out before anything has changed.
int reserveId(DataBase* dataBase, Long id) {
    int ret = 0;
    for (LongVec* vec : {&dataBase->linkSrcVec, &dataBase->linkDstVec}) {
        const Long top = vec->top;
        if (longVecSet(vec, id, 0) < 0) ret = -1;
        vec->top = top;
    }
    return ret;
}

// A link record with the id and a copy of the state, or null.
DBLink* makeLink(Long id, DBLinkState* initLinkState) {
    DBLink* link = DBlinkNew();
    if (link == nullptr) return FAIL_WITH(nullptr, "Unable to create link");
    link->id = id;
    if (DBlinkStateCopy(&link->state, initLinkState) < 0) {
        DBlinkDestroy(link);
        return FAIL_WITH(nullptr, "Unable to create link");
    }
    return link;
}

int reserveNeighbour(LongList* list) {
    return list->top < list->size ? 0 : longVecResize(list, 2 * list->size);
}

// Makes room for all that is to change once the link is in the table, so that nothing can
// fail from then on.
int makeRoomForLink(DataBase* dataBase, DBLink* link, Long src, Long dst) {
    if (reserveNeighbour(&dataBase->nodeVec.cont[src]->outNeighb) < 0 ||
        reserveNeighbour(&dataBase->nodeVec.cont[dst]->inNeighb) < 0 ||
        reserveId(dataBase, link->id) < 0)
        return -1;
    return prepareLink(dataBase, link, src, dst)
               ? 0
               : FAIL_WITH(-1, "Critical lack of memory");
}

// Checks the ends and puts the link into the table, which then owns it.
int storeLink(DataBase* dataBase, DBLink* link, Long src, Long dst) {
    if (findNode(&dataBase->nodeVec, src) == nullptr ||
        findNode(&dataBase->nodeVec, dst) == nullptr)
        return FAIL_WITH(-1, "Source or destination node doesn't exist");
    if (findLink(&dataBase->linkTab, src, dst) != nullptr)
        return FAIL_WITH(-1, "Unable to insert a new node in the general node container");
    if (makeRoomForLink(dataBase, link, src, dst) < 0)
        return FAIL_WITH(-1, "Link addition uncomplete");
    if (DBlinkTabSet(&dataBase->linkTab, link, src, dst) == 0) return 0;
    abandonLink(dataBase, link);
    return FAIL_WITH(-1, "Unable to insert a new node in the general node container");
}

void addNeighbour(LongList* list, Long id) {
    longVecPushBack(list, id);
    longListSort(list);
}

// Removes the first entry `id`, or entry 0 if there is none.
int removeNeighbour(LongList* list, Long id) {
    const Long* end = list->cont + list->top;
    const Long* entry = std::find(static_cast<const Long*>(list->cont), end, id);
    return longListRemove(list, entry == end ? 0 : static_cast<Long>(entry - list->cont));
}

Long linkEnd(DataBase* dataBase, Long id, LongVec DataBase::*ends) {
    if (dataBase == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    Long end = 0;
    if (longVecGet(&(dataBase->*ends), id, &end) < 0)
        return FAIL_WITH(-1, "Inexistent link");
    return end - 1;
}

DBLink* existingLink(DataBase* dataBase, Long src, Long dst) {
    if (dataBase == nullptr) return FAIL_WITH(nullptr, "Bad argument (NULL)");
    DBLink* link = findLink(&dataBase->linkTab, src, dst);
    if (link == nullptr)
        return FAIL_WITH(nullptr, "Inexistent Link (src = %d, dst = %d)", src, dst);
    return link;
}

// Removes the links between the node and the entries of one of its neighbour lists, from
// the end of the list. A removal that fails is tried again on what is then there, unless
// it left the list as long as it was: it would fail for ever.
template <class Remove>
int removeLinks(LongList* list, Remove remove) {
    int ret = 0;
    while (list->top > 0) {
        const Long before = list->top;
        if (remove(list->cont[before - 1]) == 0) continue;
        ret = -1;
        if (list->top >= before) break;
    }
    return ret;
}

}  // namespace

int DBaddLink(DataBase* dataBase, Long id, Long src, Long dst,
              DBLinkState* initLinkState) {
    if (dataBase == nullptr || initLinkState == nullptr || id < 0 || src < 0 || dst < 0)
        return FAIL_WITH(-1, "Bad argument (NULL)");
    if (isReserved(&dataBase->linkSrcVec, id) || isReserved(&dataBase->linkDstVec, id))
        return FAIL_WITH(-1, "Trying to add a link with a reserved ID (ID=%d)", id);
    DBLink* link = makeLink(id, initLinkState);
    if (link == nullptr) return -1;
    if (storeLink(dataBase, link, src, dst) < 0) {
        DBlinkDestroy(link);
        return -1;
    }

    addNeighbour(&dataBase->nodeVec.cont[src]->outNeighb, dst);
    addNeighbour(&dataBase->nodeVec.cont[dst]->inNeighb, src);
    dataBase->linkSrcVec.cont[id] = src + 1;
    dataBase->linkDstVec.cont[id] = dst + 1;
    const Long top = std::max(id + 1, dataBase->linkSrcVec.top);
    dataBase->linkSrcVec.top = top;
    dataBase->linkDstVec.top = top;
    dataBase->nbLinks++;
    linkJoins(dataBase, link);
    return 0;
}

Long DBgetLinkID(DataBase* dataBase, Long src, Long dst) {
    if (dataBase == nullptr || src < 0 || dst < 0)
        return FAIL_WITH(-1, "Bad argument (NULL or negative value)");
    const DBLink* link = findLink(&dataBase->linkTab, src, dst);
    return link != nullptr ? link->id : -1;
}

Long DBgetLinkSrc(DataBase* dataBase, Long id) {
    return linkEnd(dataBase, id, &DataBase::linkSrcVec);
}

Long DBgetLinkDst(DataBase* dataBase, Long id) {
    return linkEnd(dataBase, id, &DataBase::linkDstVec);
}

DBLSPList* DBgetLinkLSPs(DataBase* dataBase, Long src, Long dst) {
    DBLink* link = existingLink(dataBase, src, dst);
    return link != nullptr ? &link->lspList : nullptr;
}

DBLinkState* DBgetLinkState(DataBase* dataBase, Long src, Long dst) {
    DBLink* link = existingLink(dataBase, src, dst);
    return link != nullptr && mirrorLink(dataBase, link) == 0 ? &link->state : nullptr;
}

int DBsetLinkState(DataBase* dataBase, Long src, Long dst, DBLinkState* newLS) {
    if (newLS == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    DBLink* link = existingLink(dataBase, src, dst);
    if (link == nullptr || mirrorLink(dataBase, link) < 0) return -1;
    const int copied = DBlinkStateCopy(&link->state, newLS);
    if (stateReplaced(dataBase, link) < 0 || copied < 0)
        return FAIL_WITH(-1, "Impossible to set linkstate on link (src = %d, dst = %d)",
                         src, dst);
    return 0;
}

int DBsetLinkCapacity(DataBase* dataBase, Long src, Long dst,
                      const double (&cap)[kClasses]) {
    DBLink* link = existingLink(dataBase, src, dst);
    if (link == nullptr) return -1;
    std::copy_n(cap, kClasses, link->state.cap);
    viewChanged(&dataBase->live->views, link);
    return 0;
}

int DBremoveLink(DataBase* dataBase, Long src, Long dst) {
    if (dataBase == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    DBNode* source = findNode(&dataBase->nodeVec, src);
    DBNode* destination = findNode(&dataBase->nodeVec, dst);
    DBLink* link = findLink(&dataBase->linkTab, src, dst);
    if (source == nullptr || destination == nullptr || link == nullptr)
        return FAIL_WITH(-1, "Link doesn't exist or database unconsistancy");
    if (!prepareLeave(dataBase, link)) {
        PUSH_ERROR(CRITICAL, "Critical lack of memory");
        return FAIL_WITH(-1, "Link removal uncomplete");
    }

    const Long id = link->id;
    linkLeaves(dataBase, link);
    int ret = 0;
    if (removeNeighbour(&source->outNeighb, dst) < 0) ret = -1;
    if (removeNeighbour(&destination->inNeighb, src) < 0) ret = -1;
    if (DBlinkTabRemove(&dataBase->linkTab, src, dst) < 0) ret = -1;
    if (longVecSet(&dataBase->linkSrcVec, id, 0) < 0) ret = -1;
    if (longVecSet(&dataBase->linkDstVec, id, 0) < 0) ret = -1;
    LongVec* srcVec = &dataBase->linkSrcVec;
    while (srcVec->top > 0 && srcVec->cont[srcVec->top - 1] == 0) srcVec->top--;
    dataBase->nbLinks--;
    countsChanged(dataBase);
    return ret == 0 ? 0 : FAIL_WITH(-1, "Link removal uncomplete");
}

int DBremoveNode(DataBase* dataBase, Long id) {
    if (dataBase == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    DBNode* node = findNode(&dataBase->nodeVec, id);
    if (node == nullptr) return FAIL_WITH(-1, "Trying to remove an inexistent node");
    if (!prepareCounts(dataBase)) {
        PUSH_ERROR(CRITICAL, "Critical lack of memory");
        return FAIL_WITH(-1, "Node removal uncomplete");
    }

    auto removeFrom = [&](Long src) { return DBremoveLink(dataBase, src, id); };
    auto removeTo = [&](Long dst) { return DBremoveLink(dataBase, id, dst); };
    int ret = 0;
    if (removeLinks(&node->inNeighb, removeFrom) < 0) ret = -1;
    if (removeLinks(&node->outNeighb, removeTo) < 0) ret = -1;
    if (DBnodeVecRemove(&dataBase->nodeVec, id) < 0) ret = -1;
    // One less than the links that were removed, and nbNodes stays: the reserved
    // bandwidth counts its failures against both.
    dataBase->nbLinks--;
    nodeLeaves(dataBase);
    return ret == 0 ? 0 : FAIL_WITH(-1, "Node removal uncomplete");
}
