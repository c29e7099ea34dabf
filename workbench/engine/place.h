// Places a whole matrix online: request after request, as an operator would.
#pragma once

#include <functional>
#include <vector>

#include "engine/engine.h"

namespace workbench {

// Wall-clock seconds of every request, those repeated after a preemption too. Not part of
// the plan, which is the same for the same inputs.
struct PlaceTimes {
    std::vector<double> requests;
    std::vector<double> protections;
};

// Called after every step of long work; ends it by throwing.
using Step = std::function<void()>;

// The configuration with the classes that the demands name, unless it has classes of its
// own: each with as much of the capacity as of the traffic. UserError for more than 8.
Configuration withClassesOf(const std::vector<Demand>& demands,
                            const Configuration& configuration);

// The requests of a matrix under a configuration, in the order in which they are made.
std::vector<PlanDemand> requestsOf(const std::vector<Demand>& demands,
                                   const Configuration& configuration);

// What is asked of the engine for a demand of a plan.
Request requestFor(const Engine& engine, const PlanDemand& demand, int index);

// Makes the requests of a plan whose demands are filled in, in their order, requests
// preempted LSPs again at once, the most important first, and then protects every
// primary, again the most important first. Outcomes and reasons are written to the plan's
// demands.
//
// This ends: an LSP is preempted by more important ones only, so the requests of each
// level are as many as it has demands and the levels above it have preempted.
//
// With `strict` it stops at the first request that is refused or, unless excused by its
// index, not protected; the result is false then.
struct PlaceOptions {
    bool strict = false;
    std::vector<char> excusedRequest;
    std::vector<char> excusedProtection;
    Step step;
};
bool placeAll(Engine* engine, std::vector<PlanDemand>* demands,
              const PlaceOptions& options, PlaceTimes* times);

// Writes down that the LSP of a demand is no longer up.
void noteTakenDown(PlanDemand* demand, const std::string& reason);

// Protects the LSP of a demand and writes down what came of it.
void protectDemand(Engine* engine, PlanDemand* demand);

// A plan with its requests, none of them made yet.
Plan newPlan(const Network& network, const std::vector<Demand>& demands,
             const Configuration& configuration);

// Makes the requests of a new plan and fills in the rest. `step` is called once for every
// demand, and with protection once more for each when its backups have been sought.
void runPlan(Plan* plan, const Step& step, PlaceTimes* times);

// Writes LSPs, tables and summary of an engine to a plan that has the rest.
void finishPlan(const Engine& engine, Plan* plan);

}  // namespace workbench
