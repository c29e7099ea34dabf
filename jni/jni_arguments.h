// Reading and checking the arguments of native methods.
//
// Each function pushes a message and returns -1 for an argument that would index outside
// a table; the native method then refuses the call before anything has changed.
#pragma once

#include <jni.h>

#include "database/database_st.h"

// Classes or levels that a table has of those that a caller uses: 0 to 8.
Long usable(Long nb);

// Classes and levels that the caller of the loaded session uses.
Long nbClasses();
Long nbLevels();

// Refuses a null array and one with less than `length` elements.
int checkArray(JNIEnv* env, jarray array, Long length);

// Copies the first elements of an array, widened.
int readFloats(JNIEnv* env, jfloatArray array, double* to, Long length);

// Copies the corner of an array of rows.
int readRows(JNIEnv* env, jobjectArray rows, double (&table)[kClasses][kLevels],
             Long nbRows, Long nbColumns);

// Refuses a preemption level outside the tables, and a bandwidth that is not finite:
// it could not be ordered in a list of LSPs, nor be taken out of a sum again.
int checkLevel(jint level);
int checkBandwidth(jfloat bw);

// Appends the elements of an array.
int readIds(JNIEnv* env, jintArray array, LongList* to);

// The bandwidth in class oa of those in use, 0 in the others. A class that is not
// in use matches none.
void setBandwidth(double (&bw)[kClasses], jint oa, jfloat bandwidth);

// A new Java array with the elements of the list; null, an exception pending, if there
// is no memory for it.
jintArray toJava(JNIEnv* env, const LongList* list);
