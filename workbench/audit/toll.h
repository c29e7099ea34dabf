// What failures and pairs of them cost, in figures alone: for very many of them.
//
// What a failure does by itself to the LSPs that it hits is worked out once. A pair is
// put together from its halves: an LSP that one half alone hits fares as it does then,
// unless the other half hits the way that it takes; only the others are switched over
// again. The figures are those of Drill, to the last bit.
//
//     const Effects effects(plan, routes, sets);  // shared by threads
//     TollKeeper keeper(effects);                 // one a thread
//     const Toll toll = keeper.fail({3, 17});
#pragma once

#include <utility>
#include <vector>

#include "audit/link_loads.h"
#include "audit/switchover.h"

namespace workbench {

// One failure or two, by their places; -1 for none.
struct FailedSets {
    int first = -1;
    int second = -1;
    auto operator<=>(const FailedSets&) const = default;
};

// What becomes of the LSPs that are hit.
struct Count {
    int lsps = 0;
    double bandwidth = 0.0;
    void add(double more) {
        lsps++;
        bandwidth += more;
    }
};
struct Tally {
    Count restored;
    Count lost;
    Count ended;  // at a node that is down
};

// A tally of a class and level.
struct LevelTally {
    int trafficClass = 0;
    int level = 0;
    Tally tally;
};

struct Toll {
    Tally all;
    std::vector<LevelTally> levels;  // those with LSPs hit, by class and level
    Load fullest;
    int overloads = 0;  // links above their capacity, of those that carry more or less
};

// What becomes of an LSP that is hit.
struct Effect {
    enum class Fate { RESTORED, LOST, ENDED };

    const Route* route = nullptr;
    Fate fate = Fate::LOST;
    std::vector<int> way;  // links, where it is restored
};

Count& countOf(Effect::Fate fate, Tally* tally);

class Effects {
  public:
    // Plan and routes must outlive it.
    Effects(const Plan& plan, const Routes& routes, std::vector<FailureSet> sets);

    const Plan& plan() const { return plan_; }
    const Routes& routes() const { return routes_; }
    const std::vector<FailureSet>& sets() const { return sets_; }
    const LinkLoads& loads() const { return loads_; }  // with nothing failed

    // On the LSPs that one set hits, in the order of ids.
    const std::vector<Effect>& of(int set) const { return effects_[set]; }
    // The same of any case, worked out anew.
    std::vector<Effect> of(FailedSets failed) const;

    // Links and nodes that are down.
    FailureSet together(FailedSets failed) const;

  private:
    const Plan& plan_;
    const Routes& routes_;
    std::vector<FailureSet> sets_;
    LinkLoads loads_;
    std::vector<std::vector<Effect>> effects_;  // by set
};

class TollKeeper {
  public:
    explicit TollKeeper(const Effects& effects);

    // `more` are LSPs that come up in that case besides. `changed` is called for every
    // cell whose load is another then, with the load.
    template <class Act>
    Toll fail(FailedSets failed, const std::vector<PlanLsp>& more, Act changed) {
        Toll toll = take(failed, more);
        loads_.forEachChanged(
            [&](std::size_t cell) { changed(cell, loads_.loadOf(cell).bandwidth); });
        putBack();
        return toll;
    }
    Toll fail(FailedSets failed) {
        return fail(failed, {}, [](std::size_t, double) {});
    }

  private:
    Toll take(FailedSets failed, const std::vector<PlanLsp>& more);
    void merge(const std::vector<Effect>& first, const std::vector<Effect>& second);
    void apply(const Effect& effect);
    bool isUntouched(const Effect& effect, const Outage& other) const;
    void putBack();

    const Effects& effects_;
    LinkLoads loads_;
    Outage first_;
    Outage second_;
    Outage both_;
    std::vector<Tally> tallies_;  // by class * levels + level
    std::vector<int> touched_;    // of these
    Tally all_;
};

}  // namespace workbench
