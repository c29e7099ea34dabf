// What opens sessions; and native methods that open those which share nothing with
// others.
#pragma once

#include <jni.h>

#include "common/setup.h"

// Weights of the criteria, in the order of jniinitKavril's arguments. Each has one value:
// that of class 0.
using Weights = jfloat[7];
void setWeights(PrimaryComputationConfig* config, const Weights& weights);

// Opens the session that was begun, with an empty network; its number, or -1 with a
// message.
int openEmpty(const KAVRILConfig& config);

// Registers them with their Java class, unless that is done or the class is not there.
void registerSessions(JNIEnv* env);
