// What every native method needs: the session switch around a call, exceptions by name,
// Java arrays as values.
#pragma once

#include <jni.h>

#include <atomic>
#include <cassert>

#include "common/print.h"
#include "common/types.h"
#include "database/live/live.h"
#include "session/calls.h"
#include "session/session.h"

constexpr const char* kAddDBException =
    "velmor/repository/model/exception/AddDBException";
constexpr const char* kNoRouteException =
    "velmor/repository/model/exception/NoRouteToHostException";
constexpr const char* kRoutingException =
    "velmor/repository/model/exception/RoutingException";

// Null for none.
const char* exceptionFor(Refusal refusal);

// Elements of a Java array, handed back however the scope is left.
template <class Array, class Elem, Elem* (JNIEnv::*get)(Array, jboolean*),
          void (JNIEnv::*release)(Array, Elem*, jint)>
class Pinned {
  public:
    Pinned(JNIEnv* env, Array array)
        : env_(env), array_(array), elems_((env->*get)(array, nullptr)) {}
    ~Pinned() {
        if (elems_ != nullptr) (env_->*release)(array_, elems_, 0);
    }
    Pinned(const Pinned&) = delete;
    Pinned& operator=(const Pinned&) = delete;

    // No elements: the virtual machine had no memory for them, an exception is pending.
    bool isNull() const { return elems_ == nullptr; }
    const Elem& operator[](Long i) const { return elems_[i]; }
    const Elem* data() const { return elems_; }

  private:
    JNIEnv* env_;
    Array array_;
    Elem* elems_;
};
using PinnedFloats = Pinned<jfloatArray, jfloat, &JNIEnv::GetFloatArrayElements,
                            &JNIEnv::ReleaseFloatArrayElements>;
using PinnedInts = Pinned<jintArray, jint, &JNIEnv::GetIntArrayElements,
                          &JNIEnv::ReleaseIntArrayElements>;

// Loads the session whose number the object's field "sessId" holds and returns it, -1 if
// it is no live session.
int loadCntx(JNIEnv* env, jobject obj);

// The field's id on the object's class; null, an exception pending, if it has none.
jfieldID fieldId(JNIEnv* env, jobject obj, const char* name, const char* signature);

// Leaves an exception of the named class pending, without a message, unless there is
// one already.
void throwByName(JNIEnv* env, const char* className);

// Lets the session go that the thread has loaded, however the scope is left.
class Leaving {
  public:
    Leaving() = default;
    ~Leaving() { leaveSession(); }
    Leaving(const Leaving&) = delete;
    Leaving& operator=(const Leaving&) = delete;
};

// Registers the native methods of a class that the library does not export, once: two
// threads may both do it, neither goes on before it is done.
JNINativeMethod nativeMethod(const char* name, const char* signature, void* function);
void registerOnce(JNIEnv* env, std::atomic<bool>* done, const char* className,
                  const JNINativeMethod* methods, jint nb);

// In debug builds: all that is derived from the session's network is what it would be if
// it were computed anew.
inline void checkDerived() {
#ifndef NDEBUG
    Long where[2];
    assert(centralDB == nullptr || checkLive(centralDB, where) == nullptr);
#endif
}

// Runs act on the caller's context and saves it whatever the outcome. act returns the
// class of the exception to throw after the save, or null. An unknown session is left
// alone and throws `unknownSession`.
template <class Act>
void withContext(JNIEnv* env, jobject obj, const char* unknownSession, Act act) {
    const char* exception = unknownSession;
    {
        const Saying saying;
        const int sessId = loadCntx(env, obj);
        if (sessId >= 0) {
            if (sessionUse.isQuiet) keepForCaller();
            exception = act();
            checkDerived();
            saveCntx(sessId);
        }
    }
    // Now that nobody waits: looking a class up may run Java code.
    if (exception != nullptr) throwByName(env, exception);
}

// The same for native methods that are told the session's number, and give something back
// instead of an exception; `otherwise` for one that is not live.
template <class Result, class Act>
Result withSession(jint sessId, Result otherwise, Act act) {
    const Leaving leaving;
    if (loadSession(sessId) < 0) return otherwise;
    const Result result = act();
    checkDerived();
    saveCntx(sessId);
    return result;
}
