// Does the traffic survive? What an audit found, summed up by class and level.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "audit/audit.h"
#include "graph/shortest.h"

namespace workbench {

// What becomes of the traffic of a class and level; -1 stands for all of them. Bandwidth
// that ends at a failed node is not counted as lost: nothing could save it.
struct Fate {
    int trafficClass = -1;
    int level = -1;
    int requested = 0;  // LSPs
    int carried = 0;
    int isProtected = 0;  // survive every failure that does not take their ends
    double bandwidthRequested = 0.0;
    double bandwidthCarried = 0.0;
    double bandwidthProtected = 0.0;
    double bandwidthBackups = 0.0;  // of its backups, hop by hop, without sharing
    double booked = 0.0;            // by its primaries, summed over links
    double reserved = 0.0;          // for its backups, shared; summed over links
    Stretch stretch = {};           // of its primaries
    double worstLost = 0.0;         // in one failure
    int worstFailure = -1;          // by its place in the audit; -1: nothing is ever lost
    // Where failures have probabilities: part of the time that an LSP is up, by itself at
    // worst, and on the average of the bandwidth.
    std::optional<double> lowestAvailability = {};
    std::optional<double> meanAvailability = {};
};

struct Verdict {
    Fate all;
    std::vector<Fate> classes;  // those with requests, as the plan's
    std::vector<Fate> levels;   // each class and level with requests
    double worstLoad = 0.0;     // share of a capacity, after any failure
    std::size_t overloads = 0;  // failures that leave a link above its capacity
};

Verdict verdictOf(const Plan& plan, const AuditResult& result);

// Whether something is known of availability.
bool knowsProbabilities(const AuditResult& result);

// Part of the time that each LSP is up, by its place among the plan's LSPs; 1 for backups
// and where failures have no probability. Failures come independently of each other. One
// that only breaks an LSP together with another counts if it is among the failures, as a
// pair.
std::vector<double> availabilities(const Plan& plan, const AuditResult& result);

// "protected:voice:1=99.5%": a figure of a class and level, and its limit.
struct Requirement {
    std::string text;
    std::string figure;
    std::string trafficClass;  // empty: all
    int level = -1;
    double limit = 0.0;
};

// UserError if it makes no sense.
Requirement requirementFrom(const std::string& text);

// Empty if it holds, else what is the case instead.
std::string whyNot(const Requirement& requirement, const Plan& plan,
                   const Verdict& verdict);

}  // namespace workbench
