#include "session/changes.h"

#include <cstring>
#include <initializer_list>

#include "admission/lsp_setup.h"
#include "common/setup.h"
#include "database/contents.h"
#include "database/database.h"
#include "error/error.h"
#include "session/journal.h"

#define ERROR_SOURCE "session/journal.c"

namespace {

// First byte of a record.
enum Kind : std::uint8_t {
    ADD_NODE = 1,
    ADD_LINK,
    REMOVE_LINK,
    REMOVE_NODE,
    ADD_LSP,
    REMOVE_LSP,
    SWITCHES,
    CHANGE_LSP,
    SET_CAPACITY
};

// Whether a message from so many on has a word of these.
bool isSaid(Long from, std::initializer_list<const char*> words) {
    for (Long i = from; i < errorManager.top; i++)
        for (const char* word : words)
            if (std::strstr(errorManager.list[i].message, word) != nullptr) return true;
    return false;
}

// Whether a call that failed may have changed something: it says so, or memory has ended.
bool mayHaveChanged(Long from) {
    return isSaid(from, {"uncomplete", "memory", "resize"});
}

bool isSame(const PredicateConfig& a, const PredicateConfig& b) {
    return a.allowReroute == b.allowReroute && a.capacityClause == b.capacityClause &&
           a.colorClause == b.colorClause;
}

// Calls act and records it by write(out) if it has changed the database. One that has
// failed half-way cannot be made again: the journal then needs the session as it is.
template <class Act, class Write>
int change(Kind kind, Act act, Write write) {
    Journal* journal = journalOf(currentSessId);
    if (journal == nullptr) return act();
    const Long from = errorManager.top;
    const int ret = act();
    if (ret == 0) {
        recordSwitches(journal);
        journal->pending.byte(kind);
        write(&journal->pending);
    } else if (mayHaveChanged(from)) {
        journal->needsBase = true;
    }
    return ret;
}

auto record(const DBLabelSwitchedPath* lsp) {
    return [=](ByteWriter* out) {
        out->number(lsp->id);
        writeLsp(out, lsp);
    };
}

auto numbers(std::initializer_list<Long> values) {
    return [=](ByteWriter* out) {
        for (Long value : values) out->number(value);
    };
}

int replayAddLink(ByteReader* in) {
    const Long id = in->number();
    const Long src = in->number();
    const Long dst = in->number();
    ScopedLinkState state;
    if (DBlinkStateInit(&state) < 0) return -1;
    readState(in, &state);
    return in->isFine() ? DBaddLink(centralDB, id, src, dst, &state) : -1;
}

int replayLSP(ByteReader* in, int (*make)(DataBase*, DBLabelSwitchedPath*, LongList*)) {
    ScopedLSP lsp;
    ScopedLongList preempted;
    if (DBlspInit(&lsp) < 0 || longVecInit(&preempted, -1) < 0) return -1;
    lsp.id = in->number();
    readLspFields(in, &lsp);
    return in->isFine() ? make(centralDB, &lsp, &preempted) : -1;
}

int replaySetCapacity(ByteReader* in) {
    const Long src = in->number();
    const Long dst = in->number();
    double cap[kClasses];
    in->amounts(cap, kClasses);
    return in->isFine() ? DBsetLinkCapacity(centralDB, src, dst, cap) : -1;
}

int replayOne(ByteReader* in) {
    switch (in->byte()) {
        case ADD_NODE:
            return DBaddNode(centralDB, in->number());
        case ADD_LINK:
            return replayAddLink(in);
        case REMOVE_LINK: {
            const Long src = in->number();
            return DBremoveLink(centralDB, src, in->number());
        }
        case REMOVE_NODE:
            return DBremoveNode(centralDB, in->number());
        case ADD_LSP:
            return replayLSP(in, DBaddLSP);
        case REMOVE_LSP:
            return DBremoveLSP(centralDB, in->number());
        case SWITCHES: {
            PredicateConfig* switches = &kavrilConfig.predicateConfig;
            switches->allowReroute = in->byte() != 0;
            switches->capacityClause = in->byte() != 0;
            switches->colorClause = in->byte() != 0;
            return 0;
        }
        case CHANGE_LSP:
            return replayLSP(in, DBchangeLSP);
        case SET_CAPACITY:
            return replaySetCapacity(in);
        default:
            return FAIL_WITH(-1, "Unknown kind of change");
    }
}

}  // namespace

void recordSwitches(Journal* journal) {
    const PredicateConfig& switches = kavrilConfig.predicateConfig;
    if (isSame(journal->switches, switches)) return;
    journal->switches = switches;
    for (const int byte : {int{SWITCHES}, int{switches.allowReroute},
                           int{switches.capacityClause}, int{switches.colorClause}})
        journal->pending.byte(static_cast<std::uint8_t>(byte));
}

int SCaddNode(Long id) {
    return change(
        ADD_NODE, [=] { return DBaddNode(centralDB, id); }, numbers({id}));
}

int SCaddLink(Long id, Long src, Long dst, DBLinkState* state) {
    return change(
        ADD_LINK, [=] { return DBaddLink(centralDB, id, src, dst, state); },
        [=](ByteWriter* out) {
            numbers({id, src, dst})(out);
            writeState(out, state, true);
        });
}

int SCremoveLink(Long src, Long dst) {
    return change(
        REMOVE_LINK, [=] { return DBremoveLink(centralDB, src, dst); },
        numbers({src, dst}));
}

int SCremoveNode(Long id) {
    return change(
        REMOVE_NODE, [=] { return DBremoveNode(centralDB, id); }, numbers({id}));
}

int SCaddLSP(DBLabelSwitchedPath* lsp, LongList* preemptList) {
    return change(
        ADD_LSP, [=] { return DBaddLSP(centralDB, lsp, preemptList); }, record(lsp));
}

int SCchangeLSP(DBLabelSwitchedPath* lsp, LongList* preemptList) {
    return change(
        CHANGE_LSP, [=] { return DBchangeLSP(centralDB, lsp, preemptList); },
        record(lsp));
}

int SCsetLinkCapacity(Long src, Long dst, const double (&cap)[kClasses]) {
    return change(
        SET_CAPACITY, [&] { return DBsetLinkCapacity(centralDB, src, dst, cap); },
        [&](ByteWriter* out) {
            numbers({src, dst})(out);
            out->amounts(cap, kClasses);
        });
}

int SCremoveLSP(Long id) {
    return change(
        REMOVE_LSP, [=] { return DBremoveLSP(centralDB, id); }, numbers({id}));
}

int replay(ByteReader* records) {
    const Long from = errorManager.top;
    while (records->left() > 0) {
        if (replayOne(records) == 0 && records->isFine()) continue;
        if (isSaid(from, {"memory", "resize"})) return FAIL_WITH(-1, "%s", kNoMemory);
        errorManager.top = from;
        return FAIL_WITH(-1, "It is damaged: a change in it cannot be made");
    }
    return 0;
}
