// Finding what the user names: exactly, or else regardless of case and with '_' for a
// blank. All throw UserError with the names that come closest.
#pragma once

#include <string>
#include <vector>

#include "plan.h"

namespace workbench {

// Names to look one up among; the first of equal ones counts.
class NameIndex {
  public:
    explicit NameIndex(std::vector<std::string> names);

    // Position of the name, -1 if there is none or if several differ in case alone.
    int find(const std::string& name) const;
    // " (did you mean 'Berlin' or 'Bern'?)", empty if nothing comes close.
    std::string suggestion(const std::string& name) const;

  private:
    std::vector<std::string> names_;
    std::vector<std::string> folded_;
};

NameIndex nodeNames(const Network& network);

// Node by name, or else by its number.
int nodeNamed(const Network& network, const std::string& text);

// Links by their ends: "Aix > Bonn" (or "Aix>Bonn") is one direction, "Aix - Bonn" (or
// "Aix-Bonn") both. The ends as in nodeNamed; a link's own name will do too, and stands
// for every link that has it. Never empty.
std::vector<int> linksNamed(const Network& network, const std::string& text);

int classNamed(const std::vector<TrafficClass>& classes, const std::string& text);

}  // namespace workbench
