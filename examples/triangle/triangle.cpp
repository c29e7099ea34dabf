// The same as Triangle.java, in C++: three nodes, one LSP and its backup.

#include <cstdio>
#include <initializer_list>

#include "admission/lsp_setup.h"
#include "common/setup.h"
#include "computation/backup/backup.h"
#include "computation/computation.h"
#include "computation/primary/primaryPath.h"
#include "database/database.h"
#include "error/error.h"

static void print(const char* what, const LongList& path) {
    std::printf("%s", what);
    for (Long i = 0; i < path.top; i++)
        std::printf("%s%d", i > 0 ? " > " : "", path.cont[i]);
}

static DataBase* makeNetwork() {
    DataBase* db = DBnew(0);
    for (Long node = 0; node < 3; node++) DBaddNode(db, node);
    ScopedLinkState state;
    DBlinkStateInit(&state);
    state.cap[0] = 100;
    Long id = 0;
    for (Long src = 0; src < 3; src++)
        for (Long dst = 0; dst < 3; dst++)
            if (src != dst) DBaddLink(db, id++, src, dst, &state);
    return db;
}

// LSP 7 from node 0 to node 2: class 0, level 3, bandwidth 40.
static int place(DataBase* db) {
    ScopedRequest request;
    lspRequestInit(&request);
    request.id = 7;
    request.precedence = 3;
    request.bw[0] = 40;
    for (Long node : {0, -1, 2}) longVecPushBack(&request.path, node);
    if (computePrimaryPath(db, &request) < 0) return -1;

    ScopedLSP lsp;
    ScopedLongList preempted;
    DBlspInit(&lsp);
    longVecInit(&preempted, -1);
    lsp.id = request.id;
    lsp.precedence = request.precedence;
    lsp.bw[0] = request.bw[0];
    longVecCopy(&lsp.path, &request.path);
    print("", lsp.path);
    return DBaddLSP(db, &lsp, &preempted);
}

int main() {
    errorInit();
    NBOA = 1;
    NBPL = 8;
    kavrilConfig.predicateConfig.capacityClause = true;
    kavrilConfig.primaryComputationConfig.Fortz = 1;
    DataBase* db = makeNetwork();

    LSPRequestList backups;
    lspRequestListInit(&backups, -1);
    const bool found =
        place(db) == 0 && computeBackup(db, &backups, 7, LOCAL_BACKUP) == 0;
    if (found) {
        print(" protected by ", backups.cont[0].path);
        std::printf("\n");
    } else {
        printErrorStack();
    }
    lspRequestListEnd(&backups);
    DBdestroy(db);
    errorDestroy();
    return found ? 0 : 1;
}
