// Backup paths of an established primary.
#pragma once

#include "computation/backup/backup_st.h"
#include "computation/backup/dijkstra.h"
#include "computation/computation_st.h"
#include "database/database_st.h"

// Computes the backups of the stored LSP lspID into reqList, an initialised list that is
// resized to their number: request j of a local protection starts at node j of the
// primary. Each avoids the node behind its start if that is possible, else only the
// link; a global backup likewise avoids all nodes between the ends, or only the links.
// Backups chosen later in the call share bandwidth with those chosen before.
//
// The requests get primID, type, precedence (one level less important than the
// primary's), bw and path; ids are the caller's to set. The database does not change.
// -1 if a backup cannot be found; requests filled so far stay. 0, with a message, for no
// or an unknown type.
int computeBackup(DataBase* dataBase, LSPRequestList* reqList, Long lspID,
                  BackupType type);

// The same for local backups, but goes on past links that none gets around: their
// requests have an empty path, and nothing is printed.
int computeLocalBackups(DataBase* dataBase, LSPRequestList* reqList, Long lspID);

// Cost of extending the backup path that ends at dn over the link from src to dst, or -1
// if the link is not to be used. lsList holds the working link states by link id, lsp is
// the primary. The cost is 10/11 of the bandwidth that the link would have to reserve
// more, plus a length term of 1/11 of the LSP's bandwidth.
double computeCost(DataBase* dataBase, DBLinkState** lsList, Long src, Long dst,
                   CPDijkNode* dn, DBLabelSwitchedPath* lsp, BackupType type);
