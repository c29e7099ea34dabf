// Kinds of protection.
#pragma once

#include <cstdint>

// One byte; other values ask for nothing.
using BackupType = std::uint8_t;

constexpr BackupType NO_BACKUP = 0;
constexpr BackupType LOCAL_BACKUP = 1;   // one backup per link of the primary
constexpr BackupType GLOBAL_BACKUP = 2;  // one backup from end to end
