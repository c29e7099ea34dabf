// Sessions: the state that calls from Java switch between.
//
// All code works on the globals centralDB, kavrilConfig and errorManager. Between two
// calls a session's state lives in its SessionItem; a call loads it into the globals,
// works, and saves it back. The globals never point to a database or stack that has
// been destroyed.
//
// A stack that belongs to no session, that of a failed initialisation, stays the current
// one until the next session is loaded and is then released.
#pragma once

#include "common/setup.h"
#include "error/error.h"

constexpr int kMaxSessions = 128;

struct SessionItem {
    DataBase* centralDB;
    KAVRILConfig kavrilConfig;
    ErrorList errorManager;
};

extern SessionItem* sessions[kMaxSessions];
extern int currentSessId;  // loaded session, -1 for none
extern int lastSession;    // slot given out last, -1 before the first
extern int nbSessions;     // live sessions, -1 before the table is initialised

// Clears the table.
int init();

// Copies the globals into a live session, or the other way round. Loading a number that
// is no live session pushes a message on the current stack and returns -1; the globals
// stay as they were. Otherwise both return sessId.
int saveCntx(int sessId);
int loadSession(int sessId);

// Makes a fresh stack the current one, as an initialisation does first of all. -1, with a
// message on it, if there are as many sessions as there can be.
int beginSession();

// Gives centralDB, kavrilConfig and the current stack a slot, the next free one round the
// table. Returns it, or -1; the database is then destroyed.
int openSession();

// Destroys the loaded session, writing its error stack to standard error.
void closeSession();
