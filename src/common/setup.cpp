#include "common/setup.h"

constinit thread_local DataBase* centralDB = nullptr;
constinit thread_local KAVRILConfig kavrilConfig = {};
std::atomic<int> NBOA = 0;
std::atomic<int> NBPL = 0;
std::atomic<double> COST = 0.0;

void addCost(double cost) {
    double sum = COST;
    while (!COST.compare_exchange_weak(sum, sum + cost)) continue;
}
