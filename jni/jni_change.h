// Native methods that change LSPs and links which are there, and take changes back.
#pragma once

#include <jni.h>

// Registers them with their Java class, unless that is done or the class is not there.
void registerChanges(JNIEnv* env);
