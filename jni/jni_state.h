// Native methods that read what is in a session.
#pragma once

#include <jni.h>

// Registers them with their Java class, unless that is done or the class is not there.
void registerState(JNIEnv* env);
