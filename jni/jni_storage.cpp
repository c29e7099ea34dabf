#include "jni_storage.h"

#include <iterator>

#include "common/memory.h"
#include "common/setup.h"
#include "database/database.h"
#include "jni_support.h"
#include "session/journal.h"

namespace {

// A path's bytes, as the system has them.
class Path {
  public:
    Path(JNIEnv* env, jbyteArray bytes) {
        const jsize length = env->GetArrayLength(bytes);
        path_ = static_cast<char*>(mymalloc(static_cast<std::size_t>(length) + 1));
        if (path_ == nullptr) return;
        env->GetByteArrayRegion(bytes, 0, length, reinterpret_cast<jbyte*>(path_));
        path_[length] = '\0';
    }
    ~Path() { myfree(path_); }
    Path(const Path&) = delete;
    Path& operator=(const Path&) = delete;

    // Null if there is no memory.
    const char* get() const { return path_; }

  private:
    char* path_;
};

jint copy(JNIEnv*, jclass, jint sessId) {
    const Leaving leaving;
    return copySession(sessId);
}

jboolean save(JNIEnv* env, jclass, jint sessId, jbyteArray path, jint nbClasses,
              jint nbLevels) {
    return withSession<jboolean>(sessId, JNI_FALSE, [&] {
        return saveFile(centralDB, {nbClasses, nbLevels}, Path(env, path).get()) == 0
                   ? JNI_TRUE
                   : JNI_FALSE;
    });
}

// Puts what was saved in place of what the session has.
jboolean load(JNIEnv* env, jclass, jint sessId, jbyteArray path, jintArray numbers) {
    return withSession<jboolean>(sessId, JNI_FALSE, [&]() -> jboolean {
        UsedNumbers used;
        DataBase* loaded = loadFile(Path(env, path).get(), &used);
        if (loaded == nullptr) return JNI_FALSE;
        DBdestroy(centralDB);
        centralDB = loaded;
        const jint values[] = {used.classes, used.levels};
        env->SetIntArrayRegion(numbers, 0, 2, values);
        return JNI_TRUE;
    });
}

// Makes the session what a journal holds and goes on writing it, or begins one.
jboolean journal(JNIEnv* env, jclass, jint sessId, jbyteArray path, jboolean waits,
                 jintArray numbers) {
    return withSession<jboolean>(sessId, JNI_FALSE, [&]() -> jboolean {
        jint values[2];
        env->GetIntArrayRegion(numbers, 0, 2, values);
        UsedNumbers used = {values[0], values[1]};
        if (openJournal(Path(env, path).get(), waits != JNI_FALSE, &used) < 0)
            return JNI_FALSE;
        const jint found[] = {used.classes, used.levels};
        env->SetIntArrayRegion(numbers, 0, 2, found);
        return JNI_TRUE;
    });
}

jboolean commit(JNIEnv*, jclass, jint sessId) {
    return withSession<jboolean>(
        sessId, JNI_FALSE, [] { return commitJournal() == 0 ? JNI_TRUE : JNI_FALSE; });
}

jboolean flush(JNIEnv*, jclass, jint sessId) {
    return withSession<jboolean>(
        sessId, JNI_FALSE, [] { return flushJournal() == 0 ? JNI_TRUE : JNI_FALSE; });
}

}  // namespace

void registerStorage(JNIEnv* env) {
    const JNINativeMethod methods[] = {
        nativeMethod("copy", "(I)I", reinterpret_cast<void*>(copy)),
        nativeMethod("save", "(I[BII)Z", reinterpret_cast<void*>(save)),
        nativeMethod("load", "(I[B[I)Z", reinterpret_cast<void*>(load)),
        nativeMethod("journal", "(I[BZ[I)Z", reinterpret_cast<void*>(journal)),
        nativeMethod("commit", "(I)Z", reinterpret_cast<void*>(commit)),
        nativeMethod("flush", "(I)Z", reinterpret_cast<void*>(flush)),
    };
    static std::atomic<bool> done = false;
    registerOnce(env, &done, "velmor/kavril/internal/Storage", methods,
                 static_cast<jint>(std::size(methods)));
}
