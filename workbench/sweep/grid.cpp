#include "sweep/grid.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>

#include "audit/failure_sets.h"
#include "cli/error.h"
#include "cli/file.h"
#include "cli/shared.h"
#include "plan_json.h"
#include "sweep/hash.h"

namespace workbench {

using nlohmann::json;

namespace {

constexpr std::size_t kMostCases = 200'000'000;
constexpr std::size_t kMostSettings = 2'000'000;

std::string keyOf(const FailureSet& set) {
    return std::string(toText(set.kind)) + ":" + set.name;
}

// Places of the failures of some kinds; new ones are appended.
class FailureList {
  public:
    FailureList(const GridNetwork& network, std::vector<FailureSet>* failures)
        : failures_(failures) {
        plan_.network = network.network;
        plan_.failureSets = network.named;
    }

    std::vector<int> of(const std::vector<FailureKind>& kinds) {
        std::vector<int> places;
        for (FailureSet& set : failuresOf(plan_, kinds)) {
            const auto [at, isNew] =
                placeOf_.try_emplace(keyOf(set), static_cast<int>(failures_->size()));
            if (isNew)
                failures_->push_back(std::move(set));
            else if ((*failures_)[at->second] != set)
                throw UserError("two failures have the name " + set.name);
            places.push_back(at->second);
        }
        std::ranges::sort(places);
        return places;
    }

  private:
    Plan plan_;
    std::vector<FailureSet>* failures_;
    std::map<std::string, int> placeOf_;
};

// So many different numbers below `all`, ascending: Floyd's way, which draws no number
// in vain.
std::vector<std::size_t> drawn(std::size_t count, std::size_t all, std::uint64_t seed) {
    std::mt19937_64 random(seed);
    std::set<std::size_t> numbers;
    for (std::size_t i = all - std::min(count, all); i < all; i++)
        if (!numbers.insert(random() % (i + 1)).second) numbers.insert(i);
    return {numbers.begin(), numbers.end()};
}

std::vector<FailedSets> allOf(const FailureChoice& choice,
                              const std::vector<int>& places) {
    std::vector<FailedSets> all;
    if (choice.pairs && places.size() * (places.size() - 1) / 2 > kMostCases)
        throw UserError("too many pairs; draw some of them with \"random\"");
    for (std::size_t i = 0; i < places.size(); i++) {
        if (!choice.pairs) all.push_back({places[i], -1});
        for (std::size_t j = i + 1; choice.pairs && j < places.size(); j++)
            all.push_back({places[i], places[j]});
    }
    if (choice.random == 0) return all;
    std::vector<FailedSets> some;
    for (const std::size_t i : drawn(choice.random, all.size(), choice.seed))
        some.push_back(all[i]);
    return some;
}

void addCases(const Study& study, GridNetwork* network) {
    FailureList list(*network, &network->failures);
    for (const FailureChoice& choice : study.failures) {
        if (choice.none) {
            network->cases.push_back({});
            continue;
        }
        const auto cases = allOf(choice, list.of(choice.kinds));
        network->cases.insert(network->cases.end(), cases.begin(), cases.end());
    }
    std::ranges::sort(network->cases);
    network->cases.erase(std::unique(network->cases.begin(), network->cases.end()),
                         network->cases.end());
    for (const FailureSet& set : network->failures) network->keys.push_back(keyOf(set));
}

json readingJson(const ReadOptions& reading) {
    json text = {{"defaultCapacity", reading.defaultCapacity},
                 {"scaleCapacity", reading.scaleCapacity}};
    for (const auto& [link, capacity] : reading.setCapacity)
        text["setCapacity"].push_back({link, capacity});
    return text;
}

GridNetwork gridNetwork(const StudyNetwork& from, const NetworkTexts& texts,
                        const Study& study) {
    GridNetwork result;
    Findings findings;
    const std::string file = pathIn(study, from.file);
    result.network = networkFrom(file, texts.network, from.reading, findings);
    result.name = from.name.empty() ? result.network.name : from.name;
    result.matrices = from.matrices;
    if (result.matrices.empty()) result.matrices = {from.file};
    if (!from.sets.empty()) {
        Plan plan;
        plan.network = result.network;
        result.named = failureSetsFrom(pathIn(study, from.sets), texts.sets, plan);
    }
    result.id = hashText(hashOf(json{
        {"network", hashText(hashOf(texts.network))},
        {"sets", hashText(hashOf(texts.sets))},
        {"reading",
         readingJson(from.reading)}}.dump()));
    addCases(study, &result);
    return result;
}

std::vector<Setting> settingsOf(const Study& study,
                                const std::vector<GridNetwork>& networks) {
    std::vector<Setting> all;
    const auto forAll = [](const auto& list, auto act) {
        for (int i = 0; i < std::ssize(list); i++) act(i);
    };
    forAll(networks, [&](int n) {
        forAll(networks[n].matrices, [&](int m) {
            forAll(study.scales, [&](int s) {
                forAll(study.classes, [&](int c) {
                    forAll(study.weights, [&](int w) {
                        forAll(study.protections, [&](int p) {
                            forAll(study.replannings, [&](int r) {
                                if (all.size() == kMostSettings)
                                    throw UserError("the study has too many plans");
                                all.push_back({n, m, s, c, w, p, r});
                            });
                        });
                    });
                });
            });
        });
    });
    return all;
}

}  // namespace

std::vector<NetworkTexts> readNetworks(const Study& study) {
    std::vector<NetworkTexts> texts;
    for (const StudyNetwork& network : study.networks)
        texts.push_back(
            {readFile(pathIn(study, network.file)),
             network.sets.empty() ? "" : readFile(pathIn(study, network.sets))});
    return texts;
}

Grid::Grid(Study study, std::vector<NetworkTexts> texts)
    : study_(std::move(study)), texts_(std::move(texts)) {
    std::set<std::string> names;
    for (std::size_t i = 0; i < texts_.size(); i++) {
        networks_.push_back(gridNetwork(study_.networks[i], texts_[i], study_));
        if (!names.insert(networks_.back().name).second)
            throw UserError("two networks of the study have the name " +
                            networks_.back().name + ": give them a \"name\"");
    }
    settings_ = settingsOf(study_, networks_);
    if (nbCases() > kMostCases)
        throw UserError(fmt::format("the study has {} cases, at most {} are allowed",
                                    nbCases(), kMostCases));
}

std::size_t Grid::nbCases() const {
    std::size_t count = 0;
    for (const Setting& setting : settings_) count += casesOf(setting).size();
    return count;
}

Configuration Grid::configurationOf(const Setting& setting) const {
    Configuration configuration = study_.configuration;
    configuration.scale = study_.scales[setting.scale];
    configuration.protection = study_.protections[setting.protection];
    if (const std::string& text = study_.classes[setting.classes]; !text.empty())
        setClasses(fieldsOf(text, ','), &configuration);
    if (const std::string& text = study_.weights[setting.weights]; !text.empty())
        setWeights(fieldsOf(text, ','), &configuration.weights);
    return configuration;
}

Replanning Grid::replanningOf(const Setting& setting) const {
    return study_.replannings[setting.replanning];
}

std::string Grid::idOf(const Setting& setting, const std::string& matrix) const {
    return hashText(hashOf(json{{"network", networkOf(setting).id},
                                {"matrix", matrix},
                                {"configuration", toJson(configurationOf(setting))},
                                {"replanning", toText(replanningOf(setting))}}
                               .dump()));
}

// The same for a pair whichever half comes first.
std::uint64_t caseHash(const std::string& settingId, const GridNetwork& network,
                       FailedSets failed) {
    std::uint64_t hash = hashOf(settingId);
    if (failed.first < 0) return hash;
    const std::string& first = network.keys[failed.first];
    if (failed.second < 0) return hashOf(first, hashOf("\n", hash));
    const std::string& second = network.keys[failed.second];
    for (const std::string* key : {&std::min(first, second), &std::max(first, second)})
        hash = hashOf(*key, hashOf("\n", hash));
    return hash;
}

std::string nameOf(const GridNetwork& network, FailedSets failed) {
    std::string name;
    for (const int place : {failed.first, failed.second})
        if (place >= 0)
            name += fmt::format("{}{} {}", name.empty() ? "" : " + ",
                                toText(network.failures[place].kind),
                                network.failures[place].name);
    return name.empty() ? "nothing" : name;
}

}  // namespace workbench
