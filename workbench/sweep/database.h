// SQLite as this program uses it: statements with values, errors as exceptions.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace workbench {

class Statement {
  public:
    Statement(sqlite3* database, std::string_view sql);

    // Values for its question marks, in their order; then it is run anew. Texts must last
    // until it has run.
    template <class... Values>
    Statement& operator()(const Values&... values) {
        sqlite3_reset(statement_.get());
        int place = 0;
        (bind(++place, values), ...);
        return *this;
    }

    // The next row, or that there is none. Throws UserError.
    bool next();
    void run() {
        while (next()) {
        }
    }

    int columns() const { return sqlite3_column_count(statement_.get()); }
    std::string name(int column) const {
        return sqlite3_column_name(statement_.get(), column);
    }
    bool isNull(int column) const { return type(column) == SQLITE_NULL; }
    int type(int column) const { return sqlite3_column_type(statement_.get(), column); }
    std::int64_t whole(int column) const {
        return sqlite3_column_int64(statement_.get(), column);
    }
    double number(int column) const {
        return sqlite3_column_double(statement_.get(), column);
    }
    std::string text(int column) const;

  private:
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };

    void bind(int place, std::int64_t value) { check(bindWhole(place, value)); }
    void bind(int place, int value) { check(bindWhole(place, value)); }
    void bind(int place, double value) {
        check(sqlite3_bind_double(statement_.get(), place, value));
    }
    void bind(int place, std::string_view value) {
        check(sqlite3_bind_text(statement_.get(), place, value.data(),
                                static_cast<int>(value.size()), SQLITE_STATIC));
    }
    void bind(int place, std::nullptr_t) {
        check(sqlite3_bind_null(statement_.get(), place));
    }
    template <class Value>
    void bind(int place, const std::optional<Value>& value) {
        if (value)
            bind(place, *value);
        else
            bind(place, nullptr);
    }
    int bindWhole(int place, std::int64_t value) {
        return sqlite3_bind_int64(statement_.get(), place, value);
    }
    void check(int code) const;

    sqlite3* database_;
    std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

class Database {
  public:
    enum class Mode { READ, WRITE };  // WRITE makes the file if it is not there
    Database(const std::string& file, Mode mode);

    Statement prepare(std::string_view sql) { return {database_.get(), sql}; }
    void run(const std::string& sql);  // one statement or several, without values

  private:
    struct Close {
        void operator()(sqlite3* database) const { sqlite3_close(database); }
    };
    std::unique_ptr<sqlite3, Close> database_;
};

// Whether a file is a SQLite database.
bool isDatabase(const std::string& file);

}  // namespace workbench
