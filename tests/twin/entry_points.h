// The entry points and the sessions behind them, as a caller sees them.
#pragma once

#include <memory>
#include <optional>

#include "twin/network.h"

namespace twin {

struct Session {
    Database db;
    KAVRILConfig config = {};
    std::shared_ptr<Stack> stack;
};

// The calling object's fields.
struct Object {
    Long sessId = -1;
    Ids lsps;
};

// What a call comes to: an exception's simple name, and paths where they are told.
struct Result {
    std::string exception;
    std::optional<std::vector<Ids>> paths;
    bool operator==(const Result&) const = default;
};

// Arguments of the entry points; an array that is missing is null for the library.
using Array = std::optional<std::vector<float>>;
using Table = std::optional<std::vector<std::vector<float>>>;
using IdArray = std::optional<Ids>;

struct InitArgs {
    int nbOA, nbPL;
    bool colorClause, allowReroute, capacityClause;
    float loadbal, load, sqLoad, relativeLoad, sqRelativeLoad, delay, fortz;
    Table prices;
};
struct LspArgs {
    Long id;
    IdArray path;
    int level, oa;
    float bw;
};
struct PathArgs {
    Long id, src, dst;
    int oa, level;
    float bw;
    bool add, preempt;
};
struct BackupArgs {
    Long primID;
    IdArray ids;
    int type;
    bool add, preempt;
};

Session* session(Long id);
// Makes a session the loaded one; null, with a message, if it is not live.
Session* load(Long id);
// The number that the next session gets, if it is free.
void openNextAs(Long id);
void forgetSessions();
// Opens another session with what this one has.
void copySession(const Object& from, Object& to);

Result initKavril(Object& object, const InitArgs& args);
Result killKavril(Object& object);
Result printDB(Object& object);
Result addNodeEntry(Object& object, Long id);
Result addLinkEntry(Object& object, Long id, Hop hop, const Array& cap, const Table& rbw);
Result removeLinkEntry(Object& object, Hop hop);
Result removeNodeEntry(Object& object, Long id);
Result addLSPEntry(Object& object, const LspArgs& args);
Result addBackupLSPEntry(Object& object, const LspArgs& args, Long primID, bool local);
Result removeLSPEntry(Object& object, Long id);
Result computePathEntry(Object& object, const PathArgs& args);
Result computeBackupPathEntry(Object& object, const BackupArgs& args);

}  // namespace twin
