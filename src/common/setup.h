// Configuration of a session, and the globals through which all code reaches the
// session that is loaded.
#pragma once

#include <atomic>

#include "common/types.h"

struct DataBase;

// Weights of the primary path score; arrays are indexed by class. A weight that is not
// equal to 0 is in use.
struct PrimaryComputationConfig {
    double Fortz;
    double loadBal[kClasses];
    double load[kClasses];
    double sqLoad[kClasses];
    double relLoad[kClasses];
    double sqRelLoad[kClasses];
    double delay[kClasses];
    double rerouting[kClasses];
};

// Switches of the admission predicates.
struct PredicateConfig {
    bool allowReroute;    // bandwidth of less important LSPs counts as free
    bool capacityClause;  // refuse links without enough capacity
    bool colorClause;     // refuse links of a forbidden colour
};

// Price of freeing one unit of bandwidth, [class][level].
struct ReroutingConfig {
    double scoreCoef[kClasses][kLevels];
};

struct KAVRILConfig {
    PrimaryComputationConfig primaryComputationConfig;
    PredicateConfig predicateConfig;
    ReroutingConfig reroutingConfig;
};

// A session is loaded by one thread at a time, whose globals these are.
extern constinit thread_local DataBase* centralDB;  // null while no session is loaded
extern constinit thread_local KAVRILConfig kavrilConfig;  // of the loaded session

// Classes and levels that callers use, and the summed cost of the primary paths found
// since the last initialisation. These belong to the process: sessions with different
// numbers of classes or levels cannot be mixed, unless they have all numbers
// (SessionUse). One thread may read them while another writes.
extern std::atomic<int> NBOA;
extern std::atomic<int> NBPL;
extern std::atomic<double> COST;

// COST += cost, which not all standard libraries have.
void addCost(double cost);
