// The module's functions, for engine.mjs: plain numbers in and out.
//
// Arrays come in through the bytes of kavril_input and leave through those of
// kavril_answer, in the order of the arguments, numbers of 32 bits unless something else
// is said. The number of elements of an array that is not given is -1.
//
// What a call returns is 0 or the Refusal that it ends with, unless something else is
// said. What it has against it is then on the session's stack, for kavril_messages.

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "common/bytes.h"
#include "common/print.h"
#include "database/outage.h"
#include "database/readout.h"
#include "database/relations.h"
#include "error/error.h"
#include "session/calls.h"
#include "session/changes.h"
#include "session/request_call.h"
#include "session/session.h"
#include "session/session_file.h"

#define ERROR_SOURCE "jni_interface.c"
#define EXPORT(result, name) extern "C" [[clang::export_name(#name)]] result name

namespace {

struct Input {
    std::uint8_t* bytes;
    std::size_t size;
    std::size_t read;
};
Input input = {};
ByteWriter answer;

const void* read(Long nb) {
    const void* from = input.bytes + input.read;
    input.read += 4 * static_cast<std::size_t>(std::max<Long>(nb, 0));
    return from;
}

// Copies the first `wanted` elements of an array of `nb`, widened.
int readFloats(double* to, Long nb, Long wanted) {
    const auto* from = static_cast<const float*>(read(nb));
    if (nb < wanted) return FAIL_WITH(-1, "Bad argument (NULL)");
    for (Long i = 0; i < wanted; i++) to[i] = static_cast<double>(from[i]);
    return 0;
}

// The same for rows of a table, which have eight columns.
int readRows(double (&table)[kClasses][kLevels], Long nb, Long wanted, Long columns) {
    if (nb < wanted) return FAIL_WITH(-1, "Bad argument (NULL)");
    for (Long i = 0; i < wanted; i++) readFloats(table[i], kLevels, columns);
    return 0;
}

auto ids(Long nb) {
    return [=](LongList* to) {
        const auto* from = static_cast<const Long*>(read(nb));
        if (nb < 0) return FAIL_WITH(-1, "Bad argument (NULL)");
        for (Long i = 0; i < nb; i++)
            if (longVecPushBack(to, from[i]) < 0) return -1;
        return 0;
    };
}

void writeIds(const LongList& list) {
    answer.number(list.top);
    answer.numbers(list.cont, list.top);
}

// Runs act on the session and saves it; `otherwise` for one that is not live.
template <class Act>
int on(Long session, Refusal otherwise, Act act) {
    const Saying saying;
    answer.clear();
    input.read = 0;
    Refusal refusal = otherwise;
    if (loadSession(session) >= 0) {
        refusal = act();
        saveCntx(session);
    }
    return static_cast<int>(refusal);
}

// Of a change that either is made or not.
Refusal outcome(int ret, const char* message) {
    return ret < 0 ? FAIL_WITH(Refusal::ADD, "%s", message) : Refusal::NONE;
}

// Runs write, which writes what there is to know of something in a session; refused
// without a message if there is no such thing.
template <class Write>
int ask(Long session, Write write) {
    return on(session, Refusal::ADD, [&] {
        if (!write()) return Refusal::ADD;
        return answer.isFine() ? Refusal::NONE
                               : FAIL_WITH(Refusal::ADD, "%s", answer.wrong());
    });
}

// Answers with the ids that list(ids) lists; refused if it fails.
template <class List>
int askIds(Long session, List list) {
    return ask(session, [=] {
        ScopedLongList ids;
        if (longVecInit(&ids, -1) < 0 || list(&ids) < 0) return false;
        answer.numbers(ids.cont, ids.top);
        return true;
    });
}

}  // namespace

// Room for so many bytes of arrays; null without memory.
EXPORT(void*, kavril_input)(std::size_t nb) {
    if (nb > input.size) {
        void* bytes = std::realloc(input.bytes, nb);
        if (bytes == nullptr) return nullptr;
        input.bytes = static_cast<std::uint8_t*>(bytes);
        input.size = nb;
    }
    return input.bytes;
}

EXPORT(const void*, kavril_answer)() {
    return answer.data();
}

EXPORT(std::size_t, kavril_answer_size)() {
    return answer.size();
}

// Opens a session and returns its number, or -1, which is the number to get the messages
// by. Array: the rows of the rerouting prices.
EXPORT(int, kavril_open)
(Long nbOA, Long nbPL, bool colorClause, bool allowReroute, bool capacityClause,
 float loadBal, float load, float sqLoad, float relLoad, float sqRelLoad, float delay,
 float fortz, Long nbRows) {
    input.read = 0;
    int session = -1;
    KAVRILConfig config = {};
    config.predicateConfig = {allowReroute, capacityClause, colorClause};
    setWeights(&config.primaryComputationConfig,
               {loadBal, load, sqLoad, relLoad, sqRelLoad, delay, fortz});
    if (beginSession() == 0 && readRows(config.reroutingConfig.scoreCoef, nbRows,
                                        usable(nbOA), usable(nbPL)) == 0) {
        COST = 0.0;
        NBOA = nbOA;
        NBPL = nbPL;
        session = openEmpty(config);
    }
    leaveSession();
    return session;
}

EXPORT(void, kavril_close)(Long session) {
    const Saying saying;
    if (loadSession(session) >= 0)
        closeSession();
    else if (lastSession == -1)
        std::fputs("ERROR, call to killKavril before initKavril\n", stderr);
}

EXPORT(void, kavril_print)(Long session) {
    if (loadSession(session) < 0) return;
    DBprintDB(centralDB);
    std::fflush(stdout);
    leaveSession();
}

// Takes the messages, newest first, a zero behind each.
EXPORT(void, kavril_messages)(Long session) {
    answer.clear();
    if (session < 0 ? currentSessId != -1 : loadSession(session) < 0) return;
    while (errorManager.top > 0) {
        const char* message = errorManager.list[--errorManager.top].message;
        answer.raw(message, std::strlen(message) + 1);
    }
    saveCntx(session);
}

EXPORT(int, kavril_add_node)(Long session, Long id) {
    return on(session, Refusal::ADD,
              [&] { return outcome(SCaddNode(id), "Impossible to init a Node"); });
}

// Arrays: capacities, rows of what is reserved (rows of 8).
EXPORT(int, kavril_add_link)
(Long session, Long id, Long src, Long dst, Long nbCapacities, Long nbRows, Long color) {
    return on(session, Refusal::ADD, [&] {
        ScopedLinkState state;
        if (DBlinkStateInit(&state) < 0)
            return FAIL_WITH(Refusal::NONE, "Impossible to init a Link");
        const bool isRead = readFloats(state.cap, nbCapacities, nbClasses()) == 0 &&
                            readRows(state.rbw, nbRows, nbClasses(), nbLevels()) == 0;
        state.color = color;
        return outcome(isRead ? SCaddLink(id, src, dst, &state) : -1,
                       "Impossible to add Link");
    });
}

EXPORT(int, kavril_remove_link)(Long session, Long src, Long dst) {
    return on(session, Refusal::ADD, [&] {
        return outcome(SCremoveLink(src, dst), "Impossible to remove Link");
    });
}

EXPORT(int, kavril_remove_node)(Long session, Long id) {
    return on(session, Refusal::ADD,
              [&] { return outcome(SCremoveNode(id), "Impossible to remove Node"); });
}

// Array: capacities, of all classes.
EXPORT(int, kavril_set_capacity)(Long session, Long src, Long dst) {
    return on(session, Refusal::ADD, [&] {
        double cap[kClasses];
        readFloats(cap, kClasses, kClasses);
        return outcome(SCsetLinkCapacity(src, dst, cap),
                       "Impossible to set the capacity");
    });
}

// Array: the path.
EXPORT(int, kavril_add_lsp)
(Long session, Long id, Long nbNodes, Long level, Long oa, float bw) {
    return on(session, Refusal::ADD, [&] {
        return PlaceCall({id, level, oa, bw}).placePrimary(ids(nbNodes));
    });
}

// Array: the path.
EXPORT(int, kavril_add_backup)
(Long session, Long id, Long primary, Long nbNodes, Long level, Long oa, float bw,
 bool isLocal) {
    return on(session, Refusal::ADD, [&] {
        return PlaceCall({id, level, oa, bw})
            .placeBackup(primary, isLocal ? DB_LOCAL_BACKUP_LSP : DB_GLOBAL_BACKUP_LSP,
                         ids(nbNodes));
    });
}

EXPORT(int, kavril_remove_lsp)(Long session, Long id) {
    return on(session, Refusal::ADD,
              [&] { return outcome(SCremoveLSP(id), "Impossible to remove LSP"); });
}

// Answers with the path and the LSPs that gave way, their number before each.
EXPORT(int, kavril_compute_path)
(Long session, Long id, Long src, Long dst, Long oa, Long level, float bw, bool add,
 bool preempt) {
    return on(session, Refusal::NO_ROUTE, [&] {
        PrimaryCall call;
        Refusal refusal = call.compute({id, src, dst, oa, level, bw}, preempt);
        if (refusal == Refusal::NONE) {
            writeIds(call.path());
            refusal = call.place(add, preempt);
        }
        if (refusal != Refusal::NONE) return refusal;
        writeIds(call.preempted());
        if (!answer.isFine()) {
            call.takeBack();
            return FAIL_WITH(Refusal::ADD, "%s", answer.wrong());
        }
        return call.removePreempted();
    });
}

// Array: the numbers of a RequestCall, whose answer this is. Refused only without it.
EXPORT(int, kavril_request)(Long session, Long nbNumbers) {
    return on(session, Refusal::ADD, [&] {
        ScopedLongList numbers;
        ScopedLongList list;
        RequestCall call;
        if (longVecInit(&numbers, -1) == 0 && ids(nbNumbers)(&numbers) == 0)
            call.run(&numbers);
        if (longVecInit(&list, -1) == 0 && call.listAnswer(&list) == 0)
            answer.numbers(list.cont, list.top);
        else
            answer.refuse(kNoMemory);
        if (answer.isFine())
            call.removePreempted();
        else
            call.takeBack();
        return answer.isFine() ? Refusal::NONE
                               : FAIL_WITH(Refusal::ADD, "%s", answer.wrong());
    });
}

// Array: ids for the backups. Answers with the number of paths, and each with the number
// of its nodes before it.
EXPORT(int, kavril_compute_backups)
(Long session, Long primary, Long nbIds, Long type, bool add, bool preempt) {
    return on(session, Refusal::NO_ROUTE, [&] {
        kavrilConfig.predicateConfig.allowReroute = preempt;
        BackupCall call({primary, type, add, preempt});
        const Refusal refusal = call.compute(nbIds);
        if (refusal != Refusal::NONE) return refusal;
        answer.number(call.nbPaths());
        for (Long i = 0; i < call.nbPaths(); i++) writeIds(call.path(i));
        if (!answer.isFine()) return FAIL_WITH(Refusal::ADD, "%s", answer.wrong());
        return call.place(static_cast<const Long*>(read(nbIds)), nbIds);
    });
}

// Questions, answered as readout.h says; refused if there is no such thing.
EXPORT(int, kavril_state)(Long session) {
    return ask(session, [] { return readOutAll(&answer, centralDB), true; });
}

EXPORT(int, kavril_lsp)(Long session, Long id) {
    return ask(session, [=] {
        const DBLabelSwitchedPath* lsp = findLSP(&centralDB->lspVec, id);
        if (lsp != nullptr) readOutLsp(&answer, lsp);
        return lsp != nullptr;
    });
}

EXPORT(int, kavril_link)(Long session, Long src, Long dst) {
    return ask(session, [=] {
        const DBLink* link = findLink(&centralDB->linkTab, src, dst);
        if (link != nullptr) readOutLink(&answer, link);
        return link != nullptr;
    });
}

EXPORT(int, kavril_lsps_on)(Long session, Long src, Long dst) {
    return ask(session, [=] { return readOutLspsOn(&answer, centralDB, src, dst); });
}

EXPORT(bool, kavril_has_node)(Long session, Long id) {
    return ask(session, [=] { return findNode(&centralDB->nodeVec, id) != nullptr; }) ==
           0;
}

// Answers with a path for each link of the primary, the number of its nodes before it.
EXPORT(int, kavril_local_backups)(Long session, Long primary) {
    return askIds(session, [=](LongList* to) { return listLocalBackups(primary, to); });
}

// An LSP id that is free; -1 if all are in use.
EXPORT(int, kavril_free_lsp_id)(Long session) {
    return askIds(session, [](LongList* to) {
        return longVecPushBack(to, DBgetFreeLSPId(centralDB, kMaxLspId));
    });
}

// Answered with ids: the backups of a primary; what a link, or a node for dst -1, cannot
// be taken from; who has to give way on a link that is booked beyond its capacity.
EXPORT(int, kavril_backups_of)(Long session, Long id) {
    return askIds(session,
                  [=](LongList* to) { return DBlistBackups(centralDB, id, to); });
}

EXPORT(int, kavril_dependants)(Long session, Long src, Long dst) {
    return askIds(
        session, [=](LongList* to) { return DBlistDependants(centralDB, src, dst, to); });
}

EXPORT(int, kavril_misfits)(Long session, Long src, Long dst) {
    return askIds(session,
                  [=](LongList* to) { return DBlistMisfits(centralDB, src, dst, to); });
}

// Answers with the bytes of a session file.
EXPORT(int, kavril_save)(Long session, Long classes, Long levels) {
    return on(session, Refusal::ADD, [&] {
        writeFile(&answer, centralDB, {classes, levels});
        return answer.isFine() ? Refusal::NONE
                               : FAIL_WITH(Refusal::ADD, "Unable to save the session: %s",
                                           answer.wrong());
    });
}

// Makes the session what the bytes of a file in the input say, and answers with its
// numbers of classes and levels.
EXPORT(int, kavril_load)(Long session, std::size_t nb) {
    return on(session, Refusal::ADD, [&] {
        UsedNumbers numbers;
        DataBase* loaded = readFile(input.bytes, nb, &numbers);
        if (loaded == nullptr) return Refusal::ADD;
        DBdestroy(centralDB);
        centralDB = loaded;
        answer.number(numbers.classes);
        answer.number(numbers.levels);
        return Refusal::NONE;
    });
}
