// A virtual machine without Java: the functions of JNIEnv that the entry points use, on
// plain records. It lets tests drive the entry points by the million, under sanitizers,
// and refuse them memory where a real machine never would.
//
// Pinned elements are copies of exactly the array's length, so that a sanitizer sees an
// access beyond its end. What -Xcheck:jni would complain of ends in misuse().
#pragma once

#include <jni.h>

#include <deque>
#include <string>
#include <vector>

class FakeVm {
  public:
    FakeVm();
    ~FakeVm();
    FakeVm(const FakeVm&) = delete;
    FakeVm& operator=(const FakeVm&) = delete;
    JNIEnv* env() { return &env_; }

    jobject object();  // with the fields `sessId`, -1, and `lsps`, null
    jintArray ints(const std::vector<jint>& values);
    jfloatArray floats(const std::vector<jfloat>& values);
    jobjectArray rows(const std::vector<std::vector<jfloat>>& values);

    static jint& sessId(jobject object);
    static std::vector<jint> lsps(jobject object);
    static std::vector<jint> values(jarray ints);
    static std::vector<std::vector<jint>> valuesOfRows(jobjectArray rows);

    // The simple name of the pending exception, "" for none, which is then cleared.
    std::string takeException();

    // Makes the nth allocation from now fail, as mymalloc's does; returns what was left.
    long failAllocation(long nth);

    // Drops every array; objects stay.
    void forgetArrays();

    int pinned() const { return pinned_; }
    const std::string& misuse() const { return misuse_; }

  private:
    friend struct FakeFunctions;
    struct Record;
    struct Env : JNIEnv {
        FakeVm* vm;
    };
    Record* make(int kind);

    Env env_;
    std::deque<Record> objects_, arrays_, classes_;
    std::string pending_, misuse_;
    int pinned_ = 0;
    long toFailure_ = 0;
};
