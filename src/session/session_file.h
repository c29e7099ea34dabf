// Copies of sessions, and files that keep them.
//
// A session is its database, its configuration with the numbers of classes and levels,
// and its error stack. docs/session-file.md has the layout of a file.
#pragma once

#include "common/bytes.h"
#include "session/session.h"

// Opens a session that from now on does what this one would, but shares nothing with it.
// Returns its number; -1 with a message on a stack that belongs to no session.
int copySession(int sessId);

// What a session's user takes NBOA and NBPL for.
struct UsedNumbers {
    Long classes, levels;
};

// DBsave and DBload (database.h) for who keeps the numbers elsewhere than in NBOA and
// NBPL.
int saveFile(DataBase* dataBase, const UsedNumbers& numbers, const char* path);
DataBase* loadFile(const char* path, UsedNumbers* numbers);

// The same in memory: a file, or what is behind its header. What is wrong is said to the
// writer or the reader, or in a message.
void writeFile(ByteWriter* out, DataBase* dataBase, const UsedNumbers& numbers);
DataBase* readFile(const std::uint8_t* bytes, std::size_t nb, UsedNumbers* numbers);
DataBase* readSession(ByteReader* in, UsedNumbers* numbers);
