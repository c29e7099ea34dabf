#include "database/live/copy.h"
#include "database/database.h"
#include "database/live/live.h"
#include "error/error.h"

#define ERROR_SOURCE "database/database.c"

// Record by record. Counters, capacities of tables and sums of bandwidth are history,
// which nothing could work out again: all is taken over as it is.

namespace {

bool copyNode(DataBase* to, DBNode* from) {
    DBNode* node = DBnodeNew();
    if (node == nullptr) return false;
    node->id = from->id;
    DBnodeVecSet(&to->nodeVec, node, node->id);
    return longVecCopy(&node->inNeighb, &from->inNeighb) == 0 &&
           longVecCopy(&node->outNeighb, &from->outNeighb) == 0;
}

bool copyLsp(DataBase* to, DBLabelSwitchedPath* from) {
    DBLabelSwitchedPath* lsp = DBlspNew();
    if (lsp == nullptr) return false;
    DBlspVecSet(&to->lspVec, lsp, from->id);
    return DBlspCopy(lsp, from) == 0;
}

// The LSPs of the list are those of the other database.
bool copyLspList(const DataBase* to, DBLSPList* list, const DBLSPList& from) {
    DBlspListEnd(list);
    if (DBlspListInit(list, from.size) < 0) return false;
    list->top = from.top;
    for (Long i = 0; i < from.top; i++)
        list->cont[i] = findLSP(&to->lspVec, from.cont[i]->id);
    return true;
}

bool copyLink(DataBase* to, DBLink* from) {
    DBLink* link = DBlinkNew();
    if (link == nullptr) return false;
    DBlinkTabSet(&to->linkTab, link, from->ledger->tail, from->ledger->head);
    link->id = from->id;
    return DBlinkStateCopy(&link->state, &from->state) == 0 &&
           copyLspList(to, &link->lspList, from->lspList) && copyLedger(link, from);
}

// Calls copy(to, record) for the records of a table.
template <class Table, class Copy>
bool copyEach(DataBase* to, const Table& from, Copy copy) {
    for (Long id = 0; id < from.size; id++)
        if (from.cont[id] != nullptr && !copy(to, from.cont[id])) return false;
    return true;
}

bool copyAll(DataBase* to, DataBase* from) {
    to->nbNodes = from->nbNodes;
    to->nbLinks = from->nbLinks;
    if (DBnodeVecResize(&to->nodeVec, from->nodeVec.size) < 0 ||
        DBlspVecResize(&to->lspVec, from->lspVec.size) < 0 ||
        DBlinkTabResize(&to->linkTab, from->linkTab.size) < 0 ||
        longVecCopy(&to->linkSrcVec, &from->linkSrcVec) < 0 ||
        longVecCopy(&to->linkDstVec, &from->linkDstVec) < 0 ||
        !copyEach(to, from->nodeVec, copyNode) || !copyEach(to, from->lspVec, copyLsp))
        return false;
    for (DBLink* link : from->live->bySlot)
        if (link != nullptr && !copyLink(to, link)) return false;
    return copyLive(to, from);
}

}  // namespace

DataBase* DBcopy(DataBase* dataBase) {
    if (dataBase == nullptr) return FAIL_WITH(nullptr, "Bad argument (NULL)");
    DataBase* copy = DBnew(dataBase->id);
    if (copy != nullptr && copyAll(copy, dataBase)) return copy;
    if (copy != nullptr) DBdestroy(copy);
    return FAIL_WITH(nullptr, "Unable to copy: Critical lack of memory");
}
