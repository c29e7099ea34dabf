#include "database/link_state.h"

#include <algorithm>
#include <iterator>

#include "common/memory.h"
#include "error/error.h"

#define ERROR_SOURCE "database/database_util.c"

namespace {

using VecTable = DoubleVec[kClasses][kLevels];

constexpr VecTable DBLinkState::*const kTables[] = {
    &DBLinkState::bbw, &DBLinkState::remoteBbw, &DBLinkState::fbw,
    &DBLinkState::remoteFbw};

// Most vectors have one element still.
int copyVector(DoubleVec* dst, DoubleVec* src) {
    if (dst->size != 1 || src->size != 1) return dblVecCopy(dst, src);
    dst->top = src->top;
    *dst->cont = *src->cont;
    return 0;
}

// As dblVecInit makes them of size -1.
int initVectors(DBLinkState* ls) {
    constexpr std::size_t kVectors = std::size(kTables) * kClasses * kLevels;
    void* blocks[kVectors];
    if (!mymallocEach(blocks, kVectors, sizeof(double))) {
        PUSH_ERROR(CRITICAL, "Critical lack of memory");
        return FAIL_WITH(-1, "Unable to create link state");
    }
    void** block = blocks;
    for (auto table : kTables)
        for (auto& row : ls->*table)
            for (DoubleVec& vec : row) {
                vec = {1, 0, static_cast<double*>(*block++)};
                *vec.cont = 0.0;
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
    for (auto table : kTables)
        for (auto& row : ls->*table)
            for (DoubleVec& vec : row)
                if (vec.cont != nullptr) dblVecEnd(&vec);
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
                if (copyVector(&(dst->*table)[oa][p], &(src->*table)[oa][p]) < 0)
                    complete = false;
    return complete ? 0 : FAIL_WITH(-1, "Link state copy uncomplete");
}
