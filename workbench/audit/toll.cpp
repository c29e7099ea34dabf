#include "audit/toll.h"

#include <algorithm>

#include "audit/drill.h"

namespace workbench {

using Fate = Effect::Fate;

Count& countOf(Fate fate, Tally* tally) {
    return fate == Fate::RESTORED ? tally->restored
           : fate == Fate::LOST   ? tally->lost
                                  : tally->ended;
}

static Effect effectOn(const Route& route, const Outage& outage) {
    Switchover to = switchOver(route, outage);
    if (to.restored) return {&route, Fate::RESTORED, std::move(to.links)};
    return {&route, to.endsHere ? Fate::ENDED : Fate::LOST, {}};
}

static std::vector<Effect> effectsOf(const FailureSet& set, const Routes& routes,
                                     Outage* outage) {
    std::vector<Effect> all;
    outage->begin(set);
    for (const Route* route : hitBy(set, routes))
        all.push_back(effectOn(*route, *outage));
    outage->end();
    return all;
}

Effects::Effects(const Plan& plan, const Routes& routes, std::vector<FailureSet> sets)
    : plan_(plan), routes_(routes), sets_(std::move(sets)), loads_(plan, routes) {
    Outage outage(plan.network);
    for (const FailureSet& set : sets_)
        effects_.push_back(effectsOf(set, routes, &outage));
}

FailureSet Effects::together(FailedSets failed) const {
    FailureSet all;
    for (const int set : {failed.first, failed.second}) {
        if (set < 0) continue;
        const FailureSet& one = sets_[set];
        all.links.insert(all.links.end(), one.links.begin(), one.links.end());
        all.nodes.insert(all.nodes.end(), one.nodes.begin(), one.nodes.end());
    }
    return all;
}

std::vector<Effect> Effects::of(FailedSets failed) const {
    Outage outage(plan_.network);
    return effectsOf(together(failed), routes_, &outage);
}

TollKeeper::TollKeeper(const Effects& effects)
    : effects_(effects),
      loads_(effects.loads()),
      first_(effects.plan().network),
      second_(effects.plan().network),
      both_(effects.plan().network),
      tallies_(effects.plan().configuration.classes.size() * kPlanLevels) {}

void TollKeeper::apply(const Effect& effect) {
    const PlanLsp& lsp = *effect.route->lsp;
    loads_.add(effect.route->links, lsp, -1.0);
    if (effect.fate == Fate::RESTORED) loads_.add(effect.way, lsp, 1.0);
    const int cell = lsp.trafficClass * kPlanLevels + lsp.level;
    Tally& tally = tallies_[cell];
    if (tally.restored.lsps + tally.lost.lsps + tally.ended.lsps == 0)
        touched_.push_back(cell);
    for (Tally* sum : {&tally, &all_}) countOf(effect.fate, sum).add(lsp.bandwidth);
}

// Backups are taken for being up in one place and left out for being down in another:
// more that is down changes nothing unless it is on the way, and brings none back.
bool TollKeeper::isUntouched(const Effect& effect, const Outage& other) const {
    return std::ranges::none_of(effect.way,
                                [&](int link) { return other.hasLink(link); });
}

// In the order of ids, as a failure of both at once is gone through.
void TollKeeper::merge(const std::vector<Effect>& first,
                       const std::vector<Effect>& second) {
    auto a = first.begin();
    auto b = second.begin();
    while (a != first.end() || b != second.end()) {
        const bool takesA = b == second.end() ||
                            (a != first.end() && a->route->lsp->id <= b->route->lsp->id);
        const Effect& effect = takesA ? *a : *b;
        const bool isHitByBoth = takesA && b != second.end() && b->route == a->route;
        if (isHitByBoth || !isUntouched(effect, takesA ? second_ : first_))
            apply(effectOn(*effect.route, both_));
        else
            apply(effect);
        if (isHitByBoth || takesA) ++a;
        if (isHitByBoth || !takesA) ++b;
    }
}

Toll TollKeeper::take(FailedSets failed, const std::vector<PlanLsp>& more) {
    if (failed.second >= 0) {
        first_.begin(effects_.sets()[failed.first]);
        second_.begin(effects_.sets()[failed.second]);
        both_.begin(effects_.together(failed));
        merge(effects_.of(failed.first), effects_.of(failed.second));
        first_.end();
        second_.end();
        both_.end();
    } else if (failed.first >= 0) {
        for (const Effect& effect : effects_.of(failed.first)) apply(effect);
    }
    for (const PlanLsp& lsp : more)
        loads_.add(effects_.routes().linksOf(lsp.path), lsp, 1.0);
    Toll toll = {.all = all_,
                 .levels = {},
                 .fullest = loads_.fullest(),
                 .overloads = static_cast<int>(loads_.changedOverloads().size())};
    std::ranges::sort(touched_);
    for (const int cell : touched_)
        toll.levels.push_back({cell / kPlanLevels, cell % kPlanLevels, tallies_[cell]});
    return toll;
}

void TollKeeper::putBack() {
    loads_.putBack();
    for (const int cell : touched_) tallies_[cell] = {};
    touched_.clear();
    all_ = {};
}

}  // namespace workbench
