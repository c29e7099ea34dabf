// What stands in a file, before it is tidied up: the common ground of all formats.
//
// A parser fills a draft and refuses only what it cannot read. Everything that real files
// get wrong (loops, parallels, gaps, strange ends) stays in the draft, with its line, and
// is dealt with once, in formats/tidy.h.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "network.h"

namespace workbench {

struct Source {
    std::string file;  // name for messages
    std::string text;  // UTF-8, without a byte order mark
};

// A node as a link or demand refers to it.
struct NodeRef {
    std::string id;
    int number = -1;  // position in the list of nodes, if the format counts
};

struct DraftNode {
    std::string id;
    std::string name;
    std::optional<Position> position;
    int line;
};

enum class Way { Directed, Undirected, Open };  // Open: the format does not tell

struct DraftLink {
    std::string name;
    NodeRef src;
    NodeRef dst;
    std::optional<double> capacity;
    std::vector<double> modules;  // alternatives, if nothing is installed
    Way way;
    int colour = 0;
    std::optional<double> metric;
    std::optional<double> delay;
    int line;
    std::vector<std::string> groups = {};  // as in Link
};

struct DraftDemand {
    std::string name;
    NodeRef src;
    NodeRef dst;
    double bandwidth;
    int line;
};

struct Draft {
    std::string file;
    std::string name{};
    std::string unit{};  // as in Network
    bool geographic = false;
    bool hasNetwork = false;
    bool hasDemands = false;
    std::vector<DraftNode> nodes{};
    std::vector<DraftLink> links{};
    std::vector<DraftDemand> demands{};
    Findings findings{};  // of the parser
};

// "FILE:LINE: " for findings.
std::string placeIn(const Draft& draft, int line);

// Text that is not UTF-8 is taken for Latin-1, as old files are.
Source sourceOf(const std::string& file, const std::string& bytes);

// Tells the format from the content and parses it. Throws InputError.
Draft parse(const Source& source);
Draft readDraft(const std::string& path);

// The formats. Each throws InputError.
Draft parseGraphml(const Source& source);
Draft parseSndlibXml(const Source& source);
Draft parseSndlibNative(const Source& source);
Draft parseRepetita(const Source& source);
Draft parseOwnJson(const Source& source);

}  // namespace workbench
