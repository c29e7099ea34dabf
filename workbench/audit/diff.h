// What is different between two plans, of one network or of two that share names.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "audit/verdict.h"

namespace workbench {

// A demand is the same in both plans if its name, ends, class and level are, or all but
// the level if no other demand has that; the first with these in one plan is the first in
// the other.
struct LspChange {
    std::string demand;  // "Berlin > Paris", with the demand's name if it has one
    std::string trafficClass;
    int level = 0;           // after, if it is up then
    double bandwidth = 0.0;  // the same
    int lspBefore = -1;      // -1: not up
    int lspAfter = -1;
    std::vector<std::string> before;  // nodes
    std::vector<std::string> after;
    double stretchBefore = 0.0;  // 0 while it is not up
    double stretchAfter = 0.0;
    std::string reason;  // why it is not up, or not protected, after
};

struct LinkChange {
    std::string link;
    std::string trafficClass;
    double before = 0.0;  // load with nothing failed
    double after = 0.0;
    double worstBefore = 0.0;  // after the failure that fills it most
    double worstAfter = 0.0;
    double capacityBefore = 0.0;  // 0 where it is not there
    double capacityAfter = 0.0;
};

// What became of a class and level; those of the same name.
struct LevelChange {
    std::string trafficClass;
    int level = 0;
    Fate before;
    Fate after;
};

// The state of one of the plans.
struct PlanFigures {
    double carried = 0.0;
    double isProtected = 0.0;
    double worstLost = 0.0;
    std::string worstFailure;  // empty: nothing is ever lost
    double worstLoad = 0.0;    // share of a capacity, after any failure
    std::size_t overloads = 0;
};

struct LspChanges {
    std::vector<LspChange> moved;
    std::vector<LspChange> gained;       // up in the second only
    std::vector<LspChange> lost;         // up in the first only
    std::vector<LspChange> unprotected;  // up in both, protected in the first only
    std::vector<LspChange> isProtected;  // protected in the second only
    std::vector<LspChange> resized;      // up in both, with another bandwidth
    std::vector<LspChange> otherLevel;   // up in both
};

struct PlanDiff {
    LspChanges lsps;
    std::vector<LevelChange> levels;
    std::vector<LinkChange> links;  // those that differ
    PlanFigures before;
    PlanFigures after;
};

// A plan with what failures do to it.
struct AuditedPlan {
    const Plan& plan;
    const AuditResult& audit;
};

LspChanges compareLsps(const Plan& before, const Plan& after);

PlanDiff diffPlans(const AuditedPlan& before, const AuditedPlan& after);

nlohmann::json toJson(const PlanDiff& diff);
nlohmann::json toJson(const std::vector<LevelChange>& levels);

}  // namespace workbench
