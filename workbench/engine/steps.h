// Steps of a what-if, as texts: what the options of kavril change of these names say.
//
//     Steps steps;
//     steps.drain = {"Koeln"};
//     steps.scale = {"1.2", "12=1.5"};
//     takeSteps(&plan, steps, {});
#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "engine/change.h"
#include "engine/promises.h"
#include "engine/replan.h"

namespace workbench {

struct Steps {
    using Texts = std::vector<std::string>;

    Texts drain = {};
    Texts undrain = {};
    Texts capacity = {};
    Texts link = {};
    Texts without = {};
    Texts add = {};
    Texts remove = {};
    Texts scale = {};
    Texts level = {};
    Texts route = {};
    Texts lock = {};
    Texts unlock = {};
    std::string protection = {};  // empty: as it is
    // Names of what fails at once, after all that; with `replan` the lost are placed
    // again.
    Texts fail = {};
    bool replan = false;

    bool areChange() const;  // and not just a failure
};

// From an object that has these members or some of them. UserError, naming the member, if
// it is none: what comes here may have been written by anybody.
Steps stepsFrom(const nlohmann::json& from);

// What is to change. UserError, naming the option, where a text makes no sense in the
// plan.
Change changeFrom(const Plan& plan, const Steps& steps);

// Told of long work: each stage with its number of steps, 0 if nobody can say, and each
// step.
struct Watch {
    std::function<void(const char* what, std::size_t total)> stage;
    Step step;

    void start(const char* what, std::size_t total) const {
        if (stage) stage(what, total);
    }
};

// What came of the steps.
struct Taken {
    TakenBack takenBack;
    std::optional<Recovery> recovery;
};

// Changes the plan, if they are a change, and replans it, if that is asked for, each with
// a last look at what the plan promises. UserError for a baseline, besides those of the
// steps; then the plan may be changed in part.
Taken takeSteps(Plan* plan, const Steps& steps, const Watch& watch);
// The same with a change that says more than the steps.
Taken takeSteps(Plan* plan, const Steps& steps, const Change& change, const Watch& watch);

}  // namespace workbench
