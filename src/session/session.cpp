#include "session/session.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <mutex>
#include <utility>

#include "common/memory.h"
#include "database/database.h"
#include "session/attempt.h"
#include "session/journal.h"

#define ERROR_SOURCE "jni_interface.c"

SessionItem* sessions[kMaxSessions] = {};
constinit thread_local int currentSessId = -1;
constinit thread_local SessionUse sessionUse = {};
std::atomic<int> lastSession = -1;
std::atomic<int> nbSessions = -1;

namespace {

// Apart in memory: neighbours are used by different threads.
struct alignas(64) Slot {
    std::mutex loaded;  // held by the thread that has the session; guards the others
    MemoryPool* pool;
    std::uint64_t serial;  // tells a session from the next one in the same slot
    SessionUse use;
};
Slot slots[kMaxSessions];

// For changes of the table: which slots are taken, how many, and which was last.
std::mutex tableLock;
std::atomic<bool> isTaken[kMaxSessions] = {};

struct Own {
    bool has;               // the session currentSessId
    std::uint64_t serial;   // of that session
    MemoryPool* beginning;  // of a session that was begun
};
constinit thread_local Own own = {};

bool canBeLoaded(int sessId) {
    return sessId >= 0 && sessId < kMaxSessions && isTaken[sessId];
}

void dropOwnerlessStack() {
    if (currentSessId == -1 && errorManager.list != nullptr) errorDestroy();
}

// The stack outlives the pool that the session would have had.
void abandonBeginning() {
    MemoryPool* pool = std::exchange(own.beginning, nullptr);
    useMemoryPool(nullptr);
    const ErrorList stack = errorManager;
    const auto bytes = static_cast<std::size_t>(stack.size) * sizeof(ErrorElem);
    void* list = mymalloc(bytes);
    errorManager = {};
    if (list != nullptr) {
        std::memcpy(list, stack.list, bytes);
        errorManager = {stack.size, stack.top, static_cast<ErrorElem*>(list)};
    }
    myfree(stack.list);
    centralDB = nullptr;
    memoryPoolDestroy(pool);
}

// Takes the session that this thread had loaded last, of which it has the stack then.
bool takeAgain() {
    Slot& slot = slots[currentSessId];
    slot.loaded.lock();
    if (sessions[currentSessId] != nullptr && slot.serial == own.serial) {
        errorManager = sessions[currentSessId]->errorManager;
        return own.has = true;
    }
    slot.loaded.unlock();
    centralDB = nullptr;
    errorManager = {};
    currentSessId = -1;
    return false;
}

int refuseUnknown(int sessId) {
    const bool had = own.has;
    if (!had && currentSessId >= 0) takeAgain();
    PUSH_ERROR(CRITICAL, "Non existing Session (%d)", sessId);
    if (own.has) sessions[currentSessId]->errorManager = errorManager;
    if (!had && own.has) leaveSession();
    return -1;
}

// The next free slot round the table, now taken; -1 if there is none.
int takeSlot() {
    const std::lock_guard<std::mutex> lock(tableLock);
    if (nbSessions >= kMaxSessions) return -1;
    int slot = (lastSession + 1) % kMaxSessions;
    while (isTaken[slot]) slot = (slot + 1) % kMaxSessions;
    isTaken[slot] = true;
    nbSessions++;
    return lastSession = slot;
}

void freeSlot(int slot) {
    const std::lock_guard<std::mutex> lock(tableLock);
    isTaken[slot] = false;
    nbSessions--;
}

bool isFull() {
    const std::lock_guard<std::mutex> lock(tableLock);
    if (nbSessions == -1) init();
    return nbSessions >= kMaxSessions;
}

}  // namespace

int init() {
    nbSessions = 0;
    for (std::atomic<bool>& taken : isTaken) taken = false;
    std::fill(std::begin(sessions), std::end(sessions), nullptr);
    return 0;
}

int saveCntx(int sessId) {
    if (!own.has || sessId != currentSessId) return -1;
    *sessions[sessId] = {centralDB, kavrilConfig, errorManager};
    leaveSession();
    return sessId;
}

void leaveSession() {
    if (own.beginning != nullptr) abandonBeginning();
    if (!own.has) return;
    useMemoryPool(nullptr);
    own.has = false;
    slots[currentSessId].loaded.unlock();
}

int loadSession(int sessId) {
    if (!canBeLoaded(sessId)) return refuseUnknown(sessId);
    Slot& slot = slots[sessId];
    if (!own.has || currentSessId != sessId) {
        // Two threads that kept one and waited for the other's would wait for ever.
        leaveSession();
        slot.loaded.lock();
        if (sessions[sessId] == nullptr) {  // killed while this thread waited
            slot.loaded.unlock();
            return refuseUnknown(sessId);
        }
        dropOwnerlessStack();
    }
    const SessionItem* item = sessions[sessId];
    centralDB = item->centralDB;
    kavrilConfig = item->kavrilConfig;
    errorManager = item->errorManager;
    sessionUse = slot.use;
    currentSessId = sessId;
    own = {true, slot.serial, nullptr};
    useMemoryPool(slot.pool);
    return sessId;
}

int beginSession() {
    leaveSession();
    dropOwnerlessStack();
    currentSessId = -1;
    sessionUse = {};
    const bool hasRoom = !isFull();
    if (hasRoom) own.beginning = memoryPoolNew();
    useMemoryPool(own.beginning);
    errorInit();
    if (!hasRoom) return FAIL_WITH(-1, "Too many Sessions (%d)", nbSessions.load());
    if (own.beginning == nullptr) return FAIL_WITH(-1, "Critical lack of memory");
    return 0;
}

int openSession() {
    static std::atomic<std::uint64_t> opened = 0;
    auto* item = static_cast<SessionItem*>(mymalloc(sizeof(SessionItem)));
    const int sessId = item != nullptr ? takeSlot() : -1;
    if (sessId < 0) {
        DBdestroy(centralDB);
        centralDB = nullptr;
        if (item == nullptr) return FAIL_WITH(-1, "Critical lack of memory");
        myfree(item);
        return FAIL_WITH(-1, "Too many Sessions (%d)", nbSessions.load());
    }
    Slot& slot = slots[sessId];
    slot.loaded.lock();  // somebody may just be looking whether there is a session
    slot.pool = std::exchange(own.beginning, nullptr);
    slot.serial = ++opened;
    slot.use = sessionUse;
    own = {true, slot.serial, nullptr};
    *item = {centralDB, kavrilConfig, errorManager};
    sessions[sessId] = item;
    return currentSessId = sessId;
}

void closeSession() {
    if (!own.has) return;
    endAttempts();
    closeJournal();
    const int sessId = std::exchange(currentSessId, -1);
    SessionItem* item = std::exchange(sessions[sessId], nullptr);
    MemoryPool* pool = std::exchange(slots[sessId].pool, nullptr);
    own = {};
    slots[sessId].loaded.unlock();
    freeSlot(sessId);
    DBdestroy(centralDB);
    centralDB = nullptr;
    printErrorStack();
    errorDestroy();
    myfree(item);
    useMemoryPool(nullptr);
    memoryPoolDestroy(pool);
}

KeptSession::KeptSession() : sessId_(own.has ? currentSessId : -1) {
    own.has = false;
    if (sessId_ >= 0) useMemoryPool(nullptr);
}

KeptSession::~KeptSession() {
    if (sessId_ >= 0) slots[sessId_].loaded.unlock();
}

const SessionItem* KeptSession::item() const {
    return sessId_ >= 0 ? sessions[sessId_] : nullptr;
}
