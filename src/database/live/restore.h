// The failure tables of links, written down and read back.
//
// Private to the library. Cells are history: sums of bookings in their order. They are
// written bit for bit; all else that is derived is made anew from them and the records.
#pragma once

#include "common/bytes.h"
#include "database/database_st.h"

void writeCells(ByteWriter* out, const Ledger* ledger);

// Gives a link that has been read its ledger, without cells, and its place among the
// links. False if there is no memory.
bool enrolLink(DataBase* dataBase, DBLink* link, Long src, Long dst);

// All links have been enrolled, the counters read. False if there is no memory.
bool linksEnrolled(DataBase* dataBase);

// Reads the cells of a link, refusing those of links that do not exist, and puts in step
// what rests on them.
void readCells(ByteReader* in, DataBase* dataBase, DBLink* link);
