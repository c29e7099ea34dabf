#include "jni_state.h"

#include <iterator>
#include <limits>

#include "common/bytes.h"
#include "common/setup.h"
#include "database/database.h"
#include "database/readout.h"
#include "database/relations.h"
#include "jni_support.h"

namespace {

constexpr const char* kOutOfMemory = "java/lang/OutOfMemoryError";

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
        readOutAll(out, centralDB);
        return true;
    });
}

jintArray readLsp(JNIEnv* env, jclass, jint sessId, jint id) {
    return read(env, sessId, [=](ByteWriter* out) {
        const DBLabelSwitchedPath* found = findLSP(&centralDB->lspVec, id);
        if (found != nullptr) readOutLsp(out, found);
        return found != nullptr;
    });
}

jintArray readLink(JNIEnv* env, jclass, jint sessId, jint src, jint dst) {
    return read(env, sessId, [=](ByteWriter* out) {
        const DBLink* found = findLink(&centralDB->linkTab, src, dst);
        if (found != nullptr) readOutLink(out, found);
        return found != nullptr;
    });
}

jintArray lspsOn(JNIEnv* env, jclass, jint sessId, jint src, jint dst) {
    return read(env, sessId,
                [=](ByteWriter* out) { return readOutLspsOn(out, centralDB, src, dst); });
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
