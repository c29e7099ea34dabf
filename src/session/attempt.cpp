#include "session/attempt.h"

#include <utility>

#include "common/memory.h"
#include "database/database.h"
#include "session/journal.h"

#define ERROR_SOURCE "session/session.c"

namespace {

// The session as it was, and what its journal had still to write.
struct Attempt {
    Attempt* outer;
    DataBase* before;
    KAVRILConfig config;
    std::size_t pending;
    PredicateConfig switches;
    bool needsBase;
};

Attempt* attempts[kMaxSessions] = {};  // the innermost

}  // namespace

int beginAttempt() {
    if (currentSessId < 0) return FAIL_WITH(-1, "No session is loaded");
    DataBase* before = DBcopy(centralDB);
    auto* attempt = static_cast<Attempt*>(mycalloc(1, sizeof(Attempt)));
    if (before == nullptr || attempt == nullptr) {
        if (before != nullptr) DBdestroy(before);
        myfree(attempt);
        return FAIL_WITH(-1, "Critical lack of memory");
    }
    *attempt = {attempts[currentSessId], before, kavrilConfig, 0, {}, false};
    if (const Journal* journal = journalOf(currentSessId); journal != nullptr) {
        attempt->pending = journal->pending.size();
        attempt->switches = journal->switches;
        attempt->needsBase = journal->needsBase;
    }
    attempts[currentSessId] = attempt;
    return 0;
}

void endAttempt(bool keeps) {
    if (currentSessId < 0 || attempts[currentSessId] == nullptr) return;
    Attempt* attempt = attempts[currentSessId];
    attempts[currentSessId] = attempt->outer;
    if (!keeps) {
        std::swap(centralDB, attempt->before);
        kavrilConfig = attempt->config;
        if (Journal* journal = journalOf(currentSessId); journal != nullptr) {
            journal->pending.shorten(attempt->pending);
            journal->switches = attempt->switches;
            journal->needsBase = attempt->needsBase;
        }
    }
    DBdestroy(attempt->before);
    myfree(attempt);
}

void endAttempts() {
    while (currentSessId >= 0 && attempts[currentSessId] != nullptr) endAttempt(false);
}
