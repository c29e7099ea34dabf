#include "commands/promises.h"

#include <fmt/format.h>

#include "cli/error.h"
#include "cli/progress.h"
#include "plan_json.h"

namespace workbench {

void checkPromises(Plan* plan, const Shared& shared) {
    TakenBack takenBack;
    {
        Progress progress(shared,
                          {{"checking the promises", promisedFailures(*plan).size()}});
        takenBack = keepPromises(plan, [&progress] { progress.advance(); });
    }
    noteTakenBack(takenBack, shared);
}

void noteTakenBack(const TakenBack& takenBack, const Shared& shared) {
    if (takenBack.any() && !shared.quiet)
        fmt::print(
            stderr,
            "note: the audit of the finished plan found what does not hold and was "
            "taken back: backups of {} LSPs, {} LSPs, {} claims to survive a "
            "failure\n",
            takenBack.backups, takenBack.lsps, takenBack.exposed);
}

Plan readWorkingPlan(const std::string& file) {
    Plan plan = readPlan(file);
    if (plan.configuration.routing != Routing::ADMITTED)
        throw UserError(
            file +
            " is a baseline, whose LSPs were admitted whatever room there is; "
            "audit, diff, report, explain and export compare with it");
    return plan;
}

}  // namespace workbench
