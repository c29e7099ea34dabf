// Native methods that copy sessions, and keep them in files.
#pragma once

#include <jni.h>

// Registers them with their Java class, unless that is done or the class is not there.
void registerStorage(JNIEnv* env);
