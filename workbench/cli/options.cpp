#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "cli/error.h"
#include "cli/file.h"
#include "cli/shared.h"
#include "formats/units.h"

namespace workbench {

const Choices<Protection> kProtections = {{"none", Protection::NONE},
                                          {"local", Protection::LOCAL},
                                          {"global", Protection::GLOBAL}};

// "a:b:c"
std::vector<std::string> fieldsOf(const std::string& text, char separator) {
    std::vector<std::string> fields(1);
    for (const char letter : text)
        if (letter == separator)
            fields.emplace_back();
        else
            fields.back() += letter;
    return fields;
}

namespace {

void setWeight(const std::string& text, Weights* weights) {
    const auto fields = fieldsOf(text, '=');
    std::string names;
    for (const WeightName& known : kWeightNames) {
        if (fields.size() == 2 && fields[0] == known.name) {
            weights->*known.weight = numberFrom(fields[1], "--weights");
            return;
        }
        names += (names.empty() ? "" : ", ") + std::string(known.name);
    }
    throw CLI::ValidationError(
        "--weights", fmt::format("'{}' is not NAME=WEIGHT with one of {}", text, names));
}

}  // namespace

// Those given replace the usual ones as a whole.
void setWeights(const std::vector<std::string>& texts, Weights* weights) {
    *weights = {.fortz = 0};
    for (const std::string& text : texts) setWeight(text, weights);
}

namespace {

int classNumber(std::vector<TrafficClass>* classes, const std::string& name) {
    const auto found =
        std::find_if(classes->begin(), classes->end(),
                     [&](const auto& known) { return known.name == name; });
    const int number = static_cast<int>(found - classes->begin());
    if (found == classes->end()) classes->push_back({.name = name, .capacityShare = 0});
    return number;
}

void addPart(const std::string& text, Configuration* configuration) {
    const auto fields = fieldsOf(text, ':');
    const double level = fields.size() == 3 ? numberFrom(fields[1], "--class") : -1;
    if (fields.size() != 3 || fields[0].empty() || level >= kPlanLevels ||
        level != std::floor(level))
        throw CLI::ValidationError(
            "--class",
            fmt::format("'{}' is not NAME:LEVEL:SHARE with a level from 0 to 7", text));
    const double share = numberFrom(fields[2], "--class");
    const int number = classNumber(&configuration->classes, fields[0]);
    configuration->parts.push_back(
        {.trafficClass = number, .level = static_cast<int>(level), .share = share});
    // Unless told otherwise a class has as much of the capacity as of the traffic.
    configuration->classes[number].capacityShare += share;
}

}  // namespace

void setClasses(const std::vector<std::string>& texts, Configuration* configuration) {
    configuration->classes.clear();
    configuration->parts.clear();
    for (const std::string& text : texts) addPart(text, configuration);
    double sum = 0;
    for (const TrafficPart& part : configuration->parts) sum += part.share;
    if (std::abs(sum - 1) > 1e-6)
        throw CLI::ValidationError(
            "--class",
            fmt::format("the shares of the traffic add up to {:g}, not 1", sum));
    if (configuration->classes.size() > kPlanClasses)
        throw CLI::ValidationError("--class", "more than 8 classes");
}

namespace {

void setCapacityShares(const std::vector<std::string>& texts,
                       Configuration* configuration) {
    for (const std::string& text : texts) {
        const auto fields = fieldsOf(text, ':');
        auto& classes = configuration->classes;
        const auto found =
            std::find_if(classes.begin(), classes.end(),
                         [&](const auto& known) { return known.name == fields[0]; });
        if (fields.size() != 2 || found == classes.end())
            throw CLI::ValidationError(
                "--capacity-share",
                fmt::format("'{}' is not NAME:SHARE with the name of a class", text));
        found->capacityShare = numberFrom(fields[1], "--capacity-share");
    }
    double sum = 0;
    for (const TrafficClass& known : configuration->classes) sum += known.capacityShare;
    if (sum > 1 + 1e-6)
        throw CLI::ValidationError(
            "--capacity-share",
            fmt::format("the shares of the capacity add up to {:g}, more than 1", sum));
}

// "Aix - Bonn=2.5G"; names may hold a '=' themselves.
std::pair<std::string, double> linkAndBandwidth(const std::string& text) {
    const auto at = text.rfind('=');
    if (at == std::string::npos || at == 0)
        throw CLI::ValidationError("--set-capacity",
                                   fmt::format("'{}' is not LINK=BANDWIDTH", text));
    return {text.substr(0, at), bandwidthFrom(text.substr(at + 1), "--set-capacity")};
}

}  // namespace

double numberFrom(const std::string& text, const std::string& option, bool positive) {
    const auto value = parseNumber(text);
    if (value && *value > kMostBandwidth)
        throw CLI::ValidationError(option, fmt::format("'{}' is too large", text));
    const bool fits = value && (positive ? *value > 0 : *value >= 0);
    if (!fits)
        throw CLI::ValidationError(option,
                                   fmt::format("'{}' is not a number {}", text,
                                               positive ? "above 0" : "of at least 0"));
    return *value;
}

double bandwidthFrom(const std::string& text, const std::string& option) {
    try {
        return bandwidthOf(text, option);
    } catch (const UserError& error) {
        throw CLI::ValidationError(error.what());
    }
}

CLI::ValidationError wrongChoice(const std::string& option, const std::string& given,
                                 const std::vector<std::string>& words) {
    return CLI::ValidationError(
        option, fmt::format("'{}' is none of {}{}", given, fmt::join(words, ", "),
                            NameIndex(words).suggestion(given)));
}

CLI::Option* addOutputFile(CLI::App& cmd, std::string* file, const std::string& text) {
    return cmd
        .add_option_function<std::string>(
            "-o,--output",
            [file](const std::string& path) {
                try {
                    checkOutput(path);
                } catch (const UserError& error) {
                    throw CLI::ValidationError("-o", error.what());
                }
                *file = path;
            },
            text)
        ->type_name("FILE");
}

void addReadingOptions(CLI::App& cmd, Shared& shared) {
    const std::string group = "Reading";
    cmd.add_option_function<std::string>(
           "--default-capacity",
           [&shared](const std::string& text) {
               shared.reading.defaultCapacity = bandwidthFrom(text, "--default-capacity");
           },
           "Capacity of links that state none, in Mbit/s (or the file's own unit) unless "
           "it ends in k, M, G or T [10G]")
        ->type_name("BANDWIDTH")
        ->group(group);
    cmd.add_option_function<std::vector<std::string>>(
           "--set-capacity",
           [&shared](const auto& texts) {
               for (const std::string& text : texts)
                   shared.reading.setCapacity.push_back(linkAndBandwidth(text));
           },
           "Capacity of one link whatever the file says, 'A > B=10G' of one direction, "
           "'A - B=10G' of both")
        ->allow_extra_args(false)
        ->type_name("LINK=BANDWIDTH")
        ->group(group);
    cmd.add_option_function<std::string>(
           "--scale-capacity",
           [&shared](const std::string& text) {
               shared.reading.scaleCapacity = numberFrom(text, "--scale-capacity", true);
           },
           "Factor on every capacity of the file [1]")
        ->type_name("FACTOR")
        ->group(group);
    addChoice<Direction>(
        cmd, "--direction", &shared.reading.direction,
        {{"auto", Direction::Auto},
         {"directed", Direction::Directed},
         {"undirected", Direction::Undirected}},
        "Of links in SNDlib files, which leave it open: directed, undirected, "
        "or auto (directed if every link's reverse is listed) [auto]")
        ->type_name("WAY")
        ->group(group);
    addChoice<ModuleChoice>(
        cmd, "--module", &shared.reading.module,
        {{"largest", ModuleChoice::Largest}, {"smallest", ModuleChoice::Smallest}},
        "Capacity module of SNDlib links with nothing installed: largest or "
        "smallest [largest]")
        ->type_name("WHICH")
        ->group(group);
}

void addPlacementOptions(CLI::App& cmd, Shared& shared) {
    const std::string group = "Placement";
    Configuration* configuration = &shared.configuration;
    cmd.add_option_function<std::vector<std::string>>(
           "--weights",
           [configuration](const auto& texts) {
               setWeights(texts, &configuration->weights);
           },
           "Weights of the path score, such as fortz=1,delay=0.2; those not named are 0. "
           "Names: fortz, load-balance, load, squared-load, relative-load, "
           "squared-relative-load, delay, rerouting [fortz=1]")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->type_name("NAME=WEIGHT")
        ->group(group);
    CLI::Option* classes =
        cmd.add_option_function<std::vector<std::string>>(
               "--class",
               [configuration](const auto& texts) { setClasses(texts, configuration); },
               "Part of every demand that goes to a class at a preemption level, 0 the "
               "most "
               "important; several make up the whole [default:0:1]")
            ->delimiter(',')
            ->allow_extra_args(false)
            ->type_name("NAME:LEVEL:SHARE")
            ->group(group);
    // Names the classes, so it is read after them.
    cmd.add_option_function<std::vector<std::string>>(
           "--capacity-share",
           [configuration](const auto& texts) {
               setCapacityShares(texts, configuration);
           },
           "Share of every link's capacity that a class has [its share of the traffic]")
        ->needs(classes)
        ->delimiter(',')
        ->allow_extra_args(false)
        ->type_name("NAME:SHARE")
        ->group(group);
    addChoice<Order>(cmd, "--order", &configuration->order,
                     {{"given", Order::GIVEN},
                      {"largest", Order::LARGEST},
                      {"shuffled", Order::SHUFFLED}},
                     "Of the requests: given, largest (first) or shuffled [given]")
        ->type_name("ORDER")
        ->group(group);
    cmd.add_flag_callback(
           "--no-preemption", [configuration] { configuration->preempt = false; },
           "Refuse a request rather than make less important LSPs give way")
        ->group(group);
    cmd.add_option_function<std::string>(
           "--scale",
           [configuration](const std::string& text) {
               configuration->scale = numberFrom(text, "--scale", true);
           },
           "Factor on every demand [1]")
        ->type_name("FACTOR")
        ->group(group);
    cmd.add_option("--max-demands", configuration->maxDemands,
                   "Take only so many demands from the front of the matrix, 0 for all")
        ->check(CLI::Range(0, std::numeric_limits<int>::max()).description(""))
        ->type_name("COUNT")
        ->group(group);
    cmd.add_option("--seed", configuration->seed, "Of the shuffle [1]")
        ->check([](const std::string& text) {
            return text.find_first_not_of("0123456789") == text.npos
                       ? ""
                       : "'" + text + "' is not a whole number of at least 0";
        })
        ->type_name("NUMBER")
        ->group(group);
}

void addProtectionOption(CLI::App& cmd, Shared& shared) {
    addChoice(cmd, "--protection", &shared.configuration.protection, kProtections,
              "Backups: none, local (one per link) or global (end to end) [none]")
        ->type_name("KIND")
        ->group("Placement");
}

void addOutputOptions(CLI::App& cmd, Shared& shared) {
    const std::string group = "Output";
    cmd.add_flag("--json", shared.json, "Print the result as JSON")->group(group);
    cmd.add_flag("--quiet", shared.quiet, "The result alone, no notes and no progress")
        ->group(group);
    cmd.add_flag("--findings", shared.listFindings,
                 "List in full what was assumed, merged or dropped in reading")
        ->group(group);
}

void onRun(CLI::App& cmd, Shared& shared, std::function<int()> run) {
    cmd.callback([&shared, run = std::move(run)] { shared.run = run; });
}

}  // namespace workbench
