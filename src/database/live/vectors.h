// The vectors of a stored link's state, and its ledger.
//
// Private to the library. The ledger is the place of a link's failure tables; the vectors
// are read into it when a state comes in from outside, and written from then on where
// somebody may read them.
#pragma once

#include "database/booking.h"
#include "database/database_st.h"

// Reads the vectors into the link's ledger, which has no cells. False if there is no
// memory.
bool readVectors(DataBase* dataBase, DBLink* link);

// Writes a booking of one class into the vectors, too. -1, with a message, if they cannot
// grow.
int mirrorChanges(DBLinkState* state, int oa, const Booking& booking);
