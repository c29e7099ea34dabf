// Native methods of velmor.kavril.internal.Diagnostics, beside the twelve exported ones:
// what an error stack and a database say, as text.
#pragma once

#include <jni.h>

// Registers them with the class that the caller's class loader has, if it has one. To be
// called while nobody waits for this thread: looking a class up may run Java code.
void registerDiagnostics(JNIEnv* env);
