// What the search for backups and its link cost make requests from.
#pragma once

#include "computation/backup/backup_st.h"
#include "computation/backup/dijkstra.h"
#include "computation/computation_st.h"

// Fills an initialised request, but for its id and path, for a backup of the primary.
void fillBackupRequest(LSPRequest* req, const DBLabelSwitchedPath* primary,
                       BackupType type);

// Appends the nodes from dn back to the start of its search, then reverses the list:
// path = start, ..., dn and what the list held before, in reverse.
int pushChain(LongList* path, const CPDijkNode* dn);
