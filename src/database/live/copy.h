// Copies of what is derived from the records of a database.
//
// Private to the library. What has a history is copied bit by bit, and so is what could
// be worked out from it, which takes longer; graph and views are made when a search asks
// for them.
#pragma once

#include "database/database_st.h"

// Gives the copy of a link the ledger of that link. False if there is no memory.
bool copyLedger(DBLink* to, const DBLink* from);

// Copies the rest, once all links are there, each with its ledger. False if there is no
// memory.
bool copyLive(DataBase* to, const DataBase* from);
