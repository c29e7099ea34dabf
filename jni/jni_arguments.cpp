#include "jni_arguments.h"

#include "error/error.h"
#include "jni_support.h"

#define ERROR_SOURCE "jni_interface.c"

int checkArray(JNIEnv* env, jarray array, Long length) {
    if (array == nullptr || env->GetArrayLength(array) < length)
        return FAIL_WITH(-1, "Bad argument (NULL)");
    return 0;
}

int readFloats(JNIEnv* env, jfloatArray array, double* to, Long length) {
    if (checkArray(env, array, length) < 0) return -1;
    const PinnedFloats floats(env, array);
    if (floats.isNull()) return FAIL_WITH(-1, "Critical lack of memory");
    for (Long i = 0; i < length; i++) to[i] = static_cast<double>(floats[i]);
    return 0;
}

int readRows(JNIEnv* env, jobjectArray rows, double (&table)[kClasses][kLevels],
             Long nbRows, Long nbColumns) {
    if (checkArray(env, rows, nbRows) < 0) return -1;
    for (Long i = 0; i < nbRows; i++) {
        auto row = static_cast<jfloatArray>(env->GetObjectArrayElement(rows, i));
        const int ret = readFloats(env, row, table[i], nbColumns);
        env->DeleteLocalRef(row);
        if (ret < 0) return -1;
    }
    return 0;
}

int readIds(JNIEnv* env, jintArray array, LongList* to) {
    if (checkArray(env, array, 0) < 0) return -1;
    const Long length = env->GetArrayLength(array);
    const PinnedInts ids(env, array);
    if (ids.isNull()) return FAIL_WITH(-1, "Critical lack of memory");
    for (Long i = 0; i < length; i++)
        if (longVecPushBack(to, ids[i]) < 0) return -1;
    return 0;
}

jintArray toJava(JNIEnv* env, const LongList* list) {
    jintArray array = env->NewIntArray(list->top);
    if (array != nullptr) env->SetIntArrayRegion(array, 0, list->top, list->cont);
    return array;
}
