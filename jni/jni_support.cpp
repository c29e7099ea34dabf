#include "jni_support.h"

const char* exceptionFor(Refusal refusal) {
    switch (refusal) {
        case Refusal::ADD:
            return kAddDBException;
        case Refusal::NO_ROUTE:
            return kNoRouteException;
        case Refusal::ROUTING:
            return kRoutingException;
        case Refusal::NONE:
            break;
    }
    return nullptr;
}

jfieldID fieldId(JNIEnv* env, jobject obj, const char* name, const char* signature) {
    jclass objClass = env->GetObjectClass(obj);
    jfieldID field = env->GetFieldID(objClass, name, signature);
    env->DeleteLocalRef(objClass);
    return field;
}

int loadCntx(JNIEnv* env, jobject obj) {
    jfieldID field = fieldId(env, obj, "sessId", "I");
    return field != nullptr ? loadSession(env->GetIntField(obj, field)) : -1;
}

void throwByName(JNIEnv* env, const char* className) {
    if (env->ExceptionCheck()) return;
    jclass exception = env->FindClass(className);
    if (exception == nullptr) {
        say(stderr, "Unable to find the exception class, giving up\n");
        return;
    }
    env->ThrowNew(exception, nullptr);
    env->DeleteLocalRef(exception);
}

JNINativeMethod nativeMethod(const char* name, const char* signature, void* function) {
    return {const_cast<char*>(name), const_cast<char*>(signature), function};
}

void registerOnce(JNIEnv* env, std::atomic<bool>* done, const char* className,
                  const JNINativeMethod* methods, jint nb) {
    // Whoever stands in for a virtual machine may not have what this needs.
    if (*done || env->functions->RegisterNatives == nullptr) return;
    jclass owner = env->FindClass(className);
    // An application may have the native methods' class alone; it misses nothing. What
    // has failed may succeed when the next session is opened, with more memory, say.
    if (owner != nullptr && env->RegisterNatives(owner, methods, nb) == JNI_OK)
        *done = true;
    env->ExceptionClear();
    env->DeleteLocalRef(owner);
}
