#include "jni_diagnostics.h"

#include <locale.h>

#include <atomic>
#include <cstdlib>
#include <iterator>

#include "common/setup.h"
#include "database/database.h"
#include "jni_support.h"

namespace {

// The current stack's messages, newest first. Null, an exception pending, if there is no
// memory for them.
jobjectArray toJava(JNIEnv* env, const ErrorList& stack) {
    jclass stringClass = env->FindClass("java/lang/String");
    if (stringClass == nullptr) return nullptr;
    jobjectArray texts = env->NewObjectArray(stack.top, stringClass, nullptr);
    env->DeleteLocalRef(stringClass);
    for (Long i = 0; texts != nullptr && i < stack.top; i++) {
        jstring text = env->NewStringUTF(stack.list[stack.top - 1 - i].message);
        if (text == nullptr) return nullptr;
        env->SetObjectArrayElement(texts, i, text);
        env->DeleteLocalRef(text);
    }
    return texts;
}

// A session that could not be opened leaves its stack current, with no session loaded.
bool selectStack(jint sessId) {
    return sessId < 0 ? currentSessId == -1 : loadSession(sessId) >= 0;
}

jobjectArray takeMessages(JNIEnv* env, jclass, jint sessId) {
    const Leaving leaving;
    if (!selectStack(sessId) || errorManager.top == 0) return nullptr;
    jobjectArray texts = toJava(env, errorManager);
    errorManager.top = 0;
    saveCntx(sessId);
    return texts;
}

// Has this thread write decimals with a point, as every reader of the text expects them,
// whatever the language of the host is.
class PointLocale {
  public:
    PointLocale() : locale_(newlocale(LC_NUMERIC_MASK, "C", nullptr)) {
        if (locale_ != nullptr) before_ = uselocale(locale_);
    }
    ~PointLocale() {
        if (locale_ == nullptr) return;
        uselocale(before_);
        freelocale(locale_);
    }
    PointLocale(const PointLocale&) = delete;
    PointLocale& operator=(const PointLocale&) = delete;

  private:
    locale_t locale_;
    locale_t before_ = nullptr;
};

jstring print(JNIEnv* env, jclass, jint sessId) {
    const Leaving leaving;
    char* text = nullptr;
    std::size_t length = 0;
    std::FILE* stream =
        loadSession(sessId) >= 0 ? open_memstream(&text, &length) : nullptr;
    if (stream == nullptr) return nullptr;
    {
        const PointLocale locale;
        DBwriteDB(stream, centralDB);
    }
    jstring result = std::fclose(stream) == 0 ? env->NewStringUTF(text) : nullptr;
    std::free(text);
    return result;
}

}  // namespace

void registerDiagnostics(JNIEnv* env) {
    const JNINativeMethod methods[] = {
        nativeMethod("print", "(I)Ljava/lang/String;", reinterpret_cast<void*>(print)),
        // Called first by sessions: the last one, so that all are there or none seems to
        // be.
        nativeMethod("takeMessages", "(I)[Ljava/lang/String;",
                     reinterpret_cast<void*>(takeMessages)),
    };
    static std::atomic<bool> done = false;
    registerOnce(env, &done, "velmor/kavril/internal/Diagnostics", methods,
                 static_cast<jint>(std::size(methods)));
}

// The jar's loader looks for this text in a library's file before it loads it.
[[gnu::used]] const char kLibraryMark[] = "KAVRIL library " KAVRIL_VERSION;
