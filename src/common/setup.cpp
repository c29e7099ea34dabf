#include "common/setup.h"

DataBase* centralDB = nullptr;
KAVRILConfig kavrilConfig = {};
int NBOA = 0;
int NBPL = 0;
double COST = 0.0;
