#include "database/link_state.h"

#include <algorithm>

#include "common/memory.h"
#include "error/error.h"

#define ERROR_SOURCE "database/database_util.c"

namespace {

using VecTable = DoubleVec[kClasses][kLevels];

// The vector tables in the order in which each cell is set up.
constexpr VecTable DBLinkState::*const kTables[] = {
    &DBLinkState::bbw, &DBLinkState::remoteBbw, &DBLinkState::fbw,
    &DBLinkState::remoteFbw};

// Ends the vectors that exist: all, or those made before a failure.
void endVectors(DBLinkState* ls) {
    for (auto table : kTables)
        for (auto& row : ls->*table)
            for (DoubleVec& vec : row)
                if (vec.cont != nullptr) dblVecEnd(&vec);
}

// As dblVecInit makes it of size -1. A state has hundreds of them.
bool initVector(DoubleVec* vec) {
    auto* cont = static_cast<double*>(mymalloc(sizeof(double)));
    if (cont == nullptr) return false;
    *cont = 0.0;
    *vec = {1, 0, cont};
    return true;
}

int initVectors(DBLinkState* ls) {
    for (int oa = 0; oa < kClasses; oa++)
        for (int p = 0; p < kLevels; p++)
            for (auto table : kTables)
                if (!initVector(&(ls->*table)[oa][p])) {
                    endVectors(ls);
                    PUSH_ERROR(CRITICAL, "Critical lack of memory");
                    return FAIL_WITH(-1, "Unable to create link state");
                }
    return 0;
}

}  // namespace

DBLinkState* DBlinkStateNew() {
    auto* ls = static_cast<DBLinkState*>(mycalloc(1, sizeof(DBLinkState)));
    if (ls == nullptr) return FAIL_WITH(nullptr, "Critical lack of memory");
    if (initVectors(ls) < 0) {
        myfree(ls);
        return nullptr;
    }
    return ls;
}

int DBlinkStateInit(DBLinkState* ls) {
    if (ls == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    *ls = {};
    return initVectors(ls);
}

int DBlinkStateDestroy(DBLinkState* ls) {
    if (DBlinkStateEnd(ls) < 0) return -1;
    myfree(ls);
    return 0;
}

int DBlinkStateEnd(DBLinkState* ls) {
    if (ls == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    endVectors(ls);
    return 0;
}

int DBlinkStateCopy(DBLinkState* dst, DBLinkState* src) {
    if (dst == nullptr || src == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    dst->color = src->color;
    std::copy_n(src->cap, kClasses, dst->cap);
    std::copy_n(&src->rbw[0][0], kClasses * kLevels, &dst->rbw[0][0]);
    std::copy_n(&src->pbw[0][0], kClasses * kLevels, &dst->pbw[0][0]);
    bool complete = true;
    for (auto table : kTables)
        for (int oa = 0; oa < kClasses; oa++)
            for (int p = 0; p < kLevels; p++)
                if (dblVecCopy(&(dst->*table)[oa][p], &(src->*table)[oa][p]) < 0)
                    complete = false;
    return complete ? 0 : FAIL_WITH(-1, "Link state copy uncomplete");
}
