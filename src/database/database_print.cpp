// The printout of a database.

#include <cstdio>
#include <numeric>

#include "common/print.h"
#include "database/database.h"

namespace {

void writeIds(std::FILE* out, const LongList* list) {
    for (Long i = 0; i < list->top; i++) std::fprintf(out, "%d ", list->cont[i]);
}

double sumOfLevels(const double (&levels)[kLevels]) {
    return std::accumulate(levels, levels + kLevels, 0.0);
}

void writeHeading(std::FILE* out, const char* title, const char* rule) {
    std::fprintf(out, "%s\n%s\n", title, rule);
}

void writeNode(std::FILE* out, const DBNode* node) {
    std::fprintf(out, "Incoming neighboors : \n");
    writeIds(out, &node->inNeighb);
    std::fprintf(out, "\nOutgoing neighboors : \n");
    writeIds(out, &node->outNeighb);
    std::fprintf(out, "\n");
}

void writeLink(std::FILE* out, const DBLink* link) {
    writeHeading(out, "\tList of LSPs", "\t------------");
    for (Long i = 0; i < link->lspList.top; i++)
        std::fprintf(out, "%d ", link->lspList.cont[i]->id);
    std::fprintf(out, "\n\n");
    writeHeading(out, "\tLink-state", "\t----------");
    for (int oa = 0; oa < kClasses; oa++)
        std::fprintf(out, "\tCapacity[%d] = %f\n\tpbw[%d] = %f\n\trbw[%d] = %f\n", oa,
                     link->state.cap[oa], oa, sumOfLevels(link->state.pbw[oa]), oa,
                     sumOfLevels(link->state.rbw[oa]));
    std::fprintf(out, "\n\n");
}

}  // namespace

void DBwriteDB(std::FILE* out, DataBase* dataBase) {
    if (dataBase == nullptr) return;
    writeHeading(out, "Printing info about nodes ...", "-----------------------------");
    for (Long id = 0; id < dataBase->nodeVec.size; id++) {
        DBNode* node = dataBase->nodeVec.cont[id];
        if (node == nullptr) continue;
        std::fprintf(out, "Node id : %d\n-------------\n", id);
        writeNode(out, node);
    }
    writeHeading(out, "\nPrinting info about links ...", "-----------------------------");
    for (Long src = 0; src < dataBase->linkTab.size; src++)
        for (Long dst = 0; dst < dataBase->linkTab.size; dst++) {
            DBLink* link = dataBase->linkTab.cont[src][dst];
            if (link == nullptr) continue;
            std::fprintf(out, "Link %d-%d (id = %d)\n-----------------------\n", src, dst,
                         link->id);
            writeLink(out, link);
        }
}

void DBprintDB(DataBase* dataBase) {
    const StreamHold hold(stdout);
    DBwriteDB(stdout, dataBase);
}

void DBprintNode(DBNode* node) {
    const StreamHold hold(stdout);
    writeNode(stdout, node);
}

void DBprintLink(DBLink* link) {
    const StreamHold hold(stdout);
    writeLink(stdout, link);
}
