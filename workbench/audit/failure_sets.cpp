#include "audit/failure_sets.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <set>

#include "cli/error.h"
#include "cli/file.h"
#include "names.h"

namespace workbench {

using nlohmann::json;

namespace {

constexpr std::size_t kMostPairs = 20000;

void makeSet(std::vector<int>* values) {
    std::ranges::sort(*values);
    values->erase(std::unique(values->begin(), values->end()), values->end());
}

void append(std::vector<FailureSet>* all, std::vector<FailureSet> more) {
    all->insert(all->end(), more.begin(), more.end());
}

void merge(FailureSet* set, const FailureSet& more) {
    set->links.insert(set->links.end(), more.links.begin(), more.links.end());
    set->nodes.insert(set->nodes.end(), more.nodes.begin(), more.nodes.end());
    makeSet(&set->links);
    makeSet(&set->nodes);
}

FailureSet cableOf(const Network& network, int a, int b) {
    FailureSet cable = {.kind = FailureKind::CABLE, .name = {}, .links = {}, .nodes = {}};
    cable.name = network.nodes[a].name + " - " + network.nodes[b].name;
    for (const int link : {findLink(network, a, b), findLink(network, b, a)})
        if (link >= 0) cable.links.push_back(link);
    std::ranges::sort(cable.links);
    return cable;
}

FailureSet nodeFailure(const Network& network, int node) {
    return {.kind = FailureKind::NODE,
            .name = network.nodes[node].name,
            .links = {},
            .nodes = {node}};
}

FailureSet elementNamed(const Plan& plan, const std::string& name) {
    const Network& network = plan.network;
    for (const FailureSet& set : failuresOf(plan, {FailureKind::GROUP}))
        if (set.name == name) return set;
    const bool isNode = nodeNames(network).find(name) >= 0;
    if (isNode || name.find_first_of(">-") == name.npos)
        return nodeFailure(network, nodeNamed(network, name));
    const std::vector<int> links = linksNamed(network, name);
    const Link& first = network.links[links.front()];
    if (links.size() == 1) return linkFailure(network, first.id);
    return cableOf(network, std::min(first.src, first.dst),
                   std::max(first.src, first.dst));
}

double hoursOf(const json& object, const char* key, const std::string& what) {
    const json& value = object.at(key);
    if (!value.is_number() || !(value.get<double>() > 0.0))
        throw UserError(
            fmt::format("{}: \"{}\" is a number of hours above 0", what, key));
    return value;
}

FailureSet setFrom(const json& object, const Plan& plan) {
    const std::string name = object.at("name");
    const std::string what = "failure \"" + name + "\"";
    FailureSet set;
    set.name = name;
    if (object.contains("kind") && object["kind"] == "group")
        set.kind = FailureKind::GROUP;
    for (const json& element : object.at("elements"))
        merge(&set, elementNamed(plan, element));
    if (set.links.empty() && set.nodes.empty())
        throw UserError(what + " has no elements");
    if (object.contains("probability")) {
        const json& probability = object["probability"];
        if (!probability.is_number() || !(probability >= 0.0) || !(probability <= 1.0))
            throw UserError(what + ": \"probability\" is a number from 0 to 1");
        set.probability = probability.get<double>();
    } else if (object.contains("mtbf") || object.contains("mttr")) {
        set.probability =
            downShare(hoursOf(object, "mtbf", what), hoursOf(object, "mttr", what));
    }
    return set;
}

}  // namespace

double downShare(double mtbf, double mttr) {
    return mttr / (mtbf + mttr);
}

FailureSet linkFailure(const Network& network, int link) {
    return {.kind = FailureKind::LINK,
            .name = linkName(network, link),
            .links = {link},
            .nodes = {}};
}

std::vector<FailureSet> linkFailures(const Network& network) {
    std::vector<FailureSet> all;
    for (int link = 0; link < std::ssize(network.links); link++)
        all.push_back(linkFailure(network, link));
    return all;
}

std::vector<FailureSet> cableFailures(const Network& network) {
    std::map<std::pair<int, int>, int> linkOf;
    for (const Link& link : network.links) linkOf[{link.src, link.dst}] = link.id;
    std::vector<FailureSet> all;
    for (const Link& link : network.links) {
        const auto back = linkOf.find({link.dst, link.src});
        if (back == linkOf.end()) {
            all.push_back(linkFailure(network, link.id));
        } else if (link.id < back->second) {
            const std::string name =
                network.nodes[link.src].name + " - " + network.nodes[link.dst].name;
            all.push_back({.kind = FailureKind::CABLE,
                           .name = name,
                           .links = {link.id, back->second},
                           .nodes = {}});
        }
    }
    return all;
}

std::vector<FailureSet> nodeFailures(const Network& network) {
    std::vector<FailureSet> all;
    for (int node = 0; node < std::ssize(network.nodes); node++)
        all.push_back(nodeFailure(network, node));
    return all;
}

std::vector<FailureSet> groupFailures(const Network& network) {
    std::map<std::string, FailureSet> groups;
    for (const Link& link : network.links)
        for (const std::string& name : link.groups) {
            FailureSet& group = groups[name];
            group.kind = FailureKind::GROUP;
            group.name = name;
            group.links.push_back(link.id);
        }
    std::vector<FailureSet> all;
    for (auto& [name, group] : groups) {
        makeSet(&group.links);
        all.push_back(std::move(group));
    }
    return all;
}

std::vector<FailureSet> pairsOf(const std::vector<FailureSet>& sets) {
    if (sets.size() * (sets.size() - 1) / 2 > kMostPairs)
        throw UserError(
            fmt::format("{} failures make more than {} pairs; name the kinds to pair, or "
                        "single cases",
                        sets.size(), kMostPairs));
    std::vector<FailureSet> pairs;
    for (std::size_t i = 0; i < sets.size(); i++)
        for (std::size_t j = i + 1; j < sets.size(); j++) {
            FailureSet pair = sets[i];
            merge(&pair, sets[j]);
            pair.kind = FailureKind::PAIR;
            pair.name += " + " + sets[j].name;
            if (pair.probability && sets[j].probability)
                pair.probability = *pair.probability * *sets[j].probability;
            else
                pair.probability.reset();
            pairs.push_back(std::move(pair));
        }
    return pairs;
}

std::vector<FailureSet> failuresOf(const Plan& plan,
                                   const std::vector<FailureKind>& kinds) {
    std::vector<FailureSet> all;
    bool pairs = false;
    for (const FailureKind kind : std::set(kinds.begin(), kinds.end())) switch (kind) {
            case FailureKind::LINK:
                append(&all, linkFailures(plan.network));
                break;
            case FailureKind::CABLE:
                append(&all, cableFailures(plan.network));
                break;
            case FailureKind::NODE:
                append(&all, nodeFailures(plan.network));
                break;
            case FailureKind::GROUP:
            case FailureKind::CUSTOM:
                if (kind == FailureKind::GROUP) append(&all, groupFailures(plan.network));
                for (const FailureSet& set : plan.failureSets)
                    if (set.kind == kind) all.push_back(set);
                break;
            case FailureKind::PAIR:
                pairs = true;
        }
    if (pairs) append(&all, pairsOf(all));
    return all;
}

std::vector<FailureSet> usualFailures(const Plan& plan) {
    return failuresOf(plan, {FailureKind::CABLE, FailureKind::NODE});
}

std::vector<FailureSet> survivedFailures(const Plan& plan) {
    std::vector<FailureKind> kinds = plan.configuration.survive;
    kinds.push_back(FailureKind::LINK);
    return failuresOf(plan, kinds);
}

FailureSet failureNamed(const Plan& plan, const std::vector<std::string>& names) {
    FailureSet all = elementNamed(plan, names.at(0));
    for (std::size_t i = 1; i < names.size(); i++) {
        const FailureSet one = elementNamed(plan, names[i]);
        merge(&all, one);
        all.kind = FailureKind::CUSTOM;
        all.name += ", " + one.name;
        all.probability.reset();
    }
    return all;
}

FailureSet caseNamed(const Plan& plan, const std::vector<std::string>& names) {
    FailureSet set = failureNamed(plan, names);
    set.kind = FailureKind::CUSTOM;
    set.probability.reset();
    return set;
}

std::vector<FailureSet> readFailureSets(const std::string& file, const Plan& plan) {
    return failureSetsFrom(file, readFile(file), plan);
}

std::vector<FailureSet> failureSetsFrom(const std::string& file, const std::string& text,
                                        const Plan& plan) {
    try {
        const json root = json::parse(text);
        if (!root.is_object() || root.value("format", "") != "kavril-failures")
            throw UserError("an object with \"format\": \"kavril-failures\" expected");
        std::vector<FailureSet> all;
        for (const json& object : root.at("failures"))
            all.push_back(setFrom(object, plan));
        return all;
    } catch (const json::exception& error) {
        throw UserError(file + ": " + error.what());
    } catch (const UserError& error) {
        throw UserError(file + ": " + error.what());
    }
}

}  // namespace workbench
