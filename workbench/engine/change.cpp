#include "engine/change.h"

#include <algorithm>
#include <deque>
#include <map>
#include <set>

#include "audit/audit.h"

namespace workbench {

namespace {

// Numbers of links after some are gone, -1 for those.
std::vector<int> removeLinks(const std::vector<int>& gone, Plan* plan) {
    std::vector<int> newId(plan->network.links.size(), -1);
    std::vector<Link> links;
    for (const Link& link : plan->network.links) {
        if (std::ranges::count(gone, link.id) > 0) continue;
        newId[link.id] = static_cast<int>(links.size());
        links.push_back(link);
        links.back().id = newId[link.id];
    }
    plan->network.links = std::move(links);
    return newId;
}

void renumber(const std::vector<int>& newId, std::vector<int>* links) {
    for (int& link : *links) link = newId[link];
    std::erase(*links, -1);
}

bool hasMore(const std::vector<int>& ids, const std::vector<int>& known) {
    return std::ranges::any_of(
        ids, [&](int id) { return std::ranges::count(known, id) == 0; });
}

class Changer {
  public:
    Changer(Plan* plan, const Change& change, const Step& step)
        : plan_(plan), change_(change), step_(step) {}

    void run() {
        changeNetwork();
        changeDemands();
        changeRequests();
        changeProtection();
        sortLsps();
        Engine engine(*plan_);
        engine_ = &engine;
        engine.load(kept_);
        makeRoom();
        placeAgain();
        for (const PlanDemand& demand : plan_->demands)
            if (!isDraining_ && demand.lsp < 0 && !endsAtDrained(demand))
                waiting_.push_back(indexOf(demand));
        placeWaiting(false, false);
        protectAll();
        finishPlan(engine, plan_);
    }

  private:
    int indexOf(const PlanDemand& demand) const {
        return static_cast<int>(&demand - plan_->demands.data());
    }

    void changeNetwork() {
        Network& network = plan_->network;
        isDraining_ = hasMore(change_.drained.nodes, plan_->drained.nodes) ||
                      hasMore(change_.drained.links, plan_->drained.links);
        plan_->drained = change_.drained;
        for (const auto& [link, capacity] : change_.capacities)
            network.links[link].capacity = capacity;
        const std::vector<int> newId = removeLinks(change_.without, plan_);
        renumber(newId, &plan_->drained.links);
        for (FailureSet& set : plan_->failureSets) renumber(newId, &set.links);
        for (PlanLsp& lsp : plan_->lsps) renumber(newId, &lsp.protectedLinks);
        for (const NewLink& link : change_.links) {
            Link added = {};
            added.id = static_cast<int>(network.links.size());
            added.src = link.src;
            added.dst = link.dst;
            added.capacity = link.capacity;
            network.links.push_back(added);
        }
        for (const Link& link : network.links)
            if (!isDrained(*plan_, link.id)) usable_[{link.src, link.dst}] = link.id;
    }

    void changeDemands() {
        std::vector<PlanDemand> demands;
        for (int i = 0; i < std::ssize(plan_->demands); i++) {
            const bool gone = std::ranges::count(change_.remove, i) > 0;
            newIndex_.push_back(gone ? -1 : static_cast<int>(demands.size()));
            if (!gone) demands.push_back(plan_->demands[i]);
        }
        demands.insert(demands.end(), change_.add.begin(), change_.add.end());
        plan_->demands = std::move(demands);
        for (PlanLsp& lsp : plan_->lsps) lsp.demand = newIndex_[lsp.demand];
        std::erase_if(plan_->lsps, [](const PlanLsp& lsp) { return lsp.demand < 0; });
    }

    // What is wanted for demands that stay.
    template <class Value, class Act>
    void forEach(const std::vector<std::pair<int, Value>>& wishes, Act act) {
        for (const auto& [demand, value] : wishes)
            if (const int index = newIndex_[demand]; index >= 0) act(index, value);
    }

    void changeRequests() {
        using Route = std::vector<int>;
        forEach(change_.routes, [this](int index, const Route& route) {
            plan_->demands[index].route = route;
        });
        forEach(change_.paths,
                [this](int index, const Route& path) { pathNow_[index] = path; });
        forEach(change_.again, [this](int index, int id) {
            oldId_[index] = id;
            waiting_.push_back(index);
        });
        std::set<int> changed;
        forEach(change_.bandwidths, [&](int index, double bandwidth) {
            double& now = plan_->demands[index].bandwidth;
            if (now != bandwidth) changed.insert(index);
            now = bandwidth;
        });
        forEach(change_.levels, [&](int index, int level) {
            PlanDemand& demand = plan_->demands[index];
            if (demand.level == level) return;
            changed.insert(index);
            if (demand.lsp < 0) askedAnew_.insert(index);
            demand.level = level;
        });
        for (PlanLsp& lsp : plan_->lsps) {
            if (lsp.kind != LspKind::PRIMARY || !changed.contains(lsp.demand)) continue;
            lsp.bandwidth = plan_->demands[lsp.demand].bandwidth;
            lsp.level = plan_->demands[lsp.demand].level;
            bare_.insert(lsp.id);
        }
    }

    void changeProtection() {
        Protection& protection = plan_->configuration.protection;
        if (!change_.protection || *change_.protection == protection) return;
        protection = *change_.protection;
        for (const PlanLsp& lsp : plan_->lsps)
            if (lsp.kind == LspKind::PRIMARY) bare_.insert(lsp.id);
        for (PlanDemand& demand : plan_->demands) {
            demand.unprotected.clear();
            demand.exposed.clear();
            demand.beyond.clear();
        }
    }

    bool isUsable(const std::vector<int>& path) const {
        for (std::size_t i = 0; i + 1 < path.size(); i++)
            if (!usable_.contains({path[i], path[i + 1]})) return false;
        return true;
    }

    bool mayStay(const PlanLsp& lsp) {
        const PlanDemand& demand = plan_->demands[lsp.demand];
        const auto now = pathNow_.find(lsp.demand);
        if (now != pathNow_.end() && now->second != lsp.path) return false;
        return isUsable(lsp.path) && (demand.route.empty() || demand.route == lsp.path);
    }

    // Even with its links to itself. It is not put up to be taken down later: that could
    // cost others their room, and sums next to its bandwidth their digits.
    bool isTooLarge(const PlanLsp& lsp) const {
        for (std::size_t i = 0; i + 1 < lsp.path.size(); i++) {
            const int link = usable_.at({lsp.path[i], lsp.path[i + 1]});
            if (lsp.bandwidth >
                (1.0 + kRounding) * capacityOf(*plan_, link, lsp.trafficClass))
                return true;
        }
        return false;
    }

    bool endsAtDrained(const PlanDemand& demand) const {
        const auto& nodes = plan_->drained.nodes;
        return std::ranges::count(nodes, demand.src) +
                   std::ranges::count(nodes, demand.dst) >
               0;
    }

    // Into those that stay, and the demands of those that move. A primary that stays
    // loses all its backups if one of them cannot.
    void sortLsps() {
        std::set<int> staying;
        for (const PlanLsp& lsp : plan_->lsps)
            if (lsp.kind != LspKind::PRIMARY) {
                if (!isUsable(lsp.path)) bare_.insert(lsp.primary);
            } else if (!mayStay(lsp)) {
                takeDown(lsp.demand, "what it crosses is gone or drained");
            } else if (isTooLarge(lsp)) {
                takeDown(lsp.demand, "no path has room");
            } else {
                staying.insert(lsp.id);
            }
        for (const PlanLsp& lsp : plan_->lsps) {
            const bool isPrimary = lsp.kind == LspKind::PRIMARY;
            const int primary = isPrimary ? lsp.id : lsp.primary;
            if (!staying.contains(primary)) continue;
            if (isPrimary || !bare_.contains(primary)) kept_.push_back(lsp);
            if (isPrimary && bare_.contains(primary)) toProtect_.insert(lsp.demand);
        }
    }

    void takeDown(int index, const std::string& reason) {
        PlanDemand& demand = plan_->demands[index];
        oldId_[index] = demand.lsp;
        noteTakenDown(&demand,
                      endsAtDrained(demand) ? "it ends at a drained node" : reason);
        if (!endsAtDrained(demand)) waiting_.push_back(index);
    }

    std::vector<int> primariesByImportance(bool leastFirst) const {
        std::vector<int> ids;
        for (const auto& [id, lsp] : engine_->lsps())
            if (lsp.kind == LspKind::PRIMARY) ids.push_back(id);
        std::ranges::stable_sort(ids, {}, [&](int id) {
            const int level = engine_->lsps().at(id).level;
            return leastFirst ? -level : level;
        });
        return ids;
    }

    // Where capacities have shrunk: first LSPs go that do not fit, then backups of which
    // there are too many for some failure.
    void makeRoom() {
        for (int id : primariesByImportance(true)) {
            if (fits(engine_->lsps().at(id))) continue;
            takeDown(engine_->lsps().at(id).demand, "no path has room");
            engine_->remove(id);
        }
        bool changed = true;
        while (changed) {
            changed = false;
            for (int id : primariesByImportance(true))
                if (!engine_->backupsOf(id).empty()) changed |= relieve(id);
        }
        // What is still too full is so in several failures at once.
        for (int id : primariesByImportance(true)) {
            if (engine_->backupsOf(id).empty() || !engine_->survival().overloadBy(id))
                continue;
            toProtect_.insert(engine_->lsps().at(id).demand);
            engine_->unprotect(id);
        }
    }

    // With nothing failed.
    bool fits(const PlanLsp& lsp) const {
        for (int link : engine_->survival().linksOf(lsp.path))
            if (engine_->survival().room(link, lsp.trafficClass, {}) <
                -kRounding * engine_->capacity(link, lsp.trafficClass))
                return false;
        return true;
    }

    // Takes the backups of an LSP down if that helps a link that it uses.
    bool relieve(int id) {
        const auto over = engine_->survival().overloadBy(id);
        if (!over) return false;
        const std::vector<PlanLsp> asItWas = engine_->withBackups(id);
        const int oa = asItWas.front().trafficClass;
        const double before = engine_->survival().room(over->link, oa);
        engine_->unprotect(id);
        if (engine_->survival().room(over->link, oa) > before) {
            toProtect_.insert(asItWas.front().demand);
            return true;
        }
        engine_->remove(id);
        engine_->load(asItWas);
        return false;
    }

    void placeAgain() {
        placeWaiting(true, engine_->configuration().preempt);
        for (const PlanDemand& demand : plan_->demands)
            if (indexOf(demand) >= std::ssize(plan_->demands) - std::ssize(change_.add))
                askedAnew_.insert(indexOf(demand));
        for (int index : askedAnew_)
            if (!endsAtDrained(plan_->demands[index])) waiting_.push_back(index);
        placeWaiting(true, engine_->configuration().preempt);
    }

    void placeWaiting(bool keepsId, bool mayPreempt) {
        std::ranges::stable_sort(waiting_, {}, [this](int index) {
            const PlanDemand& demand = plan_->demands[index];
            return std::pair(demand.level, -demand.bandwidth);
        });
        while (!waiting_.empty()) {
            const int index = waiting_.front();
            waiting_.pop_front();
            place(index, keepsId, mayPreempt);
            if (step_) step_();
        }
    }

    void place(int index, bool keepsId, bool mayPreempt) {
        PlanDemand& demand = plan_->demands[index];
        Request request = requestFor(*engine_, demand, index);
        if (const auto id = oldId_.find(index); keepsId && id != oldId_.end())
            request.id = id->second;
        if (const auto path = pathNow_.find(index);
            path != pathNow_.end() && isUsable(path->second))
            request.route = path->second;
        request.preempt = false;
        Answer answer = engine_->request(request);
        if (!answer.placed && mayPreempt) {
            request.preempt = true;
            answer = engine_->request(request);
        }
        if (!answer.placed) {
            if (demand.outcome == Outcome::REFUSED || demand.reason.empty())
                demand.reason = answer.reason;
            else if (demand.reason.find(':') == std::string::npos)
                demand.reason += ": " + answer.reason;
            return;
        }
        demand.outcome =
            demand.outcome == Outcome::REFUSED ? Outcome::PLACED : Outcome::REPLACED;
        demand.lsp = answer.lsp;
        demand.reason.clear();
        toProtect_.insert(index);
        for (const PlanLsp& gone : answer.removed)
            if (gone.kind == LspKind::PRIMARY)
                takeDown(gone.demand, "had to make room for another LSP");
    }

    void protectAll() {
        if (engine_->configuration().protection == Protection::NONE) return;
        for (int id : primariesByImportance(false)) {
            const int index = engine_->lsps().at(id).demand;
            PlanDemand& demand = plan_->demands[index];
            const bool lacks = engine_->backupsOf(id).empty();
            const bool mayGain = !isDraining_ && !demand.unprotected.empty();
            if (lacks && (toProtect_.contains(index) || mayGain))
                protectDemand(engine_, &demand);
            else if (demand.unprotected.empty())
                demand.exposed = engine_->exposed(id);
            if (step_) step_();
        }
    }

    Plan* plan_;
    const Change& change_;
    const Step& step_;
    Engine* engine_ = nullptr;
    bool isDraining_ = false;  // more than before: nothing new takes up the way back
    std::map<std::pair<int, int>, int> usable_;  // links, by ends
    std::vector<int> newIndex_;                  // of demands, -1 for those removed
    std::vector<PlanLsp> kept_;
    std::set<int> bare_;                       // primaries whose backups go
    std::set<int> askedAnew_;                  // demands that are not up
    std::map<int, std::vector<int>> pathNow_;  // by demand
    std::map<int, int> oldId_;                 // by demand that was taken down
    std::set<int> toProtect_;                  // demands
    std::deque<int> waiting_;                  // demands
};

}  // namespace

void applyChange(Plan* plan, const Change& change, const Step& step) {
    Changer(plan, change, step).run();
}

}  // namespace workbench
