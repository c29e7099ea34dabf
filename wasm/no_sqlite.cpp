// Nothing can be loaded into a module, so that no session in it keeps a journal.
#include "error/error.h"
#include "session/sqlite.h"

#define ERROR_SOURCE "session/journal.c"

const Sqlite* loadSqlite() {
    return FAIL_WITH(nullptr, "It needs SQLite, which there is none of here");
}
