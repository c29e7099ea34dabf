// What SNDlib's two notations have in common.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "formats/draft.h"

namespace workbench {

// Takes "MBITPERSEC" into the draft; returns the factor of the file's bandwidths. A unit
// that is no bandwidth leaves them unnamed.
double takeSndlibUnit(const std::string& name, Draft* draft);

struct SndlibCapacity {
    double installed = 0;
    std::vector<double> modules;
};

// Adds a link; nothing installed means that a module is to be chosen.
void addSndlibLink(const std::string& id, const std::string& src, const std::string& dst,
                   const SndlibCapacity& capacity, int line, Draft* draft);

// Adds a demand and notes a limit on the length of its path.
void addSndlibDemand(const std::string& id, const std::string& src,
                     const std::string& dst, double bandwidth,
                     const std::string& maxLength, int line, Draft* draft);

}  // namespace workbench
