// Whom it concerns that links fail, and that links are too small.
#pragma once

#include "database/database_st.h"

// Lists, ids ascending, what has to do with links that go, given by source and
// destination one after the other: the LSPs that cross one of them, all backups of
// primaries that do, backups whose primary did when they were made, and the primaries of
// all these. Links that do not exist concern nobody. -1, with a message, if there is no
// memory.
int DBlistConcerned(const DataBase* dataBase, const LongList* ends, LongList* ids);

// Lists, ids ascending, the LSPs that would have to give way for what is reserved on a
// link to fit its capacities again: in each class that is booked beyond its own, those
// that an LSP more important than all of them would preempt. -1, with a message, if there
// is no such link or no memory.
int DBlistMisfits(DataBase* dataBase, Long src, Long dst, LongList* ids);
