// Link states: making, copying, releasing the bandwidth record of a link.
//
// A state owns its 256 vectors. Each starts with one element of 0 and grows with the
// ids of the failures that are booked in it.
#pragma once

#include "common/scoped.h"
#include "database/database_st.h"

// A state of zeros. Init clears the whole record first.
DBLinkState* DBlinkStateNew();
int DBlinkStateInit(DBLinkState* ls);
int DBlinkStateDestroy(DBLinkState* ls);
int DBlinkStateEnd(DBLinkState* ls);

// Copies everything into an initialised state. If a vector cannot be copied the others
// still are, and the result is -1.
int DBlinkStateCopy(DBLinkState* dst, DBLinkState* src);

inline bool linkStateIsLive(const DBLinkState* ls) {
    return ls->bbw[0][0].cont != nullptr;
}
using ScopedLinkState = Scoped<DBLinkState, DBlinkStateEnd, linkStateIsLive>;
