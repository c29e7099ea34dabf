#include "jni_request.h"

#include <iterator>

#include "database/database.h"
#include "jni_arguments.h"
#include "jni_support.h"
#include "session/calls.h"
#include "session/changes.h"
#include "session/request_call.h"

namespace {

jintArray request(JNIEnv* env, jclass, jint sessId, jintArray numbers) {
    return withSession<jintArray>(sessId, nullptr, [&]() -> jintArray {
        ScopedLongList list;
        ScopedLongList answer;
        RequestCall call;
        if (longVecInit(&list, -1) == 0 && readIds(env, numbers, &list) == 0)
            call.run(&list);
        jintArray result = nullptr;
        if (longVecInit(&answer, -1) == 0 && call.listAnswer(&answer) == 0)
            result = toJava(env, &answer);
        if (result != nullptr)
            call.removePreempted();
        else
            call.takeBack();
        return result;
    });
}

jboolean addLink(JNIEnv* env, jclass, jint sessId, jint id, jint src, jint dst,
                 jint color, jfloatArray capacities) {
    return withSession<jboolean>(sessId, JNI_FALSE, [&]() -> jboolean {
        ScopedLinkState state;
        if (DBlinkStateInit(&state) < 0 ||
            readFloats(env, capacities, state.cap, nbClasses()) < 0)
            return JNI_FALSE;
        state.color = color;
        return SCaddLink(id, src, dst, &state) == 0 ? JNI_TRUE : JNI_FALSE;
    });
}

jint freeLspId(JNIEnv*, jclass, jint sessId) {
    return withSession<jint>(sessId, -1,
                             [] { return DBgetFreeLSPId(centralDB, kMaxLspId); });
}

jintArray localBackups(JNIEnv* env, jclass, jint sessId, jint primary) {
    return withSession<jintArray>(sessId, nullptr, [&]() -> jintArray {
        ScopedLongList paths;
        return longVecInit(&paths, -1) == 0 && listLocalBackups(primary, &paths) == 0
                   ? toJava(env, &paths)
                   : nullptr;
    });
}

}  // namespace

void registerRequests(JNIEnv* env) {
    const JNINativeMethod methods[] = {
        nativeMethod("request", "(I[I)[I", reinterpret_cast<void*>(request)),
        nativeMethod("freeLspId", "(I)I", reinterpret_cast<void*>(freeLspId)),
        nativeMethod("localBackups", "(II)[I", reinterpret_cast<void*>(localBackups)),
        nativeMethod("addLink", "(IIIII[F)Z", reinterpret_cast<void*>(addLink)),
    };
    static std::atomic<bool> done = false;
    registerOnce(env, &done, "velmor/kavril/internal/Requests", methods,
                 static_cast<jint>(std::size(methods)));
}
