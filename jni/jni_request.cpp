#include "jni_request.h"

#include <algorithm>
#include <bit>
#include <iterator>

#include "admission/lsp_setup.h"
#include "common/setup.h"
#include "computation/backup/backup.h"
#include "computation/computation.h"
#include "computation/primary/limited_path.h"
#include "computation/primary/primaryPath.h"
#include "database/database.h"
#include "jni_arguments.h"
#include "jni_support.h"
#include "session/changes.h"

#define ERROR_SOURCE "jni_interface.c"

namespace {

// LSP ids that Java may use.
constexpr Long kMaxLspId = (1 << 24) - 1;

// First number of an answer; Java has the same.
enum Outcome : Long {
    PLACED,   // then: id, number of nodes, path, LSPs that gave way
    NO_NODE,  // then: the node
    NO_ROOM,  // as in LimitedPath
    NO_WAY,
    NOT_BOTH,
    GIVEN_UP,
    REFUSED,  // messages say why
    ID_IN_USE,
    NO_ID  // left
};

// The numbers of a request, one after the other.
class Numbers {
  public:
    explicit Numbers(const LongList* list) : list_(list) {}

    Long next() { return at_ < list_->top ? list_->cont[at_++] : 0; }

    int readList(LongList* to) {
        for (Long left = next(); left > 0; left--)
            if (longVecPushBack(to, next()) < 0) return -1;
        return 0;
    }

  private:
    const LongList* list_;
    Long at_ = 0;
};

// One request: what it asks for, the LSP that it becomes, the LSPs that give way to it.
class RequestCall {
  public:
    // False, with a message, if it cannot be read.
    bool read(Numbers numbers) {
        if (lspRequestInit(&request_) < 0 || pathLimitsInit(&limits_) < 0 ||
            longVecInit(&preempted_, -1) < 0)
            return false;
        request_.id = numbers.next();
        request_.precedence = numbers.next();
        const Long oa = numbers.next();
        const auto bandwidth = std::bit_cast<float>(numbers.next());
        setBandwidth(request_.bw, oa, bandwidth);
        add_ = numbers.next() != 0;
        preempt_ = numbers.next() != 0;
        limits_.maxLinks = numbers.next();
        for (LongList* list : {&request_.path, &request_.forbidLinks, &limits_.colors,
                               &limits_.nodes, &limits_.links})
            if (numbers.readList(list) < 0) return false;
        return checkLevel(request_.precedence) == 0 && checkBandwidth(bandwidth) == 0;
    }

    Outcome run() {
        PredicateConfig* config = &kavrilConfig.predicateConfig;
        config->allowReroute = preempt_;
        if (request_.forbidLinks.top > 0) config->colorClause = true;
        if (DBgetLSP(centralDB, request_.id) != nullptr) return ID_IN_USE;
        if (request_.id < 0) request_.id = DBgetFreeLSPId(centralDB, kMaxLspId);
        if (request_.id < 0) return NO_ID;
        const bool isKnown = hasRoute();
        const Outcome outcome = compute();
        if (outcome != PLACED) return outcome;
        return fillLSP() == 0 && place(isKnown) == 0 ? PLACED : REFUSED;
    }

    // Removes the LSPs that give way. Null, an exception pending, if there is no memory
    // for the answer; nothing has changed then.
    jintArray answer(JNIEnv* env, Outcome outcome) {
        ScopedLongList numbers;
        jintArray result = nullptr;
        if (longVecInit(&numbers, -1) == 0 && listAnswer(&numbers, outcome) == 0)
            result = toJava(env, &numbers);
        if (outcome != PLACED) return result;
        if (result == nullptr) {
            if (add_) SCremoveLSP(lsp_.id);
            return nullptr;
        }
        for (Long i = 0; i < preempted_.top; i++) SCremoveLSP(preempted_.cont[i]);
        return result;
    }

  private:
    bool hasRoute() const {
        const LongList* path = &request_.path;
        return std::all_of(path->cont, path->cont + path->top,
                           [](Long node) { return node >= 0; });
    }

    // PLACED if there is a path.
    Outcome compute() {
        switch (computeLimitedPath(centralDB, &request_, limits_)) {
            case LimitedPath::FOUND:
                return PLACED;
            case LimitedPath::NO_NODE:
                return NO_NODE;
            case LimitedPath::NO_ROOM:
                return NO_ROOM;
            case LimitedPath::NO_WAY:
                return NO_WAY;
            case LimitedPath::NOT_BOTH:
                return NOT_BOTH;
            case LimitedPath::GIVEN_UP:
                return GIVEN_UP;
            case LimitedPath::FAILED:
                break;
        }
        return REFUSED;
    }

    int fillLSP() {
        if (DBlspInit(&lsp_) < 0) return -1;
        lsp_.id = request_.id;
        lsp_.precedence = request_.precedence;
        std::copy_n(request_.bw, kClasses, lsp_.bw);
        return longVecCopy(&lsp_.forbidLinks, &request_.forbidLinks) == 0
                   ? longVecCopy(&lsp_.path, &request_.path)
                   : -1;
    }

    // Sets the LSP up, or finds out whether it could be and who would have to give way.
    int place(bool isKnown) {
        if (add_) return SCaddLSP(&lsp_, &preempted_);
        return isKnown || preempt_ ? DBtestLSP(centralDB, &lsp_, &preempted_) : 0;
    }

    int listAnswer(LongList* to, Outcome outcome) const {
        if (longVecPushBack(to, outcome) < 0) return -1;
        const LongList* path = &request_.path;
        if (outcome == NO_NODE) {
            const Long* missing =
                std::find_if(path->cont, path->cont + path->top, [](Long node) {
                    return node >= 0 && findNode(&centralDB->nodeVec, node) == nullptr;
                });
            return longVecPushBack(to, *missing);
        }
        if (outcome != PLACED) return 0;
        if (longVecPushBack(to, request_.id) < 0 || longVecPushBack(to, path->top) < 0)
            return -1;
        for (const LongList* list : {path, static_cast<const LongList*>(&preempted_)})
            for (Long i = 0; i < list->top; i++)
                if (longVecPushBack(to, list->cont[i]) < 0) return -1;
        return 0;
    }

    ScopedRequest request_;
    ScopedLimits limits_;
    ScopedLSP lsp_;
    ScopedLongList preempted_;
    bool add_ = false;
    bool preempt_ = false;
};

jintArray request(JNIEnv* env, jclass, jint sessId, jintArray numbers) {
    return withSession<jintArray>(sessId, nullptr, [&]() -> jintArray {
        ScopedLongList list;
        RequestCall call;
        const bool isRead = longVecInit(&list, -1) == 0 &&
                            readIds(env, numbers, &list) == 0 &&
                            call.read(Numbers(&list));
        return call.answer(env, isRead ? call.run() : REFUSED);
    });
}

jboolean addLink(JNIEnv* env, jclass, jint sessId, jint id, jint src, jint dst,
                 jint color, jfloatArray capacities) {
    return withSession<jboolean>(sessId, JNI_FALSE, [&]() -> jboolean {
        ScopedLinkState state;
        if (DBlinkStateInit(&state) < 0 ||
            readFloats(env, capacities, state.cap, nbClasses()) < 0)
            return JNI_FALSE;
        state.color = color;
        return SCaddLink(id, src, dst, &state) == 0 ? JNI_TRUE : JNI_FALSE;
    });
}

jint freeLspId(JNIEnv*, jclass, jint sessId) {
    return withSession<jint>(sessId, -1,
                             [] { return DBgetFreeLSPId(centralDB, kMaxLspId); });
}

// The paths one behind the other, each with its number of nodes first.
int listPaths(LongList* to, const LSPRequestList& requests) {
    for (Long i = 0; i < requests.size; i++) {
        const LongList* path = &requests.cont[i].path;
        if (longVecPushBack(to, path->top) < 0) return -1;
        for (Long k = 0; k < path->top; k++)
            if (longVecPushBack(to, path->cont[k]) < 0) return -1;
    }
    return 0;
}

jintArray localBackups(JNIEnv* env, jclass, jint sessId, jint primary) {
    return withSession<jintArray>(sessId, nullptr, [&]() -> jintArray {
        kavrilConfig.predicateConfig.allowReroute = false;
        ScopedRequestList requests;
        ScopedLongList paths;
        if (lspRequestListInit(&requests, -1) < 0 || longVecInit(&paths, -1) < 0 ||
            computeLocalBackups(centralDB, &requests, primary) < 0 ||
            listPaths(&paths, requests) < 0)
            return nullptr;
        return toJava(env, &paths);
    });
}

}  // namespace

void registerRequests(JNIEnv* env) {
    const JNINativeMethod methods[] = {
        nativeMethod("request", "(I[I)[I", reinterpret_cast<void*>(request)),
        nativeMethod("freeLspId", "(I)I", reinterpret_cast<void*>(freeLspId)),
        nativeMethod("localBackups", "(II)[I", reinterpret_cast<void*>(localBackups)),
        nativeMethod("addLink", "(IIIII[F)Z", reinterpret_cast<void*>(addLink)),
    };
    static std::atomic<bool> done = false;
    registerOnce(env, &done, "velmor/kavril/internal/Requests", methods,
                 static_cast<jint>(std::size(methods)));
}
