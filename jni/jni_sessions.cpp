#include "jni_sessions.h"

#include <iterator>

#include "database/database.h"
#include "jni_arguments.h"
#include "jni_support.h"

#define ERROR_SOURCE "jni_interface.c"

namespace {

// A session with 8 classes and 8 levels, whatever other sessions have: the numbers of the
// process stay what they are. Colours are always tested: only requests that avoid some
// have any to test.
jint open(JNIEnv* env, jclass, jboolean capacityClause, jfloatArray weights,
          jboolean quiet) {
    const Leaving leaving;
    if (beginSession() < 0) return -1;
    KAVRILConfig config = {};
    config.predicateConfig = {false, capacityClause != JNI_FALSE, true};
    Weights values;
    if (checkArray(env, weights, std::size(values)) < 0) return -1;
    env->GetFloatArrayRegion(weights, 0, std::size(values), values);
    setWeights(&config.primaryComputationConfig, values);
    sessionUse = {true, quiet != JNI_FALSE};
    return openEmpty(config);
}

// What the thread's last call has left to its caller (print.h); null if that is nothing.
jbyteArray takeOutput(JNIEnv* env, jclass) {
    const Said texts = said();
    if (texts.bytes == 0) return nullptr;
    const auto size = static_cast<jsize>(texts.bytes);
    jbyteArray bytes = env->NewByteArray(size);
    if (bytes != nullptr)
        env->SetByteArrayRegion(bytes, 0, size,
                                reinterpret_cast<const jbyte*>(texts.texts));
    forgetSaid();
    return bytes;
}

}  // namespace

void registerSessions(JNIEnv* env) {
    const JNINativeMethod methods[] = {
        nativeMethod("open", "(Z[FZ)I", reinterpret_cast<void*>(open)),
        nativeMethod("takeOutput", "()[B", reinterpret_cast<void*>(takeOutput)),
    };
    static std::atomic<bool> done = false;
    registerOnce(env, &done, "velmor/kavril/internal/Sessions", methods,
                 static_cast<jint>(std::size(methods)));
}
