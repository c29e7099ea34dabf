// Native method that computes the backups of a primary.

#include "common/setup.h"
#include "error/error.h"
#include "jni_arguments.h"
#include "jni_support.h"
#include "session/calls.h"
#include "velmor_repository_KAVRIL_JNIKAVRIL.h"

#define ERROR_SOURCE "jni_interface.c"

namespace {

// An array of arrays; null, an exception pending, if there is no memory.
jobjectArray pathsOf(JNIEnv* env, const BackupCall& call) {
    jclass intArrayClass = env->FindClass("[I");
    if (intArrayClass == nullptr) return nullptr;
    jobjectArray paths = env->NewObjectArray(call.nbPaths(), intArrayClass, nullptr);
    env->DeleteLocalRef(intArrayClass);
    for (Long i = 0; paths != nullptr && i < call.nbPaths(); i++) {
        jintArray path = toJava(env, &call.path(i));
        if (path == nullptr) return nullptr;
        env->SetObjectArrayElement(paths, i, path);
        env->DeleteLocalRef(path);
    }
    return paths;
}

const char* computeBackups(JNIEnv* env, const BackupCall::Arguments& args,
                           jintArray backupIds, jobjectArray* result) {
    BackupCall call(args);
    const Long nbIds = backupIds != nullptr ? env->GetArrayLength(backupIds) : -1;
    const char* exception = exceptionFor(call.compute(nbIds));
    if (exception != nullptr) return exception;
    jobjectArray paths = pathsOf(env, call);
    if (paths == nullptr) return nullptr;  // nothing is placed yet
    const PinnedInts ids(env, backupIds);
    if (ids.isNull()) return FAIL_WITH(kAddDBException, "Critical lack of memory");
    exception = exceptionFor(call.place(ids.data(), nbIds));
    if (exception == nullptr) *result = paths;
    return exception;
}

}  // namespace

JNIEXPORT jobjectArray JNICALL
Java_velmor_repository_KAVRIL_JNIKAVRIL_jnicomputeBackupPath(
    JNIEnv* env, jobject obj, jint primarylspId, jintArray backuplspIds, jint backupType,
    jboolean ADDLSP, jboolean PREEMPT) {
    jobjectArray result = nullptr;
    withContext(env, obj, kNoRouteException, [&] {
        kavrilConfig.predicateConfig.allowReroute = PREEMPT != JNI_FALSE;
        return computeBackups(
            env, {primarylspId, backupType, ADDLSP != JNI_FALSE, PREEMPT != JNI_FALSE},
            backuplspIds, &result);
    });
    return result;
}
