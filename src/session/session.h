// Sessions: the state that calls from Java switch between.
//
// All code works on the globals centralDB, kavrilConfig and errorManager, which each
// thread has for itself. Between two calls a session's state lives in its SessionItem; a
// call loads it into the globals, works, and saves it back.
//
// One thread at a time has a session loaded; others that load it wait. It is theirs when
// that thread saves, leaves or closes it, or goes on to another one. What the globals
// then still hold is only to be looked at as long as no other thread uses the session.
//
// A session has a pool of memory, in which all is that a thread allocates while it has
// the session loaded. What it takes then it gives back before it lets the session go.
//
// A stack that belongs to no session, that of a failed initialisation, stays its thread's
// until the thread loads a session or begins another, and is then released.
#pragma once

#include <atomic>

#include "common/setup.h"
#include "error/error.h"

constexpr int kMaxSessions = 128;

struct SessionItem {
    DataBase* centralDB;
    KAVRILConfig kavrilConfig;
    ErrorList errorManager;
};

// An entry is that of the thread that has the session loaded.
extern SessionItem* sessions[kMaxSessions];
// How callers use a session. Its copies are used alike.
struct SessionUse {
    bool hasAllNumbers;  // 8 classes and 8 levels, whatever NBOA and NBPL are
    bool isQuiet;        // what its calls say is kept for the caller (print.h)
};

// Of the session that this thread has loaded, or begun: it is as it is when that is
// opened.
extern constinit thread_local SessionUse sessionUse;
// The session that this thread has loaded last, -1 for none.
extern constinit thread_local int currentSessId;
extern std::atomic<int> lastSession;  // slot given out last, -1 before the first
extern std::atomic<int> nbSessions;   // live sessions, -1 before the table is initialised

// Clears the table; for the first session's beginning.
int init();

// Loads a session, as soon as no other thread has it. A number that is no live session,
// or no longer, gets a message on the stack of the session that this thread has loaded
// last, if that is still alive, and -1; the globals stay as they were. Else sessId.
int loadSession(int sessId);

// Copies the globals into the session, which this thread must have loaded, and leaves it.
// Otherwise -1.
int saveCntx(int sessId);

// Lets other threads load the session that this one has loaded, if it has, without saving
// it; or gives up one that was begun and not opened, whose stack is then nobody's.
void leaveSession();

// Makes a fresh stack and a fresh pool this thread's, as an initialisation does first of
// all. -1, with a message on the stack, if there are as many sessions as there can be.
int beginSession();

// Gives centralDB, kavrilConfig and the current stack a slot, the next free one round the
// table, and leaves the session loaded. Returns the slot, or -1; the database is then
// destroyed.
int openSession();

// Destroys the session that this thread has loaded, if it has, gives its memory back to
// the system and writes its error stack to standard error. Threads that wait for the
// session find that it is gone; none waits for the stack to be written.
void closeSession();

// Keeps the session that this thread has loaded from others, while the thread begins
// another one. The thread must not load it again meanwhile.
class KeptSession {
  public:
    KeptSession();
    ~KeptSession();
    KeptSession(const KeptSession&) = delete;
    KeptSession& operator=(const KeptSession&) = delete;

    const SessionItem* item() const;  // null if the thread had no session loaded

  private:
    int sessId_;
};
