#include "engine/steps.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <map>

#include "audit/failure_sets.h"
#include "cli/error.h"
#include "formats/units.h"
#include "names.h"

namespace workbench {

using nlohmann::json;

namespace {

using Texts = Steps::Texts;

constexpr std::size_t kMostTexts = 1000;
constexpr std::size_t kMostLetters = 10000;  // of a text

struct Member {
    const char* name;
    Texts Steps::*texts;
};

constexpr std::array kMembers = {
    Member{"drain", &Steps::drain},       Member{"undrain", &Steps::undrain},
    Member{"capacity", &Steps::capacity}, Member{"link", &Steps::link},
    Member{"without", &Steps::without},   Member{"add", &Steps::add},
    Member{"remove", &Steps::remove},     Member{"scale", &Steps::scale},
    Member{"level", &Steps::level},       Member{"route", &Steps::route},
    Member{"lock", &Steps::lock},         Member{"unlock", &Steps::unlock},
    Member{"fail", &Steps::fail}};

std::string textFrom(const json& value, const std::string& name) {
    if (!value.is_string())
        throw UserError(fmt::format("steps: texts expected in \"{}\"", name));
    auto text = value.get<std::string>();
    if (text.size() > kMostLetters)
        throw UserError(fmt::format("steps: a text of \"{}\" has more than {} letters",
                                    name, kMostLetters));
    return text;
}

Texts textsFrom(const json& value, const std::string& name) {
    if (!value.is_array())
        throw UserError(fmt::format("steps: a list of texts expected as \"{}\"", name));
    Texts texts;
    for (const json& text : value) texts.push_back(textFrom(text, name));
    return texts;
}

// "WHAT=VALUE", split at the last sign.
std::pair<std::string, std::string> halves(const std::string& text, const char* option) {
    const std::size_t at = text.rfind('=');
    if (at == text.npos || at == 0 || at + 1 == text.size())
        throw UserError(fmt::format("{}: '{}' is not WHAT=VALUE", option, text));
    return {text.substr(0, at), text.substr(at + 1)};
}

// Demands by the id of their LSP, or by their name.
std::vector<int> demandsNamed(const Plan& plan, const std::string& text) {
    int id = -1;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), id);
    const bool isNumber = error == std::errc() && end == text.data() + text.size();
    std::vector<int> found;
    for (std::size_t i = 0; i < plan.demands.size(); i++) {
        const PlanDemand& demand = plan.demands[i];
        if (demand.name == text || (isNumber && id >= 0 && demand.lsp == id))
            found.push_back(static_cast<int>(i));
    }
    if (found.empty())
        throw UserError("the plan has no LSP and no demand '" + text + "'");
    return found;
}

std::pair<int, int> endsNamed(const Plan& plan, const std::string& text,
                              const char* option) {
    const NameIndex names = nodeNames(plan.network);
    const auto trimmed = [](std::string part) {
        part.erase(0, part.find_first_not_of(' '));
        part.erase(part.find_last_not_of(' ') + 1);
        return part;
    };
    for (std::size_t at = text.find_first_of(">-"); at != text.npos;
         at = text.find_first_of(">-", at + 1)) {
        const int src = names.find(trimmed(text.substr(0, at)));
        const int dst = names.find(trimmed(text.substr(at + 1)));
        if (src >= 0 && dst >= 0 && src != dst) return {src, dst};
    }
    throw UserError(
        fmt::format("{}: '{}' does not name two nodes, as in 'A > B'", option, text));
}

// "A > B=2.5G", "A > B=2.5G:voice" or "A > B=2.5G:voice:1".
PlanDemand demandFrom(const Plan& plan, const std::string& text) {
    const auto [ends, value] = halves(text, "--add");
    PlanDemand demand;
    std::tie(demand.src, demand.dst) = endsNamed(plan, ends, "--add");
    std::string oa =
        value.find(':') == value.npos ? "" : value.substr(value.find(':') + 1);
    demand.bandwidth = bandwidthOf(value.substr(0, value.find(':')), "--add");
    const std::size_t colon = oa.rfind(':');
    const bool hasLevel = colon != oa.npos && colon + 2 == oa.size() &&
                          oa[colon + 1] >= '0' && oa[colon + 1] <= '7';
    const int level = hasLevel ? oa[colon + 1] - '0' : -1;
    if (hasLevel) oa.erase(colon);
    if (!oa.empty()) demand.trafficClass = classNamed(plan.configuration.classes, oa);
    demand.level = hasLevel ? level : usualLevel(plan.configuration, demand.trafficClass);
    return demand;
}

void addDrained(const Plan& plan, const std::string& text, Drained* drained) {
    const FailureSet set = failureNamed(plan, {text});
    drained->nodes.insert(drained->nodes.end(), set.nodes.begin(), set.nodes.end());
    drained->links.insert(drained->links.end(), set.links.begin(), set.links.end());
}

void takeOut(std::vector<int>* from, const std::vector<int>& values) {
    std::erase_if(*from,
                  [&](int value) { return std::ranges::count(values, value) > 0; });
}

Drained drainedFrom(const Plan& plan, const Steps& steps) {
    Drained drained = plan.drained;
    for (const std::string& text : steps.drain) addDrained(plan, text, &drained);
    Drained back;
    for (const std::string& text : steps.undrain) addDrained(plan, text, &back);
    takeOut(&drained.nodes, back.nodes);
    takeOut(&drained.links, back.links);
    for (auto* ids : {&drained.nodes, &drained.links}) {
        std::ranges::sort(*ids);
        ids->erase(std::unique(ids->begin(), ids->end()), ids->end());
    }
    return drained;
}

// "12=A,B,C": the demands of an LSP and the nodes of their route.
void addRoute(const Plan& plan, const std::string& text, Change* change) {
    const auto [who, nodes] = halves(text, "--route");
    std::vector<int> route;
    for (std::size_t at = 0; at <= nodes.size();) {
        const std::size_t comma = std::min(nodes.find(',', at), nodes.size());
        const int node = nodeNamed(plan.network, nodes.substr(at, comma - at));
        if (std::ranges::count(route, node) > 0)
            throw UserError("--route: '" + nodes + "' comes by " +
                            plan.network.nodes[node].name + " twice");
        route.push_back(node);
        at = comma + 1;
    }
    for (std::size_t i = 0; i + 1 < route.size(); i++)
        if (findLink(plan.network, route[i], route[i + 1]) < 0)
            throw UserError(fmt::format("--route: no link leads from {} to {}",
                                        plan.network.nodes[route[i]].name,
                                        plan.network.nodes[route[i + 1]].name));
    for (int demand : demandsNamed(plan, who)) {
        const PlanDemand& one = plan.demands[demand];
        if (one.src != route.front() || one.dst != route.back())
            throw UserError("--route: '" + nodes + "' does not join the ends of " + who);
        change->routes.push_back({demand, route});
    }
}

void addLocks(const Plan& plan, const Steps& steps, Change* change) {
    for (const std::string& text : steps.unlock)
        for (int demand : demandsNamed(plan, text))
            change->routes.push_back({demand, {}});
    for (const std::string& text : steps.lock)
        for (int demand : demandsNamed(plan, text))
            for (const PlanLsp& lsp : plan.lsps)
                if (lsp.id == plan.demands[demand].lsp)
                    change->routes.push_back({demand, lsp.path});
}

void addLink(const Plan& plan, const std::string& text, Change* change) {
    const std::size_t colon = text.rfind(':');
    if (colon == text.npos)
        throw UserError("--link: '" + text + "' is not such as 'A - B:10G'");
    const auto [src, dst] = endsNamed(plan, text.substr(0, colon), "--link");
    const double capacity = bandwidthOf(text.substr(colon + 1), "--link");
    const bool oneWay = text.find('>') != text.npos;
    for (const auto& [a, b] : {std::pair(src, dst), std::pair(dst, src)}) {
        const bool isNew =
            std::ranges::none_of(change->links, [a = a, b = b](const NewLink& link) {
                return link.src == a && link.dst == b;
            });
        if (!isNew || findLink(plan.network, a, b) >= 0)
            throw UserError("--link: '" + text + "' is there; --capacity changes it");
        change->links.push_back({a, b, capacity});
        if (oneWay) break;
    }
}

// The demands that a text of an option is about. One that is removed has no other wish.
std::vector<int> demandsToChange(const Plan& plan, const std::string& who,
                                 const char* option, const Change& change) {
    const std::vector<int> demands = demandsNamed(plan, who);
    for (int demand : demands)
        if (std::ranges::count(change.remove, demand) > 0)
            throw UserError(fmt::format("{}: '{}' is to be removed", option, who));
    return demands;
}

// "1.2" for every demand, "12=1.5" for one; the factors of a demand are multiplied.
void addScales(const Plan& plan, const Steps& steps, Change* change) {
    std::map<int, double> bandwidths;
    for (const std::string& text : steps.scale) {
        const bool isForAll = text.find('=') == text.npos;
        const auto [who, value] =
            isForAll ? std::pair(std::string(), text) : halves(text, "--scale");
        const auto factor = parseNumber(value);
        if (!factor || *factor <= 0.0)
            throw UserError(fmt::format("--scale: '{}' is not a factor above 0", value));
        std::vector<int> demands;
        if (!isForAll) demands = demandsToChange(plan, who, "--scale", *change);
        for (int i = 0; isForAll && i < std::ssize(plan.demands); i++)
            demands.push_back(i);
        for (int demand : demands) {
            const double usual = plan.demands[demand].bandwidth;
            double& bandwidth = bandwidths.try_emplace(demand, usual).first->second;
            bandwidth *= *factor;
            if (bandwidth > kMostBandwidth || (bandwidth == 0.0 && usual > 0.0))
                throw UserError(
                    fmt::format("--scale: '{}' makes a bandwidth that cannot be", text));
        }
    }
    change->bandwidths.assign(bandwidths.begin(), bandwidths.end());
}

// "12=0"
void addLevels(const Plan& plan, const Steps& steps, Change* change) {
    for (const std::string& text : steps.level) {
        const auto [who, value] = halves(text, "--level");
        if (value.size() != 1 || value[0] < '0' || value[0] >= '0' + kPlanLevels)
            throw UserError(
                fmt::format("--level: '{}' is not a level from 0 to 7", value));
        for (int demand : demandsToChange(plan, who, "--level", *change))
            change->levels.push_back({demand, value[0] - '0'});
    }
}

Protection protectionFrom(const std::string& text) {
    constexpr std::array kKinds = {Protection::NONE, Protection::LOCAL,
                                   Protection::GLOBAL};
    std::vector<std::string> words;
    for (const Protection kind : kKinds) words.push_back(toText(kind));
    const NameIndex names(words);
    const int found = names.find(text);
    if (found < 0)
        throw UserError(fmt::format("--protection: '{}' is none of {}{}", text,
                                    fmt::join(words, ", "), names.suggestion(text)));
    return kKinds[found];
}

void requireAdmission(const Plan& plan) {
    if (plan.configuration.routing != Routing::ADMITTED)
        throw UserError("the plan is a baseline, which is there to be compared with");
}

void lookAgain(Plan* plan, const Watch& watch, Taken* taken) {
    watch.start("checking the promises", promisedFailures(*plan).size());
    taken->takenBack += keepPromises(plan, watch.step);
}

void replanAfterAll(Plan* plan, const Steps& steps, const Watch& watch, Taken* taken) {
    if (!steps.replan || steps.fail.empty()) return;
    requireAdmission(*plan);
    const FailureSet failed = caseNamed(*plan, steps.fail);
    watch.start("placing again", 0);
    taken->recovery = replan(plan, failed, watch.step);
    lookAgain(plan, watch, taken);
}

}  // namespace

bool Steps::areChange() const {
    return !protection.empty() ||
           std::ranges::any_of(kMembers, [this](const Member& member) {
               return member.texts != &Steps::fail && !(this->*member.texts).empty();
           });
}

Steps stepsFrom(const json& from) {
    if (!from.is_object()) throw UserError("steps: an object expected");
    Steps steps;
    std::size_t count = 0;
    for (const auto& [name, value] : from.items()) {
        const auto member = std::ranges::find(kMembers, name, &Member::name);
        if (member != kMembers.end()) {
            Texts& texts = steps.*member->texts;
            texts = textsFrom(value, name);
            count += texts.size();
        } else if (name == "protection") {
            steps.protection = textFrom(value, name);
        } else if (name == "replan") {
            if (!value.is_boolean())
                throw UserError("steps: true or false expected as \"replan\"");
            steps.replan = value.get<bool>();
        } else {
            throw UserError(fmt::format("steps: there is no member \"{:.60}\"", name));
        }
    }
    if (count > kMostTexts)
        throw UserError(fmt::format("steps: more than {} texts", kMostTexts));
    return steps;
}

Change changeFrom(const Plan& plan, const Steps& steps) {
    Change change;
    change.drained = drainedFrom(plan, steps);
    for (const std::string& text : steps.capacity) {
        const auto [what, value] = halves(text, "--capacity");
        for (int link : linksNamed(plan.network, what))
            change.capacities.push_back({link, bandwidthOf(value, "--capacity")});
    }
    for (const std::string& text : steps.link) addLink(plan, text, &change);
    for (const std::string& text : steps.without)
        for (int link : linksNamed(plan.network, text)) change.without.push_back(link);
    for (const std::string& text : steps.remove)
        for (int demand : demandsNamed(plan, text)) change.remove.push_back(demand);
    for (const std::string& text : steps.add)
        change.add.push_back(demandFrom(plan, text));
    addScales(plan, steps, &change);
    addLevels(plan, steps, &change);
    if (!steps.protection.empty()) change.protection = protectionFrom(steps.protection);
    for (const std::string& text : steps.route) addRoute(plan, text, &change);
    addLocks(plan, steps, &change);
    return change;
}

Taken takeSteps(Plan* plan, const Steps& steps, const Watch& watch) {
    if (steps.areChange()) return takeSteps(plan, steps, changeFrom(*plan, steps), watch);
    Taken taken;
    replanAfterAll(plan, steps, watch, &taken);
    return taken;
}

Taken takeSteps(Plan* plan, const Steps& steps, const Change& change,
                const Watch& watch) {
    Taken taken;
    requireAdmission(*plan);
    watch.start("changing", 0);
    applyChange(plan, change, watch.step);
    lookAgain(plan, watch, &taken);
    replanAfterAll(plan, steps, watch, &taken);
    return taken;
}

}  // namespace workbench
