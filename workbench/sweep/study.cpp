#include "sweep/study.h"

#include <fmt/format.h>
#include <glob.h>

#include <cmath>
#include <filesystem>
#include <set>

#include "audit/wanted_failures.h"
#include "cli/error.h"
#include "cli/file.h"
#include "cli/shared.h"
#include "formats/json_lines.h"
#include "formats/units.h"

namespace workbench {

using nlohmann::json;

namespace {

constexpr std::size_t kMostScales = 10000;

// An object of the study; whoever asks for a member says what it has to be.
class Part {
  public:
    Part(const json& object, std::string where)
        : object_(object), where_(std::move(where)) {
        if (!object.is_object()) fail("expected an object");
    }

    [[noreturn]] void fail(const std::string& what) const {
        throw UserError(where_ + ": " + what);
    }

    // A misspelt member would change the study without a word.
    void onlyHas(const std::vector<std::string>& keys) const {
        for (const auto& [key, value] : object_.items())
            if (std::ranges::count(keys, key) == 0)
                fail(fmt::format("\"{}\" is no member{}", key,
                                 NameIndex(keys).suggestion(key)));
    }

    bool has(const char* key) const { return object_.contains(key); }
    const json& at(const char* key) const { return object_.at(key); }
    Part part(const char* key) const { return {object_.at(key), inside(key)}; }

    std::string text(const char* key) const {
        if (!has(key)) return "";
        if (!at(key).is_string()) fail(fmt::format("\"{}\" is a text", key));
        return at(key);
    }

    double number(const char* key) const {
        if (!at(key).is_number()) fail(fmt::format("\"{}\" is a number", key));
        return at(key);
    }

    std::uint64_t natural(const char* key) const {
        if (!at(key).is_number_unsigned())
            fail(fmt::format("\"{}\" is a whole number of at least 0", key));
        return at(key);
    }

    // A text, or a list of them that is not empty.
    std::vector<std::string> texts(const char* key) const {
        std::vector<std::string> all;
        for (const json& value : listAt(key)) {
            if (!value.is_string()) fail(fmt::format("\"{}\" is a list of texts", key));
            all.push_back(value);
        }
        return all;
    }

    json listAt(const char* key) const {
        const json list = at(key).is_array() ? at(key) : json::array({at(key)});
        if (list.empty()) fail(fmt::format("\"{}\" is empty", key));
        return list;
    }

    std::string inside(const char* key) const { return where_ + ", \"" + key + "\""; }

  private:
    const json& object_;
    std::string where_;
};

// Options say what is wrong with their texts by an exception of their own.
template <class Act>
auto orUserError(const std::string& where, Act act) {
    try {
        return act();
    } catch (const CLI::ParseError& error) {
        throw UserError(where + ": " + error.what());
    } catch (const UserError& error) {
        throw UserError(where + ": " + error.what());
    }
}

std::vector<std::string> filesFor(const std::string& pattern, const Study& study,
                                  const std::string& where) {
    if (pattern.find_first_of("*?[") == pattern.npos ||
        std::filesystem::exists(pathIn(study, pattern)))
        return {pattern};
    glob_t found = {};
    std::vector<std::string> files;
    if (glob(pathIn(study, pattern).c_str(), 0, nullptr, &found) == 0)
        files.assign(found.gl_pathv, found.gl_pathv + found.gl_pathc);
    globfree(&found);
    if (files.empty()) throw UserError(where + ": no file is named like " + pattern);
    const std::size_t prefix = pathIn(study, pattern).size() - pattern.size();
    for (std::string& file : files) file.erase(0, prefix);
    return files;
}

std::vector<std::string> matricesOf(const Part& part, const Study& study) {
    std::vector<std::string> all;
    if (part.has("matrices"))
        for (const std::string& pattern : part.texts("matrices"))
            for (std::string& file : filesFor(pattern, study, part.inside("matrices")))
                all.push_back(std::move(file));
    return all;
}

ReadOptions readingOf(const Part& part) {
    ReadOptions reading;
    const auto bandwidth = [&](const Part& of, const char* key) {
        if (of.at(key).is_number() && of.number(key) > 0.0) return of.number(key);
        return orUserError(of.inside(key),
                           [&] { return bandwidthFrom(of.text(key), key); });
    };
    if (part.has("defaultCapacity"))
        reading.defaultCapacity = bandwidth(part, "defaultCapacity");
    if (part.has("scaleCapacity")) {
        reading.scaleCapacity = part.number("scaleCapacity");
        if (!(reading.scaleCapacity > 0.0) || reading.scaleCapacity > kMostBandwidth)
            part.fail("\"scaleCapacity\" is a number above 0");
    }
    if (part.has("setCapacity"))
        for (const auto& [link, value] : part.at("setCapacity").items())
            reading.setCapacity.push_back(
                {link, bandwidth(part.part("setCapacity"), link.c_str())});
    return reading;
}

StudyNetwork networkFrom(const json& value, const std::string& where,
                         const Study& study) {
    const json object = value.is_string() ? json{{"file", value}} : value;
    const Part part(object, where);
    part.onlyHas({"file", "name", "sets", "matrices", "defaultCapacity", "scaleCapacity",
                  "setCapacity"});
    if (part.text("file").empty()) part.fail("expected \"file\"");
    return {.file = part.text("file"),
            .name = part.text("name"),
            .sets = part.text("sets"),
            .reading = readingOf(part),
            .matrices = matricesOf(part, study)};
}

// 12 digits: steps of 0.1 are to make 1.2, not 1.2000000000000002.
double rounded(double value) {
    return std::stod(fmt::format("{:.12g}", value));
}

std::vector<double> scalesFrom(const Part& study) {
    std::vector<double> scales;
    const auto add = [&](double scale) {
        if (!(scale > 0.0) || scale > kMostBandwidth || scales.size() == kMostScales)
            study.fail("\"scales\" are up to 10000 numbers above 0");
        scales.push_back(scale);
    };
    for (const json& value : study.listAt("scales")) {
        if (value.is_number()) {
            add(value);
            continue;
        }
        const Part range(value, study.inside("scales"));
        range.onlyHas({"from", "to", "step"});
        for (const char* key : {"from", "to", "step"})
            if (!range.has(key)) range.fail(fmt::format("expected \"{}\"", key));
        const double step = range.number("step");
        if (!(step > 0.0)) range.fail("\"step\" is a number above 0");
        const double most = range.number("to") + 1e-9 * step;
        for (int i = 0; rounded(range.number("from") + i * step) <= most; i++)
            add(rounded(range.number("from") + i * step));
    }
    return scales;
}

FailureChoice choiceFrom(const json& value, const std::string& where) {
    if (value == "none") return {.none = true, .kinds = {}};
    const json object = value.is_string() ? json{{"of", value}} : value;
    const Part part(object, where);
    part.onlyHas({"of", "pairs", "random", "seed"});
    if (!part.has("of")) part.fail("expected \"of\": kinds of failures");
    FailureChoice choice;
    choice.kinds = orUserError(where, [&] { return failureKindsFrom(part.texts("of")); });
    choice.pairs = part.has("pairs") && part.at("pairs") == true;
    if (std::erase(choice.kinds, FailureKind::PAIR) > 0)
        part.fail("pairs are said with \"pairs\": true and the kinds to pair");
    if (part.has("random")) choice.random = part.natural("random");
    if (part.has("random") && choice.random == 0) part.fail("\"random\" is at least 1");
    if (part.has("seed")) choice.seed = part.natural("seed");
    return choice;
}

template <class Value>
std::vector<Value> choicesFrom(const Part& study, const char* key,
                               const Choices<Value>& choices) {
    return orUserError(study.inside(key), [&] {
        std::vector<Value> values;
        for (const std::string& text : study.texts(key))
            values.push_back(chosen(key, text, choices));
        return values;
    });
}

// The configuration is thrown away: this only looks whether the texts make sense.
std::vector<std::string> checked(const Part& study, const char* key,
                                 void (*set)(const std::vector<std::string>&,
                                             Configuration*)) {
    const std::vector<std::string> texts = study.texts(key);
    for (const std::string& text : texts)
        if (!text.empty())
            orUserError(study.inside(key), [&] {
                Configuration configuration;
                set(fieldsOf(text, ','), &configuration);
            });
    return texts;
}

void addFixed(const Part& study, Configuration* configuration) {
    if (study.has("survive"))
        configuration->survive = orUserError(study.inside("survive"), [&] {
            return failureKindsFrom(study.texts("survive"));
        });
    if (study.has("order"))
        configuration->order = choicesFrom<Order>(study, "order",
                                                  {{"given", Order::GIVEN},
                                                   {"largest", Order::LARGEST},
                                                   {"shuffled", Order::SHUFFLED}})[0];
    if (study.has("preemption")) configuration->preempt = study.at("preemption") == true;
    if (study.has("maxDemands")) {
        const std::uint64_t most = study.natural("maxDemands");
        if (most > 1'000'000'000) study.fail("\"maxDemands\" is at most 10^9");
        configuration->maxDemands = static_cast<int>(most);
    }
    if (study.has("seed")) configuration->seed = study.natural("seed");
}

void addAxes(const Part& study, Study* result) {
    if (study.has("scales")) result->scales = scalesFrom(study);
    if (study.has("classes")) result->classes = checked(study, "classes", setClasses);
    if (study.has("weights"))
        result->weights = checked(study, "weights",
                                  [](const auto& texts, Configuration* configuration) {
                                      setWeights(texts, &configuration->weights);
                                  });
    if (study.has("protections"))
        result->protections = choicesFrom(study, "protections", kProtections);
    if (study.has("replanning"))
        result->replannings =
            choicesFrom<Replanning>(study, "replanning",
                                    {{toText(Replanning::BACKUPS), Replanning::BACKUPS},
                                     {toText(Replanning::PLACE), Replanning::PLACE}});
    const json usual = {"none", {{"of", {"cables", "nodes"}}}};
    for (const json& value : study.has("failures") ? study.listAt("failures") : usual)
        result->failures.push_back(choiceFrom(value, study.inside("failures")));
}

}  // namespace

const char* toText(Replanning replanning) {
    return replanning == Replanning::PLACE ? "place" : "backups";
}

std::string pathIn(const Study& study, const std::string& file) {
    if (study.folder.empty() || file.starts_with('/')) return file;
    return study.folder + "/" + file;
}

Study studyFrom(const json& text, const std::string& folder) {
    Study study;
    study.folder = folder;
    study.text = text;
    const Part part(text, "study");
    if (part.text("format") != "kavril-study")
        part.fail("expected \"format\": \"kavril-study\"");
    part.onlyHas({"format", "networks", "matrices", "scales", "classes", "weights",
                  "protections", "replanning", "failures", "survive", "order",
                  "preemption", "maxDemands", "seed"});
    if (!part.has("networks")) part.fail("expected \"networks\"");
    const std::vector<std::string> matrices = matricesOf(part, study);
    for (const json& value : part.listAt("networks")) {
        study.networks.push_back(networkFrom(value, part.inside("networks"), study));
        if (study.networks.back().matrices.empty())
            study.networks.back().matrices = matrices;
    }
    addAxes(part, &study);
    addFixed(part, &study.configuration);
    return study;
}

Study readStudy(const std::string& file, const json& changes) {
    const std::string text = readFile(file);
    json members;
    try {
        members = json::parse(text);
    } catch (const json::exception& error) {
        throw UserError(file + ": expected JSON: " + plainMessage(error));
    }
    if (members.is_object()) members.update(changes);
    const auto folder = std::filesystem::path(file).parent_path();
    try {
        return studyFrom(members, folder.string());
    } catch (const UserError& error) {
        throw UserError(file + ": " + error.what());
    }
}

}  // namespace workbench
