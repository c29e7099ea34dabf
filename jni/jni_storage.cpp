#include "jni_storage.h"

#include <bit>
#include <iterator>

#include "common/memory.h"
#include "common/setup.h"
#include "database/database.h"
#include "jni_arguments.h"
#include "jni_support.h"
#include "session/journal.h"

namespace {

// Runs act on the loaded session and saves it; `otherwise` for one that is not live.
template <class Result, class Act>
Result withSession(jint sessId, Result otherwise, Act act) {
    const Leaving leaving;
    if (loadSession(sessId) < 0) return otherwise;
    const Result result = act();
    saveCntx(sessId);
    return result;
}

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

// The class with bandwidth, 0 if there is none; -1 if there are several.
jint classOf(const DBLabelSwitchedPath* lsp) {
    jint oa = 0;
    jint nb = 0;
    for (jint i = 0; i < kClasses; i++) {
        if (lsp->bw[i] == 0.0) continue;
        oa = i;
        nb++;
    }
    return nb <= 1 ? oa : -1;
}

int addNodes(LongList* to, const LongList& path) {
    int ret = longVecPushBack(to, path.top);
    for (Long i = 0; i < path.top && ret == 0; i++)
        ret = longVecPushBack(to, path.cont[i]);
    return ret;
}

int addLsp(LongList* to, const DBLabelSwitchedPath* lsp) {
    const jint oa = classOf(lsp);
    const Long facts[] = {
        lsp->id, isBackup(lsp->type) ? lsp->primID : -1, lsp->precedence, oa,
        std::bit_cast<Long>(static_cast<float>(lsp->bw[oa < 0 ? 0 : oa]))};
    for (Long fact : facts)
        if (longVecPushBack(to, fact) < 0) return -1;
    return addNodes(to, lsp->path) == 0 ? addNodes(to, lsp->primPath) : -1;
}

// How many nodes, their ids; and for each LSP its id, primary, level, class, the bits of
// its bandwidth, and the nodes of its path and of its primary's, their number first.
int listContents(LongList* to) {
    const DBNodeVec* nodes = &centralDB->nodeVec;
    Long nb = 0;
    for (Long id = 0; id < nodes->top; id++) nb += nodes->cont[id] != nullptr ? 1 : 0;
    int ret = longVecPushBack(to, nb);
    for (Long id = 0; id < nodes->top && ret == 0; id++)
        if (nodes->cont[id] != nullptr) ret = longVecPushBack(to, id);
    const DBLSPVec* lsps = &centralDB->lspVec;
    for (Long id = 0; id < lsps->size && ret == 0; id++)
        if (lsps->cont[id] != nullptr) ret = addLsp(to, lsps->cont[id]);
    return ret;
}

jintArray contents(JNIEnv* env, jclass, jint sessId) {
    return withSession<jintArray>(sessId, nullptr, [&]() -> jintArray {
        ScopedLongList list;
        if (longVecInit(&list, 1024) < 0 || listContents(&list) < 0) return nullptr;
        return toJava(env, &list);
    });
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
        nativeMethod("contents", "(I)[I", reinterpret_cast<void*>(contents)),
    };
    static std::atomic<bool> done = false;
    registerOnce(env, &done, "velmor/kavril/internal/Storage", methods,
                 static_cast<jint>(std::size(methods)));
}
