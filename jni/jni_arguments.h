// Reading and checking the arguments of native methods.
//
// Each function pushes a message and returns -1 for an argument that would index outside
// a table; the native method then refuses the call before anything has changed.
#pragma once

#include <jni.h>

#include "database/database_st.h"

// Refuses a null array and one with less than `length` elements.
int checkArray(JNIEnv* env, jarray array, Long length);

// Copies the first elements of an array, widened.
int readFloats(JNIEnv* env, jfloatArray array, double* to, Long length);

// Copies the corner of an array of rows.
int readRows(JNIEnv* env, jobjectArray rows, double (&table)[kClasses][kLevels],
             Long nbRows, Long nbColumns);

// Appends the elements of an array.
int readIds(JNIEnv* env, jintArray array, LongList* to);

// A new Java array with the elements of the list; null, an exception pending, if there
// is no memory for it.
jintArray toJava(JNIEnv* env, const LongList* list);
