// Which LSPs belong together, and which ones need a link or a node.
//
// All walk over all LSPs once.
#pragma once

#include "database/database_st.h"

// Lists the backups that go around links of the LSP's present route, ids ascending. A
// backup that outlived an LSP of the same id on another route is none of them. If no
// primary has the id, all are listed that are left from one. -1, with a message, if there
// is no memory.
int DBlistBackups(const DataBase* dataBase, Long id, LongList* ids);

// Lists the LSPs that a link or a node cannot be taken from: those that cross it, and the
// backups of a primary that does or did. A link to dst, or the node src if dst is -1.
int DBlistDependants(const DataBase* dataBase, Long src, Long dst, LongList* ids);
