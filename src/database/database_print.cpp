// The printout of a database on standard output.

#include <cstdio>
#include <numeric>

#include "database/database.h"

namespace {

void printIds(const LongList* list) {
    for (Long i = 0; i < list->top; i++) std::printf("%d ", list->cont[i]);
}

double sumOfLevels(const double (&levels)[kLevels]) {
    return std::accumulate(levels, levels + kLevels, 0.0);
}

void printHeading(const char* title, const char* rule) {
    std::printf("%s\n%s\n", title, rule);
}

}  // namespace

void DBprintDB(DataBase* dataBase) {
    if (dataBase == nullptr) return;
    printHeading("Printing info about nodes ...", "-----------------------------");
    for (Long id = 0; id < dataBase->nodeVec.size; id++) {
        DBNode* node = dataBase->nodeVec.cont[id];
        if (node == nullptr) continue;
        std::printf("Node id : %d\n-------------\n", id);
        DBprintNode(node);
    }
    printHeading("\nPrinting info about links ...", "-----------------------------");
    for (Long src = 0; src < dataBase->linkTab.size; src++)
        for (Long dst = 0; dst < dataBase->linkTab.size; dst++) {
            DBLink* link = dataBase->linkTab.cont[src][dst];
            if (link == nullptr) continue;
            std::printf("Link %d-%d (id = %d)\n-----------------------\n", src, dst,
                        link->id);
            DBprintLink(link);
        }
}

void DBprintNode(DBNode* node) {
    std::printf("Incoming neighboors : \n");
    printIds(&node->inNeighb);
    std::printf("\nOutgoing neighboors : \n");
    printIds(&node->outNeighb);
    std::printf("\n");
}

void DBprintLink(DBLink* link) {
    printHeading("\tList of LSPs", "\t------------");
    for (Long i = 0; i < link->lspList.top; i++)
        std::printf("%d ", link->lspList.cont[i]->id);
    std::printf("\n\n");
    printHeading("\tLink-state", "\t----------");
    for (int oa = 0; oa < kClasses; oa++)
        std::printf("\tCapacity[%d] = %f\n\tpbw[%d] = %f\n\trbw[%d] = %f\n", oa,
                    link->state.cap[oa], oa, sumOfLevels(link->state.pbw[oa]), oa,
                    sumOfLevels(link->state.rbw[oa]));
    std::printf("\n\n");
}
