// What is in a database, as numbers for callers in other languages.
//
// Private to the library. An amount is two numbers, its low half first; a row of eight is
// a number with a bit for each amount that is not 0, and these amounts.
#pragma once

#include "common/bytes.h"
#include "database/database_st.h"

// Id, type (0 for a primary, 1 local, 2 global backup), level, class, bandwidth, and the
// number of nodes of its path and these; of a backup also its primary's id and path. The
// class is -1 if there is bandwidth in several.
void readOutLsp(ByteWriter* out, const DBLabelSwitchedPath* lsp);

// Id, source, destination, colour; rows of capacities, and for each class of what
// primaries have and of what is reserved, by level.
void readOutLink(ByteWriter* out, const DBLink* link);

// Nodes, links and LSPs, each in the order of their ids with a 1 before it and a 0 behind
// the last.
void readOutAll(ByteWriter* out, const DataBase* dataBase);

// The LSPs of a link's list, each once, listed likewise. False if there is no such link.
bool readOutLspsOn(ByteWriter* out, const DataBase* dataBase, Long src, Long dst);
