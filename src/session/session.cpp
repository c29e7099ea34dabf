#include "session/session.h"

#include <algorithm>
#include <iterator>

#include "common/memory.h"
#include "database/database.h"

#define ERROR_SOURCE "jni_interface.c"

SessionItem* sessions[kMaxSessions] = {};
int currentSessId = -1;
int lastSession = -1;
int nbSessions = -1;

namespace {

bool isLive(int sessId) {
    return sessId >= 0 && sessId < kMaxSessions && sessions[sessId] != nullptr;
}

void dropOwnerlessStack() {
    if (currentSessId == -1 && errorManager.list != nullptr) errorDestroy();
}

// There is one: fewer sessions live than there are slots.
int nextFreeSlot() {
    int slot = (lastSession + 1) % kMaxSessions;
    while (sessions[slot] != nullptr) slot = (slot + 1) % kMaxSessions;
    return slot;
}

}  // namespace

int init() {
    nbSessions = 0;
    std::fill(std::begin(sessions), std::end(sessions), nullptr);
    return 0;
}

int saveCntx(int sessId) {
    if (!isLive(sessId)) return -1;
    *sessions[sessId] = {centralDB, kavrilConfig, errorManager};
    return sessId;
}

int loadSession(int sessId) {
    if (!isLive(sessId)) {
        PUSH_ERROR(CRITICAL, "Non existing Session (%d)", sessId);
        saveCntx(currentSessId);  // whose stack this is, and may have moved
        return -1;
    }
    dropOwnerlessStack();
    centralDB = sessions[sessId]->centralDB;
    kavrilConfig = sessions[sessId]->kavrilConfig;
    errorManager = sessions[sessId]->errorManager;
    currentSessId = sessId;
    return sessId;
}

int beginSession() {
    dropOwnerlessStack();
    currentSessId = -1;
    errorInit();
    if (nbSessions >= kMaxSessions)
        return FAIL_WITH(-1, "Too many Sessions (%d)", nbSessions);
    if (nbSessions == -1) init();
    return 0;
}

int openSession() {
    auto* item = static_cast<SessionItem*>(mymalloc(sizeof(SessionItem)));
    if (item == nullptr) {
        DBdestroy(centralDB);
        centralDB = nullptr;
        return FAIL_WITH(-1, "Critical lack of memory");
    }
    lastSession = nextFreeSlot();
    nbSessions++;
    sessions[lastSession] = item;
    currentSessId = lastSession;
    return saveCntx(lastSession);
}

void closeSession() {
    DBdestroy(centralDB);
    centralDB = nullptr;
    printErrorStack();
    errorDestroy();
    myfree(sessions[currentSessId]);
    sessions[currentSessId] = nullptr;
    nbSessions--;
    currentSessId = -1;
}
