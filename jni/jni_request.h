// Native methods of what sessions ask for beyond the exported ones: LSPs within limits,
// backups of as many links as there are for, links with a colour.
#pragma once

#include <jni.h>

// Registers them with their Java class, unless that is done or the class is not there.
void registerRequests(JNIEnv* env);
