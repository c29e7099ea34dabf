#include "jni_state.h"

#include <iterator>
#include <limits>

#include "common/bytes.h"
#include "common/setup.h"
#include "database/database.h"
#include "database/relations.h"
#include "jni_support.h"

namespace {

constexpr const char* kOutOfMemory = "java/lang/OutOfMemoryError";

// The class with bandwidth, 0 if there is none; -1 if there are several.
Long classOf(const DBLabelSwitchedPath* lsp) {
    Long oa = 0;
    Long nb = 0;
    for (Long i = 0; i < kClasses; i++) {
        if (lsp->bw[i] == 0.0) continue;
        oa = i;
        nb++;
    }
    return nb <= 1 ? oa : -1;
}

void writeNodes(ByteWriter* out, const LongList& path) {
    out->number(path.top);
    out->numbers(path.cont, path.top);
}

void writeLsp(ByteWriter* out, const DBLabelSwitchedPath* lsp) {
    const Long oa = classOf(lsp);
    out->number(lsp->id);
    out->number(lsp->type);
    out->number(lsp->precedence);
    out->number(oa);
    out->amount(lsp->bw[oa < 0 ? 0 : oa]);
    writeNodes(out, lsp->path);
    if (!isBackup(lsp->type)) return;
    out->number(lsp->primID);
    writeNodes(out, lsp->primPath);
}

// A bit for each amount that is not 0, and these.
void writeRow(ByteWriter* out, const double (&row)[8]) {
    Long present = 0;
    for (int i = 0; i < 8; i++) present |= row[i] != 0.0 ? 1 << i : 0;
    out->number(present);
    for (double amount : row)
        if (amount != 0.0) out->amount(amount);
}

void writeLink(ByteWriter* out, const DBLink* link) {
    const DBLinkState& state = link->state;
    out->number(link->id);
    out->number(link->ledger->tail);
    out->number(link->ledger->head);
    out->number(state.color);
    writeRow(out, state.cap);
    for (const auto& levels : state.pbw) writeRow(out, levels);
    for (const auto& levels : state.rbw) writeRow(out, levels);
}

// Nodes, links and LSPs, each in the order of their ids with a 1 before it and a 0 behind
// the last.
void writeAll(ByteWriter* out, const DataBase* dataBase) {
    for (Long id = 0; id < dataBase->nodeVec.top; id++) {
        if (dataBase->nodeVec.cont[id] == nullptr) continue;
        out->number(1);
        out->number(id);
    }
    out->number(0);
    for (Long id = 0; id < dataBase->linkSrcVec.top; id++) {
        const DBLink* link =
            findLink(&dataBase->linkTab, endOf(&dataBase->linkSrcVec, id),
                     endOf(&dataBase->linkDstVec, id));
        if (link == nullptr) continue;
        out->number(1);
        writeLink(out, link);
    }
    out->number(0);
    for (Long id = 0; id < dataBase->lspVec.size; id++) {
        if (dataBase->lspVec.cont[id] == nullptr) continue;
        out->number(1);
        writeLsp(out, dataBase->lspVec.cont[id]);
    }
    out->number(0);
}

// The LSPs of a link's list, each once.
bool writeLspsOn(ByteWriter* out, const DataBase* dataBase, Long src, Long dst) {
    const DBLink* link = findLink(&dataBase->linkTab, src, dst);
    if (link == nullptr) return false;
    const DBLSPList& lsps = link->lspList;
    ScopedLongList ids;
    if (longVecInit(&ids, lsps.top) < 0) out->refuse(kNoMemory);
    for (Long i = 0; i < lsps.top && out->isFine(); i++)
        ids.cont[ids.top++] = lsps.cont[i]->id;
    if (!out->isFine()) return true;
    longListSort(&ids);
    for (Long i = 0; i < ids.top; i++) {
        if (i > 0 && ids.cont[i] == ids.cont[i - 1]) continue;
        out->number(1);
        writeLsp(out, findLSP(&dataBase->lspVec, ids.cont[i]));
    }
    out->number(0);
    return true;
}

// An array of what has been written; null, an exception pending, if there is no memory.
jintArray toJava(JNIEnv* env, const ByteWriter& out) {
    const std::size_t nb = out.size() / sizeof(Long);
    jintArray array = nullptr;
    if (out.isFine() && nb <= static_cast<std::size_t>(std::numeric_limits<jsize>::max()))
        array = env->NewIntArray(static_cast<jsize>(nb));
    void* to =
        array != nullptr ? env->GetPrimitiveArrayCritical(array, nullptr) : nullptr;
    if (to == nullptr) {
        throwByName(env, kOutOfMemory);
        return nullptr;
    }
    ByteReader(out.data(), out.size())
        .numbers(static_cast<jint*>(to), static_cast<Long>(nb));
    env->ReleasePrimitiveArrayCritical(array, to, 0);
    return array;
}

// What write(out) writes of the session; null if it is not live or write says that there
// is no such thing. The session is left before any Java is run.
template <class Write>
jintArray read(JNIEnv* env, jint sessId, Write write) {
    ByteWriter out;
    const Leaving leaving;
    if (loadSession(sessId) < 0) return nullptr;
    const bool isThere = write(&out);
    saveCntx(sessId);
    return isThere ? toJava(env, out) : nullptr;
}

jintArray readAll(JNIEnv* env, jclass, jint sessId) {
    return read(env, sessId, [](ByteWriter* out) {
        writeAll(out, centralDB);
        return true;
    });
}

jintArray readLsp(JNIEnv* env, jclass, jint sessId, jint id) {
    return read(env, sessId, [=](ByteWriter* out) {
        const DBLabelSwitchedPath* found = findLSP(&centralDB->lspVec, id);
        if (found != nullptr) writeLsp(out, found);
        return found != nullptr;
    });
}

jintArray readLink(JNIEnv* env, jclass, jint sessId, jint src, jint dst) {
    return read(env, sessId, [=](ByteWriter* out) {
        const DBLink* found = findLink(&centralDB->linkTab, src, dst);
        if (found != nullptr) writeLink(out, found);
        return found != nullptr;
    });
}

jintArray lspsOn(JNIEnv* env, jclass, jint sessId, jint src, jint dst) {
    return read(env, sessId,
                [=](ByteWriter* out) { return writeLspsOn(out, centralDB, src, dst); });
}

template <class Test>
jboolean test(jint sessId, Test isSo) {
    const Leaving leaving;
    return loadSession(sessId) >= 0 && isSo() ? JNI_TRUE : JNI_FALSE;
}

jboolean hasLsp(JNIEnv*, jclass, jint sessId, jint id) {
    return test(sessId, [=] { return findLSP(&centralDB->lspVec, id) != nullptr; });
}

// The ids that list(ids) lists.
template <class List>
jintArray idsOf(JNIEnv* env, jint sessId, List list) {
    return read(env, sessId, [=](ByteWriter* out) {
        ScopedLongList ids;
        if (longVecInit(&ids, -1) < 0 || list(&ids) < 0)
            out->refuse(kNoMemory);
        else
            out->numbers(ids.cont, ids.top);
        return true;
    });
}

jintArray backupsOf(JNIEnv* env, jclass, jint sessId, jint id) {
    return idsOf(env, sessId,
                 [=](LongList* ids) { return DBlistBackups(centralDB, id, ids); });
}

jintArray dependants(JNIEnv* env, jclass, jint sessId, jint src, jint dst) {
    return idsOf(env, sessId, [=](LongList* ids) {
        return DBlistDependants(centralDB, src, dst, ids);
    });
}

}  // namespace

void registerState(JNIEnv* env) {
    const JNINativeMethod methods[] = {
        nativeMethod("all", "(I)[I", reinterpret_cast<void*>(readAll)),
        nativeMethod("lsp", "(II)[I", reinterpret_cast<void*>(readLsp)),
        nativeMethod("link", "(III)[I", reinterpret_cast<void*>(readLink)),
        nativeMethod("lspsOn", "(III)[I", reinterpret_cast<void*>(lspsOn)),
        nativeMethod("backupsOf", "(II)[I", reinterpret_cast<void*>(backupsOf)),
        nativeMethod("dependants", "(III)[I", reinterpret_cast<void*>(dependants)),
        nativeMethod("hasLsp", "(II)Z", reinterpret_cast<void*>(hasLsp)),
    };
    static std::atomic<bool> done = false;
    registerOnce(env, &done, "velmor/kavril/internal/State", methods,
                 static_cast<jint>(std::size(methods)));
}
