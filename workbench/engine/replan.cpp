#include "engine/replan.h"

#include <algorithm>
#include <unordered_map>

#include "engine/change.h"

namespace workbench {

using Fate = Effect::Fate;

namespace {

std::vector<int> nodesOf(const std::vector<int>& links, const Network& network) {
    std::vector<int> nodes = {network.links[links.front()].src};
    for (const int link : links) nodes.push_back(network.links[link].dst);
    return nodes;
}

// Traffic may come by a node twice, up to where a local backup starts and over that
// backup. An LSP need not.
void cutLoops(std::vector<int>* path) {
    for (auto at = path->begin(); at != path->end(); ++at) {
        const auto last = std::find(path->rbegin(), path->rend(), *at).base() - 1;
        at = path->erase(at, last);
    }
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
        if (effect == nullptr) continue;
        up.back().path = nodesOf(effect->way, after->network);
        after->demands[route.lsp->demand].route.clear();  // it can no longer be kept
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

// The plan right after a failure: its LSPs are those that are up, nothing is drained yet.
Plan switchedOver(const Effects& effects, const std::vector<Effect>& hit) {
    const Plan& plan = effects.plan();
    Plan after;
    after.network = plan.network;
    after.configuration = plan.configuration;
    after.configuration.protection = Protection::NONE;
    after.drained = plan.drained;
    after.demands = plan.demands;
    for (PlanDemand& demand : after.demands) {
        demand.unprotected.clear();
        demand.exposed.clear();
        demand.beyond.clear();
    }
    after.lsps = stillUp(effects, hit, &after);
    return after;
}

Drained drainedBy(const FailureSet& down, Drained drained) {
    for (const auto& [from, to] : {std::pair(&down.nodes, &drained.nodes),
                                   std::pair(&down.links, &drained.links)}) {
        to->insert(to->end(), from->begin(), from->end());
        std::ranges::sort(*to);
        to->erase(std::unique(to->begin(), to->end()), to->end());
    }
    return drained;
}

}  // namespace

Plan planAfter(const Effects& effects, FailedSets failed, bool tables) {
    const std::vector<Effect> hit = effects.of(failed);
    Plan after = switchedOver(effects, hit);
    after.drained = drainedBy(effects.together(failed), after.drained);
    Engine engine(after);
    engine.load(after.lsps);
    placeLost(&engine, hit, &after);
    after.lsps.clear();
    if (tables)
        finishPlan(engine, &after);
    else
        for (const auto& [id, lsp] : engine.lsps()) after.lsps.push_back(lsp);
    return after;
}

Recovery replan(Plan* plan, const FailureSet& failed, const Step& step) {
    std::vector<std::string> problems;
    const Routes routes(*plan, &problems);
    const Effects effects(*plan, routes, {failed});
    Plan after = switchedOver(effects, effects.of(0));
    after.failureSets = plan->failureSets;
    for (PlanLsp& lsp : after.lsps) cutLoops(&lsp.path);
    Recovery recovery = {.failed = failed, .hit = {}, .again = {}, .displaced = {}};
    Change change;
    change.drained = drainedBy(failed, after.drained);
    for (const Effect& effect : effects.of(0)) {
        const PlanLsp& lsp = *effect.route->lsp;
        countOf(effect.fate, &recovery.hit).add(lsp.bandwidth);
        if (effect.fate == Fate::LOST) change.again.push_back({lsp.demand, lsp.id});
    }
    std::vector<char> wasUp;
    for (const PlanDemand& demand : after.demands) wasUp.push_back(demand.lsp >= 0);
    applyChange(&after, change, step);
    for (const auto& [demand, id] : change.again)
        if (after.demands[demand].lsp >= 0)
            recovery.again.add(after.demands[demand].bandwidth);
    for (std::size_t i = 0; i < wasUp.size(); i++)
        if (wasUp[i] && after.demands[i].lsp < 0)
            recovery.displaced.add(after.demands[i].bandwidth);
    *plan = std::move(after);
    return recovery;
}

nlohmann::json toJson(const Recovery& recovery) {
    const auto both = [](const Count& count) {
        return nlohmann::json{{"lsps", count.lsps}, {"bandwidth", count.bandwidth}};
    };
    return {
        {"name", recovery.failed.name},         {"restored", both(recovery.hit.restored)},
        {"lost", both(recovery.hit.lost)},      {"placedAgain", both(recovery.again)},
        {"endsHere", both(recovery.hit.ended)}, {"displaced", both(recovery.displaced)}};
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
