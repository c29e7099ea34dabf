#include "sweep/database.h"

#include <fmt/format.h>

#include <fstream>

#include "cli/error.h"

namespace workbench {

// A reader may hold the file for as long as its query takes.
static constexpr int kPatience = 600'000;  // ms

static UserError failure(sqlite3* database) {
    const char* file = sqlite3_db_filename(database, "main");
    return UserError(
        fmt::format("{}: {}", file == nullptr ? "" : file, sqlite3_errmsg(database)));
}

Statement::Statement(sqlite3* database, std::string_view sql) : database_(database) {
    sqlite3_stmt* statement = nullptr;
    check(sqlite3_prepare_v2(database, sql.data(), static_cast<int>(sql.size()),
                             &statement, nullptr));
    statement_.reset(statement);
}

void Statement::check(int code) const {
    if (code != SQLITE_OK) throw failure(database_);
}

bool Statement::next() {
    const int code = sqlite3_step(statement_.get());
    if (code == SQLITE_ROW) return true;
    if (code != SQLITE_DONE) {
        const UserError error = failure(database_);
        sqlite3_reset(statement_.get());
        throw error;
    }
    sqlite3_reset(statement_.get());
    return false;
}

std::string Statement::text(int column) const {
    const unsigned char* text = sqlite3_column_text(statement_.get(), column);
    return text == nullptr ? "" : reinterpret_cast<const char*>(text);
}

Database::Database(const std::string& file, Mode mode) {
    sqlite3* database = nullptr;
    const int flags = mode == Mode::READ ? SQLITE_OPEN_READWRITE
                                         : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
    const int code = sqlite3_open_v2(file.c_str(), &database, flags, nullptr);
    database_.reset(database);
    if (code != SQLITE_OK)
        throw UserError(fmt::format("cannot open {}: {}", file, sqlite3_errstr(code)));
    sqlite3_busy_timeout(database, kPatience);
    if (mode == Mode::READ) run("PRAGMA query_only = ON");
}

void Database::run(const std::string& sql) {
    if (sqlite3_exec(database_.get(), sql.c_str(), nullptr, nullptr, nullptr) !=
        SQLITE_OK)
        throw failure(database_.get());
}

bool isDatabase(const std::string& file) {
    constexpr std::string_view kMagic = "SQLite format 3";
    std::string start(kMagic.size(), '\0');
    std::ifstream stream(file, std::ios::binary);
    stream.read(start.data(), static_cast<std::streamsize>(start.size()));
    return stream && start == kMagic;
}

}  // namespace workbench
