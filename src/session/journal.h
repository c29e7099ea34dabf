// Journals: the changes of a session on the disk, so that it outlives its process.
//
// A journal is a SQLite database in write-ahead mode: the session as it was at some time,
// as DBsave would write it, and the changes since then, one row a call. Now and then the
// session takes the place of what was there. A row or a base is there whole or not at
// all, whenever the process ends; docs/session-file.md has the layout.
//
// A call's changes are gathered (changes.h) until commitJournal writes them.
#pragma once

#include <cstddef>

#include "common/setup.h"
#include "session/session_file.h"
#include "session/sqlite.h"

struct Journal {
    const Sqlite* sqlite;
    sqlite3* db;
    sqlite3_stmt* append;
    ByteWriter pending;        // changes that are not written yet
    PredicateConfig switches;  // as of the last change
    UsedNumbers numbers;
    bool needsBase;        // the changes do not tell what the session is
    std::size_t logged;    // bytes of changes since the base
    std::size_t baseSize;  // bytes of the base
};

// Null if the session has none.
Journal* journalOf(int sessId);

// Makes the loaded session what the journal at the path holds and sets the numbers, or
// begins one there. Changes are then on the disk when commitJournal returns; or in the
// system's hands, which a crash of the process alone does not touch, and on the disk once
// flushJournal returns. -1 with a message, the session unchanged, if another session or
// process has the journal, or it is none, damaged or of a later version.
int openJournal(const char* path, bool waitsForDisk, UsedNumbers* numbers);

// Write what the loaded session has changed. -1, with a message, if that is not possible;
// it will then be tried again.
int commitJournal();
int flushJournal();

// Commits and ends the loaded session's journal, if it has one; the session lives on.
void closeJournal();
