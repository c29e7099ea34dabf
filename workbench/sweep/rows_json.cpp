#include "sweep/rows_json.h"

namespace workbench {

using nlohmann::json;

static json valueOf(const Statement& statement, int column) {
    switch (statement.type(column)) {
        case SQLITE_INTEGER:
            return statement.whole(column);
        case SQLITE_FLOAT:
            return statement.number(column);
        case SQLITE_NULL:
            return nullptr;
        default:
            return statement.text(column);
    }
}

json rowsJson(Statement statement) {
    json rows = json::array();
    while (statement.next()) {
        json row = json::object();
        for (int column = 0; column < statement.columns(); column++)
            row[statement.name(column)] = valueOf(statement, column);
        rows.push_back(std::move(row));
    }
    return rows;
}

}  // namespace workbench
