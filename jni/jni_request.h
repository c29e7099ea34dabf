// Native methods that place LSPs within limits, and links with a colour.
#pragma once

#include <jni.h>

// Registers them with their Java class, unless that is done or the class is not there.
void registerRequests(JNIEnv* env);
