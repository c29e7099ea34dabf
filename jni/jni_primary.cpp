// Native method that computes primary paths.

#include "admission/lsp_setup.h"
#include "common/setup.h"
#include "computation/computation.h"
#include "computation/primary/primaryPath.h"
#include "database/database.h"
#include "jni_arguments.h"
#include "jni_support.h"
#include "session/changes.h"
#include "velmor_repository_KAVRIL_JNIKAVRIL.h"

#define ERROR_SOURCE "jni_interface.c"

namespace {

// One call: the request, the LSP that it becomes, the LSPs that give way to it.
class PrimaryCall {
  public:
    PrimaryCall(JNIEnv* env, jobject obj) : env_(env), obj_(obj) {}

    // Computes the path; returns the exception to throw, or null.
    const char* compute(jint id, jint src, jint dst, jint oa, jint level, jfloat bw) {
        if (checkLevel(level) < 0 || checkBandwidth(bw) < 0 ||
            lspRequestInit(&request_) < 0)
            return refuse();
        request_.id = id;
        request_.precedence = level;
        setBandwidth(request_.bw, oa, bw);
        for (jint node : {src, -1, dst})  // -1 for the part to be computed
            if (longVecPushBack(&request_.path, node) < 0) return refuse();
        return computePrimaryPath(centralDB, &request_) < 0 ? refuse() : nullptr;
    }

    // Sets the LSP up, or only finds out who would have to give way.
    const char* place(bool add, bool preempt) {
        if (longVecInit(&preemptList_, -1) < 0 || fillLSP() < 0)
            return FAIL_WITH(kAddDBException, "Impossible to add PRIMARY LSP");
        if (add && SCaddLSP(&lsp_, &preemptList_) < 0)
            return FAIL_WITH(kAddDBException, "Impossible to add PRIMARY LSP");
        added_ = add;
        if (!add && preempt && getpreemptList(centralDB, &lsp_, &preemptList_) < 0) {
            PUSH_ERROR(CRITICAL, "Impossible to obtain preemptList");
            printErrorStack();
            return kRoutingException;
        }
        return nullptr;
    }

    // Makes the result before anything is placed: without memory for it nobody would
    // learn of the LSP. False with an exception pending.
    bool makeResult() {
        path_ = toJava(env_, &request_.path);
        return path_ != nullptr;
    }

    // Removes the LSPs that give way, reports them in the object's field and leaves the
    // path in *result.
    const char* report(jfieldID lspsField, jintArray* result) {
        if (preemptList_.top > 0) {
            jintArray preempted = toJava(env_, &preemptList_);
            if (preempted == nullptr) {  // out of memory is pending
                if (added_) SCremoveLSP(lsp_.id);
                return nullptr;
            }
            for (Long j = 0; j < preemptList_.top; j++)
                if (SCremoveLSP(preemptList_.cont[j]) < 0)
                    return FAIL_WITH(kAddDBException, "Impossible to remove LSP");
            env_->SetObjectField(obj_, lspsField, preempted);
        }
        *result = path_;
        return nullptr;
    }

  private:
    const char* refuse() {
        return FAIL_WITH(kNoRouteException, "Impossible to compute Path");
    }

    int fillLSP() {
        if (DBlspInit(&lsp_) < 0) return -1;
        lsp_.id = request_.id;
        lsp_.precedence = request_.precedence;
        for (Long oa = 0; oa < nbClasses(); oa++) lsp_.bw[oa] = request_.bw[oa];
        return longVecCopy(&lsp_.path, &request_.path);
    }

    JNIEnv* env_;
    jobject obj_;
    ScopedRequest request_;
    ScopedLSP lsp_;
    ScopedLongList preemptList_;
    jintArray path_ = nullptr;
    bool added_ = false;
};

}  // namespace

// Rerouting information and colours are not read: requests have neither.
JNIEXPORT jintArray JNICALL Java_velmor_repository_KAVRIL_JNIKAVRIL_jnicomputePath(
    JNIEnv* env, jobject obj, jint id, jint src, jint dst, jint, jint, jint, jint OA,
    jint PL, jfloat reservation, jintArray, jboolean ADDLSP, jboolean PREEMPT) {
    jintArray result = nullptr;
    withContext(env, obj, kNoRouteException, [&]() -> const char* {
        jfieldID lspsField = fieldId(env, obj, "lsps", "[I");
        if (lspsField == nullptr) return nullptr;
        kavrilConfig.predicateConfig.allowReroute = PREEMPT != JNI_FALSE;
        PrimaryCall call(env, obj);
        const char* exception = call.compute(id, src, dst, OA, PL, reservation);
        if (exception == nullptr && !call.makeResult()) return nullptr;
        if (exception == nullptr)
            exception = call.place(ADDLSP != JNI_FALSE, PREEMPT != JNI_FALSE);
        return exception != nullptr ? exception : call.report(lspsField, &result);
    });
    return result;
}
