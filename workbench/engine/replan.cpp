#include "engine/replan.h"

#include <algorithm>
#include <unordered_map>

namespace workbench {

using Fate = Effect::Fate;

namespace {

std::vector<int> nodesOf(const std::vector<int>& links, const Network& network) {
    std::vector<int> nodes = {network.links[links.front()].src};
    for (const int link : links) nodes.push_back(network.links[link].dst);
    return nodes;
}

// Primaries that are up; the demands of the others say why they are not.
std::vector<PlanLsp> stillUp(const Effects& effects, const std::vector<Effect>& hit,
                             Plan* after) {
    std::unordered_map<int, const Effect*> effectOn;
    for (const Effect& effect : hit) effectOn[effect.route->lsp->id] = &effect;
    std::vector<PlanLsp> up;
    for (const Route& route : effects.routes().all()) {
        if (route.lsp->kind != LspKind::PRIMARY) continue;
        const auto at = effectOn.find(route.lsp->id);
        const Effect* effect = at == effectOn.end() ? nullptr : at->second;
        if (effect != nullptr && effect->fate != Fate::RESTORED) {
            noteTakenDown(&after->demands[route.lsp->demand],
                          effect->fate == Fate::ENDED ? "ends at a node that is down"
                                                      : "lost in the failure");
            continue;
        }
        up.push_back(*route.lsp);
        if (effect != nullptr) up.back().path = nodesOf(effect->way, after->network);
    }
    return up;
}

void placeLost(Engine* engine, const std::vector<Effect>& hit, Plan* after) {
    std::vector<const PlanLsp*> lost;
    for (const Effect& effect : hit)
        if (effect.fate == Fate::LOST) lost.push_back(effect.route->lsp);
    std::ranges::stable_sort(lost, {}, &PlanLsp::level);
    for (const PlanLsp* lsp : lost) {
        PlanDemand& demand = after->demands[lsp->demand];
        Request request = requestFor(*engine, demand, lsp->demand);
        request.preempt = false;
        request.id = lsp->id;
        const Answer answer = engine->request(request);
        if (answer.placed) {
            demand.lsp = answer.lsp;
            demand.outcome = Outcome::REPLACED;
        }
        demand.reason = answer.reason;
    }
}

}  // namespace

Plan planAfter(const Effects& effects, FailedSets failed, bool tables) {
    const Plan& plan = effects.plan();
    const std::vector<Effect> hit = effects.of(failed);
    const FailureSet down = effects.together(failed);
    Plan after;
    after.network = plan.network;
    after.configuration = plan.configuration;
    after.configuration.protection = Protection::NONE;
    after.drained = plan.drained;
    for (const auto& [from, to] : {std::pair(&down.nodes, &after.drained.nodes),
                                   std::pair(&down.links, &after.drained.links)}) {
        to->insert(to->end(), from->begin(), from->end());
        std::ranges::sort(*to);
        to->erase(std::unique(to->begin(), to->end()), to->end());
    }
    after.demands = plan.demands;
    for (PlanDemand& demand : after.demands) {
        demand.unprotected.clear();
        demand.exposed.clear();
        demand.beyond.clear();
    }
    const std::vector<PlanLsp> up = stillUp(effects, hit, &after);
    Engine engine(after);
    engine.load(up);
    placeLost(&engine, hit, &after);
    if (tables)
        finishPlan(engine, &after);
    else
        for (const auto& [id, lsp] : engine.lsps()) after.lsps.push_back(lsp);
    return after;
}

std::vector<PlanLsp> placedAgain(const Plan& after, const std::vector<Effect>& effects) {
    std::vector<PlanLsp> again;
    for (const Effect& effect : effects) {
        if (effect.fate != Fate::LOST) continue;
        const auto at =
            std::ranges::lower_bound(after.lsps, effect.route->lsp->id, {}, &PlanLsp::id);
        if (at != after.lsps.end() && at->id == effect.route->lsp->id)
            again.push_back(*at);
    }
    return again;
}

}  // namespace workbench
