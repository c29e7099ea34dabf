// A whole database as bytes.
//
// Private to the library. The records are written as they are: counters,
// capacities of tables and sums of bandwidth are history, which nothing could work out
// again. docs/session-file.md has the layout.
#pragma once

#include "common/bytes.h"
#include "database/database_st.h"

// Refuses a network that a removal has left incomplete when memory ended.
void writeDataBase(ByteWriter* out, const DataBase* dataBase);

// Null, the reader knows why, unless the records are ones that a database can have.
DataBase* readDataBase(ByteReader* in);

// Records alone. An LSP's id stands where it is stored, and is the caller's to read.
void writeState(ByteWriter* out, const DBLinkState* state, bool isMirrored);
void readState(ByteReader* in, DBLinkState* state);
void writeLsp(ByteWriter* out, const DBLabelSwitchedPath* lsp);
void readLspFields(ByteReader* in, DBLabelSwitchedPath* lsp);
