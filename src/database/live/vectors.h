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

// Makes a booking's changes of one class in the vectors of any state. A class that adds 0
// grows nothing: an element that does not exist counts as 0. -1, with a message, if they
// cannot grow.
int bookVectors(DBLinkState* state, int oa, const Booking& booking);
