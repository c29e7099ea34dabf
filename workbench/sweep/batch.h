// Cases that are worked on at once, and what comes of them. Cases, settings, links,
// classes and failures are numbers as in the grid.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "audit/toll.h"

namespace workbench {

struct Batch {
    int thread = 0;  // of its process, that it is for
    int setting = 0;
    std::string settingId = {};
    std::vector<int> cases = {};  // of the setting, ascending
    // The file of its demands, where another process has read it; else it is read.
    std::shared_ptr<const std::string> matrix = {};
};

struct PlanLevel {
    int trafficClass = 0;
    int level = 0;
    int requests = 0;
    int placed = 0;
    int isProtected = 0;
    double offered = 0.0;  // bandwidth
    double carried = 0.0;
    double carriedProtected = 0.0;
};

// A plan with nothing failed.
struct PlanFigures {
    std::vector<std::string> classes;
    std::vector<PlanLevel> levels;
    int backups = 0;
};

struct CaseFigures {
    int index = 0;
    std::uint64_t id = 0;
    Tally tally;
    Count again;  // of the lost, placed again
    Load fullest;
    int overloads = 0;
};

struct LevelFigures {
    int index = 0;
    int trafficClass = 0;
    int level = 0;
    Tally tally;
    Count again;
};

// The fullest that a link gets in a class.
struct LinkFigures {
    int link = 0;
    int trafficClass = 0;
    double capacity = 0.0;
    double usual = 0.0;  // with nothing failed
    double worst = 0.0;
    int index = -1;  // of the first case that causes it; -1: none is needed
};

struct CaseError {
    int index = 0;
    std::uint64_t id = 0;
    std::string reason;
};

struct BatchResult {
    int thread = 0;
    int setting = 0;
    PlanFigures plan;
    std::string planError;  // why there is no plan; then every case has failed
    std::vector<CaseFigures> cases;
    std::vector<LevelFigures> levels;
    std::vector<LinkFigures> links;
    std::vector<CaseError> errors;
    // What it took, in seconds: to make the plan, if that was done for this batch, and to
    // try the cases.
    double placing = 0.0;
    double failing = 0.0;
    std::size_t size() const { return cases.size() + errors.size(); }
};

}  // namespace workbench
