#include "audit/verdict.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <tuple>
#include <unordered_map>

#include "class_summary.h"
#include "cli/error.h"

namespace workbench {

namespace {

using Key = std::pair<int, int>;  // class and level, -1 for all

std::vector<Key> keysOf(int trafficClass, int level) {
    return {{-1, -1}, {trafficClass, -1}, {trafficClass, level}};
}

// By class and level, and summed over them.
class Fates {
  public:
    explicit Fates(const Plan& plan) {
        fates_[{-1, -1}] = {};
        for (const PlanDemand& demand : plan.demands)
            forEach(demand.trafficClass, demand.level, [&](Fate& fate) {
                fate.requested++;
                fate.bandwidthRequested += demand.bandwidth;
            });
    }

    template <class Act>
    void forEach(int trafficClass, int level, Act act) {
        for (const Key& key : keysOf(trafficClass, level)) act(fates_[key]);
    }

    template <class Act>
    void forEach(const PlanLsp& lsp, Act act) {
        forEach(lsp.trafficClass, lsp.level, act);
    }

    void addFailure(const Failure& failure, int index,
                    const std::unordered_map<int, const PlanLsp*>& lspOf) {
        std::map<Key, double> lost;
        for (const Lost& one : failure.lost) {
            if (one.cause == LossCause::ENDS_HERE) continue;
            const PlanLsp& lsp = *lspOf.at(one.lsp);
            for (const Key& key : keysOf(lsp.trafficClass, lsp.level))
                lost[key] += lsp.bandwidth;
        }
        for (const auto& [key, bandwidth] : lost)
            if (Fate& fate = fates_[key]; bandwidth > fate.worstLost) {
                fate.worstLost = bandwidth;
                fate.worstFailure = index;
            }
    }

    Verdict verdict() const {
        Verdict verdict;
        for (const auto& [key, fate] : fates_) {
            Fate named = fate;
            std::tie(named.trafficClass, named.level) = key;
            if (key.first < 0)
                verdict.all = named;
            else if (key.second < 0)
                verdict.classes.push_back(named);
            else
                verdict.levels.push_back(named);
        }
        return verdict;
    }

  private:
    std::map<Key, Fate> fates_;
};

void addAvailability(double availability, double bandwidth, Fate* fate) {
    fate->lowestAvailability =
        std::min(fate->lowestAvailability.value_or(1.0), availability);
    fate->meanAvailability =
        fate->meanAvailability.value_or(0.0) + availability * bandwidth;
}

}  // namespace

bool knowsProbabilities(const AuditResult& result) {
    return std::ranges::any_of(result.failures, [](const Failure& failure) {
        return failure.set.probability.has_value();
    });
}

// A pair is down for an LSP in addition only if neither half alone takes it down.
std::vector<double> availabilities(const Plan& plan, const AuditResult& result) {
    std::unordered_map<int, std::size_t> positionOf;
    for (std::size_t i = 0; i < plan.lsps.size(); i++) positionOf[plan.lsps[i].id] = i;
    std::vector<double> up(plan.lsps.size(), 1.0);
    std::vector<std::set<std::string>> downBy(plan.lsps.size());
    for (const Failure& failure : result.failures) {
        if (!failure.set.probability) continue;
        const std::string& name = failure.set.name;
        const std::size_t plus = name.find(" + ");
        for (const Lost& lost : failure.lost) {
            const std::size_t at = positionOf.at(lost.lsp);
            if (failure.set.kind == FailureKind::PAIR &&
                (downBy[at].contains(name.substr(0, plus)) ||
                 downBy[at].contains(name.substr(plus + 3))))
                continue;
            downBy[at].insert(name);
            up[at] *= 1.0 - *failure.set.probability;
        }
    }
    return up;
}

Verdict verdictOf(const Plan& plan, const AuditResult& result) {
    Fates fates(plan);
    std::unordered_map<int, const PlanLsp*> lspOf;
    for (const PlanLsp& lsp : plan.lsps) lspOf[lsp.id] = &lsp;
    std::set<int> lost;
    for (std::size_t i = 0; i < result.failures.size(); i++) {
        const Failure& failure = result.failures[i];
        fates.addFailure(failure, static_cast<int>(i), lspOf);
        for (const Lost& one : failure.lost)
            if (one.cause != LossCause::ENDS_HERE) lost.insert(one.lsp);
    }
    for (const ClassSummary& sums : classSummaries(plan, result.booked))
        fates.forEach(sums.trafficClass, sums.level, [&](Fate& fate) {
            fate.booked += sums.primary;
            fate.reserved += sums.backup;
            fate.stretch.add(sums.stretch);
        });
    const std::vector<double> up = availabilities(plan, result);
    for (std::size_t i = 0; i < plan.lsps.size(); i++) {
        const PlanLsp& lsp = plan.lsps[i];
        const auto primary = lspOf.find(lsp.primary);  // a backup counts as its primary
        fates.forEach(primary == lspOf.end() ? lsp : *primary->second, [&](Fate& fate) {
            if (lsp.kind != LspKind::PRIMARY) {
                fate.bandwidthBackups +=
                    lsp.bandwidth * static_cast<double>(lsp.path.size() - 1);
                return;
            }
            fate.carried++;
            fate.bandwidthCarried += lsp.bandwidth;
            fate.isProtected += lost.contains(lsp.id) ? 0 : 1;
            fate.bandwidthProtected += lost.contains(lsp.id) ? 0.0 : lsp.bandwidth;
            if (knowsProbabilities(result)) addAvailability(up[i], lsp.bandwidth, &fate);
        });
    }
    Verdict verdict = fates.verdict();
    const auto average = [](Fate* fate) {
        if (fate->meanAvailability) *fate->meanAvailability /= fate->bandwidthCarried;
    };
    average(&verdict.all);
    for (auto* list : {&verdict.classes, &verdict.levels})
        for (Fate& fate : *list) average(&fate);
    for (const WorstLoad& worst : result.worst)
        verdict.worstLoad = std::max(verdict.worstLoad, worst.load.share());
    verdict.overloads = result.overloadedFailures + (result.overloads.empty() ? 0 : 1);
    return verdict;
}

namespace {

double partOf(double part, double whole) {
    return whole > 0.0 ? part / whole : 1.0;
}

struct Figure {
    const char* name;
    bool atLeast;
    double (*of)(const Fate& fate, const Verdict& verdict);
};

constexpr Figure kFigures[] = {
    {"carried", true,
     [](const Fate& fate, const Verdict&) {
         return partOf(fate.bandwidthCarried, fate.bandwidthRequested);
     }},
    {"protected", true,
     [](const Fate& fate, const Verdict&) {
         return partOf(fate.bandwidthProtected, fate.bandwidthCarried);
     }},
    {"availability", true,
     [](const Fate& fate, const Verdict&) {
         return fate.lowestAvailability.value_or(NAN);
     }},
    {"lost", false,
     [](const Fate& fate, const Verdict&) {
         return fate.worstLost > 0.0 ? partOf(fate.worstLost, fate.bandwidthCarried) : 0;
     }},
    {"load", false,
     [](const Fate&, const Verdict& verdict) { return verdict.worstLoad; }},
    {"overload", false,
     [](const Fate&, const Verdict& verdict) {
         return static_cast<double>(verdict.overloads);
     }},
};

const Figure* figureNamed(const std::string& name) {
    const auto found = std::ranges::find_if(
        kFigures, [&](const Figure& figure) { return name == figure.name; });
    return found == std::end(kFigures) ? nullptr : found;
}

// Parts of a million still count.
constexpr double kTolerance = 1e-12;

std::vector<std::string> split(const std::string& text, char sign) {
    std::vector<std::string> parts(1);
    for (char letter : text)
        if (letter == sign)
            parts.emplace_back();
        else
            parts.back() += letter;
    return parts;
}

}  // namespace

Requirement requirementFrom(const std::string& text) {
    const std::size_t equals = text.rfind('=');
    Requirement wanted = {.text = text, .figure = {}, .trafficClass = {}};
    const auto parts = split(text.substr(0, equals), ':');
    wanted.figure = parts[0];
    bool holds =
        equals != text.npos && figureNamed(parts[0]) != nullptr && parts.size() <= 3;
    if (holds && parts.size() > 1) wanted.trafficClass = parts[1];
    if (holds && parts.size() > 2) {
        holds = parts[2].size() == 1 && parts[2][0] >= '0' && parts[2][0] <= '7';
        wanted.level = parts[2][0] - '0';
    }
    if (holds) {
        std::size_t end = 0;
        const std::string number = text.substr(equals + 1);
        try {
            wanted.limit = std::stod(number, &end);
        } catch (const std::exception&) {
            holds = false;
        }
        if (number.substr(end) == "%")
            wanted.limit /= 100.0;
        else
            holds = holds && end == number.size();
        holds = holds && std::isfinite(wanted.limit) && wanted.limit >= 0.0;
    }
    if (!holds)
        throw UserError(
            "'" + text +
            "' is not a requirement such as protected=100%, carried:voice=99%, "
            "lost=2%, load=90%, overload=0 or availability:voice:0=99.99%");
    return wanted;
}

std::string whyNot(const Requirement& wanted, const Plan& plan, const Verdict& verdict) {
    Fate fate = verdict.all;
    if (!wanted.trafficClass.empty()) {
        const auto& classes = plan.configuration.classes;
        const auto found =
            std::ranges::find(classes, wanted.trafficClass, &TrafficClass::name);
        if (found == classes.end())
            throw UserError("the plan has no class '" + wanted.trafficClass + "'");
        const int oa = static_cast<int>(found - classes.begin());
        fate = {};
        for (const Fate& one : wanted.level < 0 ? verdict.classes : verdict.levels)
            if (one.trafficClass == oa && one.level == wanted.level) fate = one;
    }
    const Figure& figure = *figureNamed(wanted.figure);
    const double is = figure.of(fate, verdict);
    if (std::isnan(is) && fate.carried > 0)
        return "no failure has a probability, so nothing is known of availability";
    const bool holds =
        std::isnan(is) || (figure.atLeast ? is >= wanted.limit - kTolerance
                                          : is <= wanted.limit + kTolerance);
    if (holds) return {};
    if (wanted.figure == "overload") return fmt::format("is {:.0f}", is);
    return fmt::format("is {:.7g} %", 100.0 * is);
}

}  // namespace workbench
