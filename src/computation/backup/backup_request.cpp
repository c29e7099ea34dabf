#include "computation/backup/backup_request.h"

#include <algorithm>

void fillBackupRequest(LSPRequest* req, const DBLabelSwitchedPath* primary,
                       BackupType type) {
    req->primID = primary->id;
    req->type = type == LOCAL_BACKUP ? DB_LOCAL_BACKUP_LSP : DB_GLOBAL_BACKUP_LSP;
    req->precedence =
        primary->precedence + 1 < kLevels ? primary->precedence + 1 : primary->precedence;
    std::copy_n(primary->bw, kClasses, req->bw);
}

int pushChain(LongList* path, const CPDijkNode* dn) {
    for (; dn != nullptr; dn = dn->from)
        if (longVecPushBack(path, dn->node->id) < 0) return -1;
    std::reverse(path->cont, path->cont + path->top);
    return 0;
}
