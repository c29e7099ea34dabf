// Kinds of label switched paths.
#pragma once

#include <cstdint>

// One byte; the bookkeeping treats any other value as a primary.
using DBLSPType = std::uint8_t;

constexpr DBLSPType DB_PRIMARY_LSP = 0;
// Starts at a node of its primary and protects the primary's link that leaves there.
constexpr DBLSPType DB_LOCAL_BACKUP_LSP = 1;
// Protects every link of its primary from the backup's head to the primary's end.
constexpr DBLSPType DB_GLOBAL_BACKUP_LSP = 2;

constexpr bool isBackup(DBLSPType type) {
    return type == DB_LOCAL_BACKUP_LSP || type == DB_GLOBAL_BACKUP_LSP;
}
