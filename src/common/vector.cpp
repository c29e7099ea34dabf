#include "common/vector.h"

#define ERROR_SOURCE "common/common.c"
#include "common/vec.h"

namespace {

template <class T>
int popBack(Vec<T>* vec, T* val) {
    if (!isUsable(vec) || val == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    if (vec->top <= 0) return FAIL_WITH(-1, "Pop on empty stack");
    *val = vec->cont[--vec->top];
    return 0;
}

template <class T>
int get(const Vec<T>* vec, Long index, T* val) {
    if (val == nullptr) return FAIL_WITH(-1, "Bad argument (NULL)");
    if (vecCheckIndex(vec, index) < 0) return -1;
    *val = vec->cont[index];
    return 0;
}

template <class T>
int set(Vec<T>* vec, Long index, T val, const char* kind) {
    T* slot = vecSlotAt(vec, index, kind);
    if (slot == nullptr) return -1;
    *slot = val;
    vec->top = std::max(vec->top, index + 1);
    return 0;
}

}  // namespace

LongVec* longVecNew(Long size) {
    return vecNew<LongVec>(size);
}
DoubleVec* dblVecNew(Long size) {
    return vecNew<DoubleVec>(size);
}
int longVecInit(LongVec* vec, Long size) {
    return vecInit(vec, size);
}
int dblVecInit(DoubleVec* vec, Long size) {
    return vecInit(vec, size);
}
int longVecEnd(LongVec* vec) {
    return vecEnd(vec);
}
int dblVecEnd(DoubleVec* vec) {
    return vecEnd(vec);
}
int longVecDestroy(LongVec* vec) {
    return vecDestroy(vec);
}
int dblVecDestroy(DoubleVec* vec) {
    return vecDestroy(vec);
}
int longVecCopy(LongVec* dst, LongVec* src) {
    return vecCopy(dst, src);
}
int dblVecCopy(DoubleVec* dst, DoubleVec* src) {
    return vecCopy(dst, src);
}
int longVecPushBack(LongVec* vec, Long val) {
    return vecPushBack(vec, val);
}
int dblVecPushBack(DoubleVec* vec, double val) {
    return vecPushBack(vec, val);
}
int longVecPopBack(LongVec* vec, Long* val) {
    return popBack(vec, val);
}
int dblVecPopBack(DoubleVec* vec, double* val) {
    return popBack(vec, val);
}
int longVecResize(LongVec* vec, Long newsize) {
    return vecResize(vec, newsize);
}
int dblVecResize(DoubleVec* vec, Long newsize) {
    return vecResize(vec, newsize);
}
int longVecGet(LongVec* vec, Long index, Long* val) {
    return get(vec, index, val);
}
int dblVecGet(DoubleVec* vec, Long index, double* val) {
    return get(vec, index, val);
}
int longVecSet(LongVec* vec, Long index, Long val) {
    return set(vec, index, val, "long ");
}
int dblVecSet(DoubleVec* vec, Long index, double val) {
    return set(vec, index, val, "double ");
}
