#include "jni_change.h"

#include <algorithm>
#include <iterator>

#include "common/setup.h"
#include "computation/computation.h"
#include "computation/primary/primaryPath.h"
#include "database/database.h"
#include "database/database_util.h"
#include "database/outage.h"
#include "jni_arguments.h"
#include "jni_support.h"
#include "session/attempt.h"
#include "session/changes.h"

#define ERROR_SOURCE "jni_interface.c"

namespace {

jboolean boolean(bool value) {
    return value ? JNI_TRUE : JNI_FALSE;
}

jboolean begin(JNIEnv*, jclass, jint sessId) {
    return withSession(sessId, boolean(false),
                       [] { return boolean(beginAttempt() == 0); });
}

void end(JNIEnv*, jclass, jint sessId, jboolean keeps) {
    withSession(sessId, 0, [=] { return endAttempt(keeps != JNI_FALSE), 0; });
}

// The ids that list(ids) lists; null if it fails.
template <class List>
jintArray idsOf(JNIEnv* env, jint sessId, List list) {
    return withSession<jintArray>(sessId, nullptr, [&]() -> jintArray {
        ScopedLongList ids;
        return longVecInit(&ids, -1) == 0 && list(&ids) == 0 ? toJava(env, &ids)
                                                             : nullptr;
    });
}

jintArray concerned(JNIEnv* env, jclass, jint sessId, jintArray ends) {
    return idsOf(env, sessId, [=](LongList* ids) {
        ScopedLongList links;
        return longVecInit(&links, -1) == 0 && readIds(env, ends, &links) == 0
                   ? DBlistConcerned(centralDB, &links, ids)
                   : -1;
    });
}

jintArray linksAt(JNIEnv* env, jclass, jint sessId, jint node) {
    return idsOf(env, sessId, [=](LongList* ends) {
        const DBNode* found = findNode(&centralDB->nodeVec, node);
        if (found == nullptr) return -1;
        int ret = 0;
        auto add = [&](Long src, Long dst) {
            if (longVecPushBack(ends, src) < 0 || longVecPushBack(ends, dst) < 0)
                ret = -1;
        };
        const LongList& out = found->outNeighb;
        const LongList& in = found->inNeighb;
        for (Long i = 0; i < out.top; i++) add(node, out.cont[i]);
        for (Long i = 0; i < in.top; i++)
            if (in.cont[i] != node) add(in.cont[i], node);
        return ret;
    });
}

// All of it, however much of it fails.
jboolean removeAll(JNIEnv* env, jclass, jint sessId, jintArray lsps, jintArray ends) {
    return withSession(sessId, boolean(false), [=] {
        ScopedLongList ids;
        ScopedLongList links;
        if (longVecInit(&ids, -1) < 0 || longVecInit(&links, -1) < 0 ||
            readIds(env, lsps, &ids) < 0 || readIds(env, ends, &links) < 0)
            return boolean(false);
        bool done = true;
        for (Long i = 0; i < ids.top; i++) done &= SCremoveLSP(ids.cont[i]) == 0;
        for (Long i = 0; i + 1 < links.top; i += 2)
            done &= SCremoveLink(links.cont[i], links.cont[i + 1]) == 0;
        return boolean(done);
    });
}

jintArray misfits(JNIEnv* env, jclass, jint sessId, jint src, jint dst) {
    return idsOf(env, sessId,
                 [=](LongList* ids) { return DBlistMisfits(centralDB, src, dst, ids); });
}

jboolean setCapacity(JNIEnv* env, jclass, jint sessId, jint src, jint dst,
                     jfloatArray capacities) {
    return withSession(sessId, boolean(false), [=] {
        double cap[kClasses];
        return boolean(readFloats(env, capacities, cap, kClasses) == 0 &&
                       SCsetLinkCapacity(src, dst, cap) == 0);
    });
}

// The stored LSP as it would be with other traffic in its class, as a request that does
// not contend with it.
int requestFor(DBLabelSwitchedPath* stored, jint oa, jfloat bandwidth,
               LSPRequest* request) {
    if (lspRequestInit(request) < 0) return -1;
    request->id = stored->id;
    request->precedence = stored->precedence;
    request->rerouteInfo = {stored->id, -1, -1};
    setBandwidth(request->bw, oa, bandwidth);
    if (longVecCopy(&request->forbidLinks, &stored->forbidLinks) < 0) return -1;
    for (Long node :
         {stored->path.cont[0], Long{-1}, stored->path.cont[stored->path.top - 1]})
        if (longVecPushBack(&request->path, node) < 0) return -1;
    return 0;
}

jintArray findRoute(JNIEnv* env, jclass, jint sessId, jint id, jint oa, jfloat bandwidth,
                    jint avoidSrc, jint avoidDst) {
    return withSession<jintArray>(sessId, nullptr, [=]() -> jintArray {
        DBLabelSwitchedPath* stored = DBgetLSP(centralDB, id);
        ScopedRequest request;
        if (stored == nullptr || stored->path.top == 0 || checkBandwidth(bandwidth) < 0 ||
            requestFor(stored, oa, bandwidth, &request) < 0)
            return nullptr;
        kavrilConfig.predicateConfig.allowReroute = false;
        request.rerouteInfo.src = avoidSrc;
        request.rerouteInfo.dst = avoidDst;
        return computePrimaryPath(centralDB, &request) == 0 ? toJava(env, &request.path)
                                                            : nullptr;
    });
}

jboolean changeLsp(JNIEnv* env, jclass, jint sessId, jint id, jint oa, jfloat bandwidth,
                   jint level, jintArray path) {
    return withSession(sessId, boolean(false), [=] {
        DBLabelSwitchedPath* stored = DBgetLSP(centralDB, id);
        ScopedLSP lsp;
        ScopedLongList preempted;
        if (checkLevel(level) < 0 || checkBandwidth(bandwidth) < 0 ||
            longVecInit(&preempted, -1) < 0 || DBlspInit(&lsp) < 0 ||
            readIds(env, path, &lsp.path) < 0 ||
            (stored != nullptr &&
             longVecCopy(&lsp.forbidLinks, &stored->forbidLinks) < 0))
            return boolean(false);
        lsp.id = id;
        lsp.precedence = level;
        setBandwidth(lsp.bw, oa, bandwidth);
        kavrilConfig.predicateConfig.allowReroute = false;
        return boolean(SCchangeLSP(&lsp, &preempted) == 0);
    });
}

}  // namespace

void registerChanges(JNIEnv* env) {
    const JNINativeMethod methods[] = {
        nativeMethod("begin", "(I)Z", reinterpret_cast<void*>(begin)),
        nativeMethod("end", "(IZ)V", reinterpret_cast<void*>(end)),
        nativeMethod("concerned", "(I[I)[I", reinterpret_cast<void*>(concerned)),
        nativeMethod("linksAt", "(II)[I", reinterpret_cast<void*>(linksAt)),
        nativeMethod("remove", "(I[I[I)Z", reinterpret_cast<void*>(removeAll)),
        nativeMethod("misfits", "(III)[I", reinterpret_cast<void*>(misfits)),
        nativeMethod("setCapacity", "(III[F)Z", reinterpret_cast<void*>(setCapacity)),
        nativeMethod("findRoute", "(IIIFII)[I", reinterpret_cast<void*>(findRoute)),
        nativeMethod("changeLsp", "(IIIFI[I)Z", reinterpret_cast<void*>(changeLsp)),
    };
    static std::atomic<bool> done = false;
    registerOnce(env, &done, "velmor/kavril/internal/Changes", methods,
                 static_cast<jint>(std::size(methods)));
}
