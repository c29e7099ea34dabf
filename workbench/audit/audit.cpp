#include "audit/audit.h"

#include "audit/drill.h"
#include "audit/recompute.h"
#include "audit/routes.h"

namespace workbench {

namespace {

void count(const Failure& failure, AuditResult* result) {
    result->hit += failure.hit.size();
    result->restored += failure.restored.size();
    result->overloadedFailures += failure.overloads.empty() ? 0 : 1;
    for (const Lost& lost : failure.lost) switch (lost.cause) {
            case LossCause::ENDS_HERE:
                result->lostEndsHere++;
                break;
            case LossCause::UNPROTECTED:
                result->lostUnprotected++;
                break;
            case LossCause::BROKEN:
                result->lostBroken++;
                break;
        }
}

}  // namespace

bool AuditResult::isClean() const {
    return problems.empty() && overloads.empty() && lostBroken == 0 &&
           overloadedFailures == 0 && tables.differing.empty();
}

AuditResult audit(const Plan& plan) {
    AuditResult result;
    const Routes routes(plan, &result.problems);
    Drill drill(plan, routes);
    result.fullest = drill.fullest();
    result.overloads = drill.overloads();
    for (int link = 0; link < std::ssize(plan.network.links); link++)
        result.failures.push_back(drill.failLink(link));
    for (int node = 0; node < std::ssize(plan.network.nodes); node++)
        result.failures.push_back(drill.failNode(node));
    for (const Failure& failure : result.failures) count(failure, &result);
    result.tables = checkTables(plan, recomputeTables(plan, routes));
    return result;
}

const char* toText(LossCause cause) {
    switch (cause) {
        case LossCause::ENDS_HERE:
            return "ends here";
        case LossCause::BROKEN:
            return "protected";
        case LossCause::UNPROTECTED:
            break;
    }
    return "unprotected";
}

}  // namespace workbench
