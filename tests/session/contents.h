// What comes of contents that may be made up: shared by the test and the fuzz target.
#pragma once

#include <stdexcept>

#include "admission/lsp_setup.h"
#include "computation/computation.h"
#include "computation/primary/primaryPath.h"
#include "database/database.h"
#include "database/live/live.h"
#include "session/session_file.h"

// Takes everything out again.
inline void empty(DataBase* db) {
    for (Long id = 0; id < db->lspVec.size; id++)
        if (db->lspVec.cont[id] != nullptr) DBremoveLSP(db, id);
    for (Long id = 0; id < db->nodeVec.size; id++)
        if (db->nodeVec.cont[id] != nullptr) DBremoveNode(db, id);
}

// Reads the contents of a session and uses what is accepted; whether it is. Throws where
// something derived is not what it should be.
inline bool tryContents(const std::uint8_t* bytes, std::size_t nb) {
    ByteReader in(bytes, nb);
    UsedNumbers numbers;
    DataBase* db = readSession(&in, &numbers);
    if (db == nullptr) return false;
    Long where[2];
    const char* wrong = checkLive(db, where);
    ScopedRequest request;
    lspRequestInit(&request);
    for (Long node : {0, -1, 2}) longVecPushBack(&request.path, node);
    request.bw[0] = 1.0;
    kavrilConfig.primaryComputationConfig = {};  // weights may be anything
    computePrimaryPath(db, &request);
    empty(db);
    if (wrong == nullptr) wrong = checkLive(db, where);
    if (wrong == nullptr && db->live->nbUsed > 0) wrong = "links are left";
    DBdestroy(db);
    errorManager.top = 0;
    if (wrong != nullptr) throw std::runtime_error(wrong);
    return true;
}
