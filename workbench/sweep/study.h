// A study: what a sweep combines (schema/study.schema.json).
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "formats/read.h"
#include "plan.h"

namespace workbench {

// What becomes of traffic that a failure takes down: it stays on its backups, or is lost;
// or what is lost is placed again, where there is room.
enum class Replanning { BACKUPS, PLACE };

struct StudyNetwork {
    std::string file;
    std::string name;  // in the results; empty: that of the network
    std::string sets;  // file of failures, empty: none
    ReadOptions reading;
    std::vector<std::string> matrices;  // files; empty: the network's own demands
};

// Failures to try: all of some kinds, every two of them, or some drawn by chance.
struct FailureChoice {
    bool none = false;  // nothing failed
    std::vector<FailureKind> kinds;
    bool pairs = false;      // instead of single ones
    std::size_t random = 0;  // how many to draw, 0 for all
    std::uint64_t seed = 1;
};

struct Study {
    std::string folder;  // that the names of files are relative to
    std::vector<StudyNetwork> networks;
    std::vector<double> scales = {1.0};
    std::vector<std::string> classes = {""};  // as --class says them; empty: the usual
    std::vector<std::string> weights = {""};  // as --weights says them
    std::vector<Protection> protections = {Protection::LOCAL};
    std::vector<Replanning> replannings = {Replanning::BACKUPS};
    std::vector<FailureChoice> failures;
    Configuration configuration;  // all that is the same in every case
    nlohmann::json text;          // as it was read
};

// UserError, with what is wrong and where, if it makes no sense. Patterns of file names
// (hourly/*.xml) become the files that there are.
Study studyFrom(const nlohmann::json& text, const std::string& folder);

// From a file; `changes` replaces members of it.
Study readStudy(const std::string& file, const nlohmann::json& changes);

// The name as seen from the study's folder.
std::string pathIn(const Study& study, const std::string& file);

const char* toText(Replanning replanning);

}  // namespace workbench
