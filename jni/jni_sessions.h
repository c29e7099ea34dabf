// Native methods that open sessions which share nothing with others.
#pragma once

#include <jni.h>

// Registers them with their Java class, unless that is done or the class is not there.
void registerSessions(JNIEnv* env);
