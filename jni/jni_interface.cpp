// Native methods of velmor.repository.KAVRIL.JNIKAVRIL: sessions, topology and LSPs.
//
// Units, ranges and exceptions are told once, for the callers, in the Java class.

#include <mutex>

#include "velmor_repository_KAVRIL_JNIKAVRIL.h"

#include "common/setup.h"
#include "database/database.h"
#include "jni_arguments.h"
#include "jni_change.h"
#include "jni_diagnostics.h"
#include "jni_request.h"
#include "jni_sessions.h"
#include "jni_state.h"
#include "jni_storage.h"
#include "jni_support.h"
#include "session/changes.h"

#define ERROR_SOURCE "jni_interface.c"

namespace {

// One initialisation after the other: the classes and levels that the last one sets for
// all sessions are its own, both of them.
std::mutex initialising;

}  // namespace

// Loads no session: it makes one. A refused call leaves the object's number alone, and
// its message on a stack that belongs to nobody.
JNIEXPORT void JNICALL Java_velmor_repository_KAVRIL_JNIKAVRIL_jniinitKavril(
    JNIEnv* env, jobject obj, jint nbOA, jint nbPL, jboolean colorClause,
    jboolean allowReroute, jboolean capacityClause, jfloat loadbal, jfloat load,
    jfloat sqLoad, jfloat relativeLoad, jfloat sqRelativeLoad, jfloat delay, jfloat fortz,
    jobjectArray reroutingScorecoef) {
    registerDiagnostics(env);
    registerSessions(env);
    registerRequests(env);
    registerStorage(env);
    registerState(env);
    registerChanges(env);
    const std::lock_guard<std::mutex> lock(initialising);
    const Leaving leaving;
    jfieldID sessIdField = fieldId(env, obj, "sessId", "I");
    if (sessIdField == nullptr || beginSession() < 0) return;
    KAVRILConfig config = {};
    config.predicateConfig = {allowReroute != JNI_FALSE, capacityClause != JNI_FALSE,
                              colorClause != JNI_FALSE};
    setWeights(&config.primaryComputationConfig,
               {loadbal, load, sqLoad, relativeLoad, sqRelativeLoad, delay, fortz});
    if (readRows(env, reroutingScorecoef, config.reroutingConfig.scoreCoef, usable(nbOA),
                 usable(nbPL)) < 0)
        return;
    COST = 0.0;
    NBOA = nbOA;
    NBPL = nbPL;
    const int sessId = openEmpty(config);
    if (sessId >= 0) env->SetIntField(obj, sessIdField, sessId);
}

// Ends the session instead of saving it.
JNIEXPORT void JNICALL
Java_velmor_repository_KAVRIL_JNIKAVRIL_jnikillKavril(JNIEnv* env, jobject obj) {
    const Saying saying;
    if (loadCntx(env, obj) >= 0) {
        if (sessionUse.isQuiet) keepForCaller();
        closeSession();
    } else if (lastSession == -1) {
        std::fputs("ERROR, call to killKavril before initKavril\n", stderr);
    }
}

// Changes nothing, so saves nothing.
JNIEXPORT void JNICALL
Java_velmor_repository_KAVRIL_JNIKAVRIL_jniprintKavrilDB(JNIEnv* env, jobject obj) {
    const Leaving leaving;
    if (loadCntx(env, obj) < 0) return;
    const StreamHold hold(stdout);
    DBprintDB(centralDB);
    std::fflush(stdout);
}

JNIEXPORT void JNICALL Java_velmor_repository_KAVRIL_JNIKAVRIL_jniaddNode(JNIEnv* env,
                                                                          jobject obj,
                                                                          jint nodeId) {
    withContext(env, obj, kAddDBException, [&] {
        return SCaddNode(nodeId) < 0
                   ? FAIL_WITH(kAddDBException, "Impossible to init a Node")
                   : nullptr;
    });
}

// Colour and the bookkeeping tables are not read: a link starts without colour, and its
// tables are built up by the LSPs that are set up on it.
JNIEXPORT void JNICALL Java_velmor_repository_KAVRIL_JNIKAVRIL_jniaddLink(
    JNIEnv* env, jobject obj, jint linkId, jint, jint src, jint dst, jfloatArray cap,
    jobjectArray rbw, jobjectArray, jobjectArray, jobjectArray) {
    withContext(env, obj, kAddDBException, [&]() -> const char* {
        ScopedLinkState state;
        if (DBlinkStateInit(&state) < 0)
            return FAIL_WITH(nullptr, "Impossible to init a Link");
        if (readFloats(env, cap, state.cap, nbClasses()) < 0 ||
            readRows(env, rbw, state.rbw, nbClasses(), nbLevels()) < 0 ||
            SCaddLink(linkId, src, dst, &state) < 0)
            return FAIL_WITH(kAddDBException, "Impossible to add Link");
        return nullptr;
    });
}

JNIEXPORT void JNICALL Java_velmor_repository_KAVRIL_JNIKAVRIL_jniremoveLink(JNIEnv* env,
                                                                             jobject obj,
                                                                             jint src,
                                                                             jint dst) {
    withContext(env, obj, kAddDBException, [&] {
        return SCremoveLink(src, dst) < 0
                   ? FAIL_WITH(kAddDBException, "Impossible to remove Link")
                   : nullptr;
    });
}

JNIEXPORT void JNICALL Java_velmor_repository_KAVRIL_JNIKAVRIL_jniremoveNode(
    JNIEnv* env, jobject obj, jint nodeId) {
    withContext(env, obj, kAddDBException, [&] {
        return SCremoveNode(nodeId) < 0
                   ? FAIL_WITH(kAddDBException, "Impossible to remove Node")
                   : nullptr;
    });
}

JNIEXPORT void JNICALL Java_velmor_repository_KAVRIL_JNIKAVRIL_jniaddLSP(
    JNIEnv* env, jobject obj, jint lspid, jintArray path, jint PL, jint OA, jfloat bw) {
    withContext(env, obj, kAddDBException, [&] {
        return exceptionFor(
            PlaceCall({lspid, PL, OA, bw}).placePrimary([&](LongList* to) {
                return readIds(env, path, to);
            }));
    });
}

JNIEXPORT void JNICALL Java_velmor_repository_KAVRIL_JNIKAVRIL_jniaddBackupLSP(
    JNIEnv* env, jobject obj, jint lspid, jint plspid, jintArray path, jint PL, jint OA,
    jfloat bw, jboolean type) {
    withContext(env, obj, kAddDBException, [&] {
        return exceptionFor(
            PlaceCall({lspid, PL, OA, bw})
                .placeBackup(
                    plspid,
                    type != JNI_FALSE ? DB_LOCAL_BACKUP_LSP : DB_GLOBAL_BACKUP_LSP,
                    [&](LongList* to) { return readIds(env, path, to); }));
    });
}

JNIEXPORT void JNICALL Java_velmor_repository_KAVRIL_JNIKAVRIL_jniremoveLSP(JNIEnv* env,
                                                                            jobject obj,
                                                                            jint lspid) {
    withContext(env, obj, kAddDBException, [&] {
        return SCremoveLSP(lspid) < 0
                   ? FAIL_WITH(kAddDBException, "Impossible to remove LSP")
                   : nullptr;
    });
}
