#include "engine/baseline.h"

#include "graph/shortest.h"

namespace workbench {

void runBaseline(Plan* plan, const Step& step) {
    plan->configuration.routing = Routing::SHORTEST_PATH;
    ShortestPaths shortest(plan->network);
    std::vector<PlanLsp> lsps;
    for (int i = 0; i < std::ssize(plan->demands); i++) {
        PlanDemand& demand = plan->demands[i];
        PlanLsp lsp;
        lsp.id = static_cast<int>(lsps.size());
        lsp.demand = i;
        lsp.path = {demand.src};
        for (const int link : shortest.links(demand.src, demand.dst))
            lsp.path.push_back(plan->network.links[link].dst);
        lsp.trafficClass = demand.trafficClass;
        lsp.level = demand.level;
        lsp.bandwidth = demand.bandwidth;
        if (lsp.path.size() < 2) {
            demand.reason = "no links lead from one end to the other";
        } else {
            demand.outcome = Outcome::PLACED;
            demand.lsp = lsp.id;
            lsps.push_back(std::move(lsp));
        }
        if (step) step();
    }
    Engine engine(*plan);
    engine.load(lsps);
    finishPlan(engine, plan);
}

}  // namespace workbench
