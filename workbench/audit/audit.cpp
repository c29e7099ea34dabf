#include "audit/audit.h"

#include "audit/drill.h"
#include "audit/recompute.h"
#include "audit/routes.h"

namespace workbench {

namespace {

void count(const Failure& failure, AuditResult* result) {
    result->hit += failure.hit.size();
    result->restored += failure.restored.size();
    if (!failure.overloads.empty()) {
        result->overloadedFailures++;
        result->overloadedClaimed += failure.claimed ? 1 : 0;
    }
    for (const Lost& lost : failure.lost) switch (lost.cause) {
            case LossCause::ENDS_HERE:
                result->lostEndsHere++;
                break;
            case LossCause::UNPROTECTED:
                result->lostUnprotected++;
                break;
            case LossCause::NOT_COVERED:
                result->lostNotCovered++;
                break;
            case LossCause::BROKEN:
                result->lostBroken++;
                break;
        }
}

}  // namespace

bool AuditResult::isClean() const {
    const bool hasRoom = overloads.empty() && overloadedClaimed == 0;
    return problems.empty() && (hasRoom || !isRoomPromised) && lostBroken == 0 &&
           tables.differing.empty();
}

AuditResult audit(const Plan& plan, const std::vector<FailureSet>& failures,
                  const std::function<void()>& step) {
    AuditResult result;
    result.isRoomPromised = plan.configuration.routing == Routing::ADMITTED;
    const Routes routes(plan, &result.problems);
    Drill drill(plan, routes);
    result.fullest = drill.fullest();
    result.overloads = drill.overloads();
    for (const FailureSet& set : failures) {
        result.failures.push_back(drill.fail(set));
        count(result.failures.back(), &result);
        if (step) step();
    }
    result.worst = drill.worst();
    result.booked = recomputeTables(plan, routes);
    result.tables = checkTables(plan, result.booked);
    return result;
}

Stretch stretchOf(const Failure& failure) {
    Stretch stretch;
    for (const Restored& one : failure.restored) stretch.add(one.lsp, one.stretch);
    return stretch;
}

const char* toText(LossCause cause) {
    switch (cause) {
        case LossCause::ENDS_HERE:
            return "ends here";
        case LossCause::NOT_COVERED:
            return "not covered";
        case LossCause::BROKEN:
            return "protected";
        case LossCause::UNPROTECTED:
            break;
    }
    return "unprotected";
}

}  // namespace workbench
