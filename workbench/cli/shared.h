// Options and helpers that all commands share.
//
// A command is one file in commands/ with one function, declared in commands/commands.h:
//
//     void addInfo(CLI::App& app, Shared& shared) {
//         CLI::App* cmd = app.add_subcommand("info", "What a network looks like");
//         auto file = std::make_shared<std::string>();
//         cmd->add_option("NETWORK", *file, "Network file")->required();
//         addReadingOptions(*cmd, shared);
//         addOutputOptions(*cmd, shared);
//         cmd->footer("Examples:\n  kavril info germany50.xml");
//         onRun(*cmd, shared, [&shared, file] { return info(*file, shared); });
//     }
//
// The function given to onRun returns the exit status: 0, or 1 for "done, but what was
// checked does not hold". Errors are thrown (cli/error.h) and end with status 2, Ctrl-C
// ends with 130.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "formats/read.h"
#include "names.h"
#include "plan.h"

namespace workbench {

struct Shared {
    ReadOptions reading;
    Configuration configuration;
    bool json = false;
    bool quiet = false;
    bool listFindings = false;
    std::function<int()> run;  // of the command on the command line
};

// Words of an option and what they stand for.
template <class Value>
using Choices = std::vector<std::pair<std::string, Value>>;

// -o: a file to write, "-" for standard output. That it cannot be written is said before
// the work.
CLI::Option* addOutputFile(CLI::App& cmd, std::string* file, const std::string& text);

// NETWORK and DEMANDS: default capacity, direction, modules, changes of capacities.
void addReadingOptions(CLI::App& cmd, Shared& shared);
// All of the configuration but the protection: weights, classes, capacity shares, order,
// preemption, scale, number of demands and seed.
void addPlacementOptions(CLI::App& cmd, Shared& shared);
// --protection none|local|global.
extern const Choices<Protection> kProtections;
void addProtectionOption(CLI::App& cmd, Shared& shared);
// --json, --quiet, --findings.
void addOutputOptions(CLI::App& cmd, Shared& shared);

CLI::ValidationError wrongChoice(const std::string& option, const std::string& given,
                                 const std::vector<std::string>& words);

// What a word stands for, whatever the case; a CLI error if it is none of them.
template <class Value>
Value chosen(const std::string& option, const std::string& given,
             const Choices<Value>& choices) {
    std::vector<std::string> words;
    for (const auto& [word, meaning] : choices) words.push_back(word);
    const int found = NameIndex(words).find(given);
    if (found < 0) throw wrongChoice(option, given, words);
    return choices[found].second;
}

// An option with one of several words.
template <class Value>
CLI::Option* addChoice(CLI::App& cmd, const std::string& option, Value* value,
                       const Choices<Value>& choices, const std::string& text) {
    return cmd.add_option_function<std::string>(
        option,
        [=](const std::string& given) { *value = chosen(option, given, choices); }, text);
}

// An option with some of several words, parted by commas.
template <class Value>
CLI::Option* addChoices(CLI::App& cmd, const std::string& option,
                        std::vector<Value>* values, const Choices<Value>& choices,
                        const std::string& text) {
    return cmd
        .add_option_function<std::vector<std::string>>(
            option,
            [=](const std::vector<std::string>& given) {
                values->clear();
                for (const std::string& word : given)
                    values->push_back(chosen(option, word, choices));
            },
            text)
        ->delimiter(',')
        ->allow_extra_args(false);
}

// A network with its traffic, from NETWORK and DEMANDS; what was found is told.
struct Matrix {
    Network network;
    Demands demands;
    Findings findings;
};
Matrix readMatrix(const std::string& network, const std::string& demands,
                  const Shared& shared);

// Registers what the command does once the whole command line has been read.
void onRun(CLI::App& cmd, Shared& shared, std::function<int()> run);

// To standard error, unless --quiet or --json: a line per kind of finding with its count,
// with --findings every one of them too.
void printFindings(const Findings& findings, const Shared& shared);

// Fields of an option's value, "a:b:c".
std::vector<std::string> fieldsOf(const std::string& text, char separator);

// Values of --weights, NAME=WEIGHT, and of --class, NAME:LEVEL:SHARE.
void setWeights(const std::vector<std::string>& texts, Weights* weights);
void setClasses(const std::vector<std::string>& texts, Configuration* configuration);

// A number of at least 0, or above it, in an option's value; a CLI error otherwise.
double numberFrom(const std::string& text, const std::string& option,
                  bool positive = false);
// A bandwidth with or without a unit, "2.5G".
double bandwidthFrom(const std::string& text, const std::string& option);

// {"counts": {"merged-link": 2, ..}, "list": [{"kind", "text"}, ..]}, the list only with
// --findings. For the member "findings" of a command's output.
nlohmann::json findingsJson(const Findings& findings, const Shared& shared);

}  // namespace workbench
