#include "jni_support.h"

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
