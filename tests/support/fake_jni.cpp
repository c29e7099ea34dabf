#include "support/fake_jni.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

enum Kind { OBJECT, INTS, FLOATS, ROWS, CLASS };

jfieldID fieldNamed(const char* name) {
    static char fields[2];
    return reinterpret_cast<jfieldID>(&fields[std::strcmp(name, "sessId") == 0 ? 0 : 1]);
}

}  // namespace

// What a reference refers to.
struct FakeVm::Record {
    int kind = OBJECT;
    jint sessId = -1;
    Record* lsps = nullptr;
    std::vector<jint> ints;
    std::vector<jfloat> floats;
    std::vector<Record*> rows;
    std::string name;

    static Record* of(const void* reference) {
        return static_cast<Record*>(const_cast<void*>(reference));
    }
    template <class Reference>
    Reference as() {
        return reinterpret_cast<Reference>(this);
    }
};

struct FakeFunctions {
    using Record = FakeVm::Record;

    static FakeVm* vmOf(JNIEnv* env) { return static_cast<FakeVm::Env*>(env)->vm; }

    // Most functions must not be called with an exception pending.
    static FakeVm* enter(JNIEnv* env, const char* function) {
        FakeVm* vm = vmOf(env);
        if (!vm->pending_.empty())
            vm->misuse_ = std::string(function) + " with " + vm->pending_ + " pending";
        return vm;
    }
    static bool refuses(FakeVm* vm) {
        if (vm->toFailure_ == 0 || --vm->toFailure_ > 0) return false;
        vm->pending_ = "java/lang/OutOfMemoryError";
        return true;
    }

    static jclass JNICALL getObjectClass(JNIEnv* env, jobject object) {
        Record* record = enter(env, "GetObjectClass")->make(CLASS);
        record->name = Record::of(object)->kind == OBJECT ? "JNIKAVRIL" : "int[]";
        return record->as<jclass>();
    }
    static jfieldID JNICALL getFieldID(JNIEnv* env, jclass, const char* name,
                                       const char*) {
        enter(env, "GetFieldID");
        return fieldNamed(name);
    }
    static jint JNICALL getIntField(JNIEnv* env, jobject object, jfieldID) {
        enter(env, "GetIntField");
        return Record::of(object)->sessId;
    }
    static void JNICALL setIntField(JNIEnv* env, jobject object, jfieldID, jint value) {
        enter(env, "SetIntField");
        Record::of(object)->sessId = value;
    }
    static void JNICALL setObjectField(JNIEnv* env, jobject object, jfieldID,
                                       jobject value) {
        enter(env, "SetObjectField");
        Record::of(object)->lsps = Record::of(value);
    }
    static jclass JNICALL findClass(JNIEnv* env, const char* name) {
        Record* record = enter(env, "FindClass")->make(CLASS);
        record->name = name;
        return record->as<jclass>();
    }
    static jint JNICALL throwNew(JNIEnv* env, jclass type, const char*) {
        enter(env, "ThrowNew")->pending_ = Record::of(type)->name;
        return 0;
    }
    static jboolean JNICALL exceptionCheck(JNIEnv* env) {
        return vmOf(env)->pending_.empty() ? JNI_FALSE : JNI_TRUE;
    }
    static void JNICALL deleteLocalRef(JNIEnv*, jobject) {}

    static jsize JNICALL getArrayLength(JNIEnv* env, jarray array) {
        enter(env, "GetArrayLength");
        const Record* record = Record::of(array);
        return static_cast<jsize>(record->ints.size() + record->floats.size() +
                                  record->rows.size());
    }
    static jintArray JNICALL newIntArray(JNIEnv* env, jsize length) {
        FakeVm* vm = enter(env, "NewIntArray");
        if (refuses(vm)) return nullptr;
        Record* record = vm->make(INTS);
        record->ints.resize(static_cast<std::size_t>(length));
        return record->as<jintArray>();
    }
    static void JNICALL setIntArrayRegion(JNIEnv* env, jintArray array, jsize start,
                                          jsize length, const jint* from) {
        FakeVm* vm = enter(env, "SetIntArrayRegion");
        std::vector<jint>& ints = Record::of(array)->ints;
        if (start < 0 || length < 0 ||
            static_cast<std::size_t>(start + length) > ints.size())
            vm->misuse_ = "SetIntArrayRegion beyond the array";
        else
            std::copy_n(from, length, ints.begin() + start);
    }
    static jobjectArray JNICALL newObjectArray(JNIEnv* env, jsize length, jclass,
                                               jobject) {
        FakeVm* vm = enter(env, "NewObjectArray");
        if (refuses(vm)) return nullptr;
        Record* record = vm->make(ROWS);
        record->rows.resize(static_cast<std::size_t>(length));
        return record->as<jobjectArray>();
    }
    static jobject JNICALL getObjectArrayElement(JNIEnv* env, jobjectArray array,
                                                 jsize i) {
        enter(env, "GetObjectArrayElement");
        return reinterpret_cast<jobject>(
            Record::of(array)->rows.at(static_cast<std::size_t>(i)));
    }
    static void JNICALL setObjectArrayElement(JNIEnv* env, jobjectArray array, jsize i,
                                              jobject value) {
        enter(env, "SetObjectArrayElement");
        Record::of(array)->rows.at(static_cast<std::size_t>(i)) = Record::of(value);
    }

    template <class Elem>
    static Elem* pin(FakeVm* vm, const std::vector<Elem>& values) {
        if (refuses(vm)) return nullptr;
        vm->pinned_++;
        return std::copy(values.begin(), values.end(), new Elem[values.size()]) -
               static_cast<std::ptrdiff_t>(values.size());
    }
    template <class Elem>
    static void unpin(FakeVm* vm, std::vector<Elem>* values, Elem* elems) {
        vm->pinned_--;
        std::copy_n(elems, values->size(), values->begin());
        delete[] elems;
    }
    static jint* JNICALL getInts(JNIEnv* env, jintArray array, jboolean*) {
        return pin(enter(env, "GetIntArrayElements"), Record::of(array)->ints);
    }
    static jfloat* JNICALL getFloats(JNIEnv* env, jfloatArray array, jboolean*) {
        return pin(enter(env, "GetFloatArrayElements"), Record::of(array)->floats);
    }
    static void JNICALL releaseInts(JNIEnv* env, jintArray array, jint* elems, jint) {
        unpin(vmOf(env), &Record::of(array)->ints, elems);
    }
    static void JNICALL releaseFloats(JNIEnv* env, jfloatArray array, jfloat* elems,
                                      jint) {
        unpin(vmOf(env), &Record::of(array)->floats, elems);
    }

    static JNINativeInterface_ table() {
        JNINativeInterface_ table = {};
        table.GetObjectClass = getObjectClass;
        table.GetFieldID = getFieldID;
        table.GetIntField = getIntField;
        table.SetIntField = setIntField;
        table.SetObjectField = setObjectField;
        table.FindClass = findClass;
        table.ThrowNew = throwNew;
        table.ExceptionCheck = exceptionCheck;
        table.DeleteLocalRef = deleteLocalRef;
        table.GetArrayLength = getArrayLength;
        table.NewIntArray = newIntArray;
        table.SetIntArrayRegion = setIntArrayRegion;
        table.NewObjectArray = newObjectArray;
        table.GetObjectArrayElement = getObjectArrayElement;
        table.SetObjectArrayElement = setObjectArrayElement;
        table.GetIntArrayElements = getInts;
        table.GetFloatArrayElements = getFloats;
        table.ReleaseIntArrayElements = releaseInts;
        table.ReleaseFloatArrayElements = releaseFloats;
        return table;
    }
};

FakeVm::FakeVm() {
    static const JNINativeInterface_ table = FakeFunctions::table();
    env_.functions = &table;
    env_.vm = this;
}

FakeVm::~FakeVm() = default;

FakeVm::Record* FakeVm::make(int kind) {
    std::deque<Record>& records = kind == OBJECT  ? objects_
                                  : kind == CLASS ? classes_
                                                  : arrays_;
    records.emplace_back().kind = kind;
    return &records.back();
}

jobject FakeVm::object() {
    return make(OBJECT)->as<jobject>();
}

jintArray FakeVm::ints(const std::vector<jint>& values) {
    Record* record = make(INTS);
    record->ints = values;
    return record->as<jintArray>();
}

jfloatArray FakeVm::floats(const std::vector<jfloat>& values) {
    Record* record = make(FLOATS);
    record->floats = values;
    return record->as<jfloatArray>();
}

jobjectArray FakeVm::rows(const std::vector<std::vector<jfloat>>& values) {
    Record* record = make(ROWS);
    for (const std::vector<jfloat>& row : values)
        record->rows.push_back(Record::of(floats(row)));
    return record->as<jobjectArray>();
}

jint& FakeVm::sessId(jobject object) {
    return Record::of(object)->sessId;
}

std::vector<jint> FakeVm::lsps(jobject object) {
    const Record* lsps = Record::of(object)->lsps;
    return lsps != nullptr ? lsps->ints : std::vector<jint>();
}

std::vector<jint> FakeVm::values(jarray ints) {
    return Record::of(ints)->ints;
}

std::vector<std::vector<jint>> FakeVm::valuesOfRows(jobjectArray rows) {
    std::vector<std::vector<jint>> values;
    for (const Record* row : Record::of(rows)->rows) values.push_back(row->ints);
    return values;
}

std::string FakeVm::takeException() {
    const std::string name = pending_.substr(pending_.rfind('/') + 1);
    pending_.clear();
    return name;
}

long FakeVm::failAllocation(long nth) {
    return std::exchange(toFailure_, nth);
}

void FakeVm::forgetArrays() {
    for (Record& object : objects_) object.lsps = nullptr;
    arrays_.clear();
    classes_.clear();
}
