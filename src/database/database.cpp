#include "database/database.h"

#include <algorithm>

#include "database/live/live.h"
#include "error/error.h"

#define ERROR_SOURCE "database/database.c"

namespace {

// Ends the containers that have been made.
void endContainers(DataBase* dataBase) {
    if (dataBase->nodeVec.cont != nullptr) DBnodeVecEnd(&dataBase->nodeVec);
    if (dataBase->lspVec.cont != nullptr) DBlspVecEnd(&dataBase->lspVec);
    if (dataBase->linkTab.cont != nullptr) DBlinkTabEnd(&dataBase->linkTab);
    if (dataBase->linkSrcVec.cont != nullptr) longVecEnd(&dataBase->linkSrcVec);
    if (dataBase->linkDstVec.cont != nullptr) longVecEnd(&dataBase->linkDstVec);
}

int initContainers(DataBase* dataBase) {
    if (DBnodeVecInit(&dataBase->nodeVec, -1) < 0)
        return FAIL_WITH(-1, "Unable to initialize the general node container");
    if (DBlspVecInit(&dataBase->lspVec, -1) < 0)
        return FAIL_WITH(-1, "Unable to initialize the general LSP container");
    if (DBlinkTabInit(&dataBase->linkTab, -1) < 0)
        return FAIL_WITH(-1, "Unable to initialize the general link container");
    if (longVecInit(&dataBase->linkSrcVec, 1) < 0)
        return FAIL_WITH(-1, "Unable to initialize the link id-src translater");
    if (longVecInit(&dataBase->linkDstVec, 1) < 0)
        return FAIL_WITH(-1, "Unable to initialize the link id-dst translater");
    return 0;
}

LongList* neighbours(DataBase* dataBase, Long id, LongList DBNode::*list) {
    if (dataBase == nullptr) return FAIL_WITH(nullptr, "Bad argument (NULL)");
    DBNode* node = findNode(&dataBase->nodeVec, id);
    if (node == nullptr) return FAIL_WITH(nullptr, "Node don't exist (id = %d)", id);
    return &(node->*list);
}

}  // namespace

DataBase* DBnew(Long id) {
    auto* dataBase = static_cast<DataBase*>(mycalloc(1, sizeof(DataBase)));
    if (dataBase == nullptr) return FAIL_WITH(nullptr, "Critical lack of memory");
    dataBase->id = id;
    dataBase->live = newLive();
    if (dataBase->live != nullptr && initContainers(dataBase) == 0) return dataBase;
    if (dataBase->live == nullptr)
        PUSH_ERROR(CRITICAL, "Critical lack of memory");
    else
        endLive(dataBase->live);
    endContainers(dataBase);
    myfree(dataBase);
    return nullptr;
}

int DBdestroy(DataBase* dataBase) {
    if (dataBase == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    endContainers(dataBase);
    endLive(dataBase->live);
    myfree(dataBase);
    return 0;
}

Long DBgetID(DataBase* dataBase) {
    return dataBase != nullptr ? dataBase->id : FAIL_WITH(-1, "Bad argument (NULL)");
}

Long DBgetNbNodes(DataBase* dataBase) {
    return dataBase != nullptr ? dataBase->nbNodes : FAIL_WITH(-1, "Bad argument (NULL)");
}

Long DBgetNbLinks(DataBase* dataBase) {
    return dataBase != nullptr ? dataBase->nbLinks : FAIL_WITH(-1, "Bad argument (NULL)");
}

Long DBgetMaxNodeID(DataBase* dataBase) {
    return dataBase != nullptr ? dataBase->nodeVec.top - 1
                               : FAIL_WITH(-1, "Bad argument (NULL)");
}

int DBaddNode(DataBase* dataBase, Long id) {
    if (dataBase == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    DBNode* node = DBnodeNew();
    if (node == nullptr) return FAIL_WITH(-1, "Unable to create node");
    node->id = id;
    if (DBnodeVecSet(&dataBase->nodeVec, node, id) < 0) {
        DBnodeDestroy(node);
        return FAIL_WITH(-1, "Unable to insert a new node in the general node container");
    }
    dataBase->nbNodes++;
    nodeJoins(dataBase, id);
    return 0;
}

LongList* DBgetNodeInNeighb(DataBase* dataBase, Long id) {
    return neighbours(dataBase, id, &DBNode::inNeighb);
}

LongList* DBgetNodeOutNeighb(DataBase* dataBase, Long id) {
    return neighbours(dataBase, id, &DBNode::outNeighb);
}

DBLabelSwitchedPath* DBgetLSP(DataBase* dataBase, Long id) {
    if (dataBase == nullptr) return FAIL_WITH(nullptr, "Bad argument (NULL)");
    return findLSP(&dataBase->lspVec, id);
}

Long DBgetFreeLSPId(const DataBase* dataBase, Long most) {
    const DBLSPVec* lsps = &dataBase->lspVec;
    Long id = lsps->size;
    while (id > 0 && lsps->cont[id - 1] == nullptr) id--;
    if (id <= most) return id;
    for (id = 0; id <= most; id++)
        if (lsps->cont[id] == nullptr) return id;
    return -1;
}
