// The functions of SQLite that journals use, from the system's library.
//
// Private to the library. It is loaded when the first journal is asked for: who keeps
// none needs no SQLite.
#pragma once

#include <cstdint>

struct sqlite3;
struct sqlite3_stmt;

struct Sqlite {
    int (*open)(const char* path, sqlite3** db, int flags, const char* vfs);
    int (*close)(sqlite3* db);
    int (*exec)(sqlite3* db, const char* sql, int (*row)(void*, int, char**, char**),
                void* context, char** message);
    int (*prepare)(sqlite3* db, const char* sql, int length, sqlite3_stmt** statement,
                   const char** rest);
    int (*step)(sqlite3_stmt* statement);
    int (*reset)(sqlite3_stmt* statement);
    int (*finalize)(sqlite3_stmt* statement);
    int (*bindBlob)(sqlite3_stmt* statement, int at, const void* bytes, std::uint64_t nb,
                    void (*release)(void*));
    const void* (*columnBlob)(sqlite3_stmt* statement, int at);
    int (*columnBytes)(sqlite3_stmt* statement, int at);
    std::int64_t (*columnNumber)(sqlite3_stmt* statement, int at);
    const char* (*message)(sqlite3* db);
    int (*checkpoint)(sqlite3* db, const char* name, int mode, int* inLog, int* done);
};

constexpr int kSqliteOk = 0;
constexpr int kSqliteRow = 100;
constexpr int kSqliteDone = 101;
constexpr int kSqliteReadWrite = 2;
constexpr int kSqliteCreate = 4;
constexpr int kSqlitePassive = 0;   // a checkpoint that waits for nobody
constexpr int kSqliteTruncate = 3;  // one that leaves an empty log

// Null, with a message that names what is missing, if there is none.
const Sqlite* loadSqlite();
