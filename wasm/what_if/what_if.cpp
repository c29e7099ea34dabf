// The engine inside a report: takes steps on the page's plan and answers with what the
// page is to show of it then. For page/worker.js, which runs an instance for every
// question.
//
// Texts come in through the bytes of kavril_input and leave through those of
// kavril_answer. Calls end by an exception of JavaScript where the program would end with
// a message (raise.cpp).
#include <algorithm>
#include <nlohmann/json.hpp>

#include "audit/audit.h"
#include "audit/recompute.h"
#include "cli/error.h"
#include "engine/steps.h"
#include "plan_json.h"
#include "report/page_data.h"
#include "report/page_plan.h"

#define EXPORT(result, name) extern "C" [[clang::export_name(#name)]] result name

extern "C" [[clang::import_module("page"), clang::import_name("progress")]] void
pageProgress(const char* what, std::size_t length, int done, int of);

namespace workbench {

namespace {

using nlohmann::json;

std::string input;
std::string answer;
PagePlan page;
json pageAudit;  // what the page says of it
Audited asked;
bool isChanged;

// Says how far a stage of the work has come.
class Progress {
  public:
    void start(const char* what, std::size_t total) {
        what_ = what;
        total_ = static_cast<int>(total);
        done_ = 0;
    }
    void step() { pageProgress(what_.data(), what_.size(), ++done_, total_); }

  private:
    std::string what_;
    int total_ = 0;
    int done_ = 0;
};

// What a report of the plan that the steps lead to says, what has changed since that of
// the page, and what came of placing the lost again.
json answerTo(const Steps& steps) {
    asked = {"", page.plan, {}};
    isChanged = steps.areChange() || steps.replan;
    Progress progress;
    const auto step = [&progress] { progress.step(); };
    const Taken taken = takeSteps(
        &asked.plan, steps,
        {[&](const char* what, std::size_t total) { progress.start(what, total); },
         step});
    std::vector<FailureSet> failures = failuresAfter(page, asked.plan);
    if (!steps.fail.empty() && !steps.replan) {
        asked.asked = static_cast<int>(failures.size());
        failures.push_back(caseNamed(asked.plan, steps.fail));
    }
    progress.start("failing", failures.size());
    asked.audit = audit(asked.plan, failures, step);
    json data = planData(asked);
    // The plan's own tables are not in the page, and may have cells that the rounding of
    // sums has left behind.
    if (!isChanged) data["audit"]["cells"] = pageAudit.at("cells");
    data["changes"] = changesOf(page.plan, asked.plan);
    if (taken.recovery) data["recovery"] = toJson(*taken.recovery);
    return data;
}

void open(const json& data, const json& rest) {
    page = pagePlanFrom(data, rest);
    std::vector<std::string> problems;  // pages of plans with any have no engine
    page.plan.links = recomputeTables(page.plan, Routes(page.plan, &problems));
    page.plan.summary = summarise(page.plan);
    pageAudit = data.at("audit");
}

std::string changedPlan() {
    if (!isChanged) throw UserError("The steps do not change the plan");
    return planText(asked.plan);
}

}  // namespace

}  // namespace workbench

// Room for the text that the next call reads.
EXPORT(char*, kavril_input)(std::size_t size) {
    workbench::input.resize(size);
    return workbench::input.data();
}

EXPORT(const char*, kavril_answer)() {
    return workbench::answer.data();
}

EXPORT(std::size_t, kavril_answer_size)() {
    return workbench::answer.size();
}

// The page's plan: {"data": what the page shows, "rest": what it lacks}.
EXPORT(void, kavril_open)() {
    const auto both = nlohmann::json::parse(workbench::input);
    workbench::open(both.at("data"), both.at("rest"));
}

// Takes the steps, which are JSON, and answers in JSON.
EXPORT(void, kavril_ask)() {
    const auto steps = workbench::stepsFrom(nlohmann::json::parse(workbench::input));
    workbench::answer = workbench::answerTo(steps).dump(
        -1, ' ', false, nlohmann::json::error_handler_t::replace);
}

// Answers with the plan that was last asked for, as kavril change writes it.
EXPORT(void, kavril_plan)() {
    workbench::answer = workbench::changedPlan();
}
