// All cases of a study: every combination of its axes, with ids.
//
// A setting is all of a case but what fails: a plan to be made. Settings, failures and
// cases are numbered from 0 in the order of the study; ids tell them apart between
// studies. An id is the hash of a text that says what the case consists of: contents of
// files, not their names.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "audit/toll.h"
#include "sweep/study.h"

namespace workbench {

struct Setting {
    int network = 0;
    int matrix = 0;  // of its network
    int scale = 0;   // these by their places in the study
    int classes = 0;
    int weights = 0;
    int protection = 0;
    int replanning = 0;
};

// What is read of a network once, for all of its cases.
struct GridNetwork {
    std::string name;
    std::string id;
    Network network;
    std::vector<FailureSet> named;      // of its file of sets
    std::vector<FailureSet> failures;   // that cases are made of
    std::vector<std::string> keys;      // of the failures, for ids
    std::vector<FailedSets> cases;      // ascending
    std::vector<std::string> matrices;  // files, as the study names them
};

// Contents of the files that a grid needs: by network, its file and that of its sets.
struct NetworkTexts {
    std::string network;
    std::string sets;
};
std::vector<NetworkTexts> readNetworks(const Study& study);

class Grid {
  public:
    Grid(Study study, std::vector<NetworkTexts> texts);

    const Study& study() const { return study_; }
    const std::vector<NetworkTexts>& texts() const { return texts_; }
    const std::vector<GridNetwork>& networks() const { return networks_; }
    const std::vector<Setting>& settings() const { return settings_; }
    const GridNetwork& networkOf(const Setting& setting) const {
        return networks_[setting.network];
    }
    const std::vector<FailedSets>& casesOf(const Setting& setting) const {
        return networks_[setting.network].cases;
    }
    std::size_t nbCases() const;

    Configuration configurationOf(const Setting& setting) const;
    Replanning replanningOf(const Setting& setting) const;

    // The file of its demands, as the study names it and as it is opened.
    const std::string& matrixName(const Setting& setting) const {
        return networkOf(setting).matrices[setting.matrix];
    }
    std::string matrixFile(const Setting& setting) const {
        return pathIn(study_, matrixName(setting));
    }

    // `matrix` is the hash of its demands' file.
    std::string idOf(const Setting& setting, const std::string& matrix) const;

  private:
    Study study_;
    std::vector<NetworkTexts> texts_;
    std::vector<GridNetwork> networks_;
    std::vector<Setting> settings_;
};

// Of a case, as a number; hashText makes the id of it.
std::uint64_t caseHash(const std::string& settingId, const GridNetwork& network,
                       FailedSets failed);

// "cable Aix - Bonn + node Cork", "nothing".
std::string nameOf(const GridNetwork& network, FailedSets failed);

}  // namespace workbench
