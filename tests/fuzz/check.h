// Comparing a database with the model of it.
#pragma once

#include <cstdint>

#include "database/database_st.h"
#include "fuzz/model.h"

// The failure tables of a link without its empty cells, wherever the library keeps them.
// Does not change how it keeps them.
Tables failureTables(const DBLink* link);

// Fails with a finding where nodes, links, LSPs, neighbour lists or the LSP lists of
// links differ, or the tables of links that the model knows. `tables` compares bbw and
// fbw too.
void compareWithModel(DataBase* db, const Model& model, bool tables);

// Of the bits of all reservations that compareWithModel has seen; any not-a-number counts
// as the same one.
extern std::uint64_t digest;
