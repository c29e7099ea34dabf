// Native method that computes primary paths.

#include "common/setup.h"
#include "jni_arguments.h"
#include "jni_support.h"
#include "session/calls.h"
#include "velmor_repository_KAVRIL_JNIKAVRIL.h"

namespace {

// Leaves the LSPs that give way in the object's field and removes them.
const char* report(JNIEnv* env, jobject obj, jfieldID lspsField, PrimaryCall* call) {
    if (call->preempted().top == 0) return nullptr;
    jintArray preempted = toJava(env, &call->preempted());
    if (preempted == nullptr) {  // out of memory is pending
        call->takeBack();
        return nullptr;
    }
    const char* exception = exceptionFor(call->removePreempted());
    if (exception == nullptr) env->SetObjectField(obj, lspsField, preempted);
    return exception;
}

}  // namespace

// Rerouting information and colours are not read: requests have neither.
JNIEXPORT jintArray JNICALL Java_velmor_repository_KAVRIL_JNIKAVRIL_jnicomputePath(
    JNIEnv* env, jobject obj, jint id, jint src, jint dst, jint, jint, jint, jint OA,
    jint PL, jfloat reservation, jintArray, jboolean ADDLSP, jboolean PREEMPT) {
    const bool preempt = PREEMPT != JNI_FALSE;
    jintArray result = nullptr;
    withContext(env, obj, kNoRouteException, [&]() -> const char* {
        jfieldID lspsField = fieldId(env, obj, "lsps", "[I");
        if (lspsField == nullptr) return nullptr;
        PrimaryCall call;
        const char* exception =
            exceptionFor(call.compute({id, src, dst, OA, PL, reservation}, preempt));
        if (exception != nullptr) return exception;
        jintArray path = toJava(env, &call.path());
        if (path == nullptr) return nullptr;  // out of memory is pending
        exception = exceptionFor(call.place(ADDLSP != JNI_FALSE, preempt));
        if (exception == nullptr) exception = report(env, obj, lspsField, &call);
        if (exception == nullptr && !env->ExceptionCheck()) result = path;
        return exception;
    });
    return result;
}
