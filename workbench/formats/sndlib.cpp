#include "formats/sndlib.h"

#include <fmt/format.h>

#include "formats/units.h"

namespace workbench {

double takeSndlibUnit(const std::string& name, Draft* draft) {
    const auto factor = parseUnit(name);
    if (factor) draft->unit = kMbitName;
    return factor.value_or(1);
}

void addSndlibLink(const std::string& id, const std::string& src, const std::string& dst,
                   const SndlibCapacity& capacity, int line, Draft* draft) {
    std::vector<double> modules;
    for (const double module : capacity.modules)
        if (module > 0) modules.push_back(module);
    draft->links.push_back({.name = id,
                            .src = {src},
                            .dst = {dst},
                            .capacity = capacity.installed > 0
                                            ? std::optional(capacity.installed)
                                            : std::nullopt,
                            .modules = std::move(modules),
                            .way = Way::Open,
                            .colour = 0,
                            .metric = {},
                            .delay = {},
                            .line = line});
    draft->hasNetwork = true;
}

void addSndlibDemand(const std::string& id, const std::string& src,
                     const std::string& dst, double bandwidth,
                     const std::string& maxLength, int line, Draft* draft) {
    draft->demands.push_back(
        {.name = id, .src = {src}, .dst = {dst}, .bandwidth = bandwidth, .line = line});
    draft->hasDemands = true;
    if (maxLength.empty() || maxLength == "UNLIMITED") return;
    draft->findings.push_back(
        {FindingKind::IgnoredLimit,
         placeIn(*draft, line) +
             fmt::format("demand {}: at most {} links on its path", id, maxLength)});
}

}  // namespace workbench
