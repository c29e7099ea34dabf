#include "commands/options.h"

#include <algorithm>
#include <thread>

#include "audit/wanted_failures.h"

namespace workbench {

void addMatrixArguments(CLI::App& cmd, std::string* network, std::string* demands) {
    cmd.add_option("NETWORK", *network, "Network file")->required();
    cmd.add_option("DEMANDS", *demands,
                   "Traffic matrix; by default the one in the network file");
}

void addSurviveOption(CLI::App& cmd, Configuration* configuration) {
    cmd.add_option_function<std::vector<std::string>>(
           "--survive",
           [configuration](const auto& texts) {
               configuration->survive = failureKindsFrom(texts);
           },
           "Failures that backups are to survive besides that of a link: cables (both "
           "directions), nodes, groups, custom, links alone [cables,nodes]")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->type_name("KINDS")
        ->group("Placement");
}

void addJobsOption(CLI::App& cmd, int* jobs) {
    constexpr int kMostJobs = 256;
    const auto cores = static_cast<int>(std::thread::hardware_concurrency());
    *jobs = std::clamp(cores, 1, kMostJobs);
    cmd.add_option("--jobs", *jobs,
                   "Trials at a time, each on a core; the result is the same for any "
                   "number [all cores]")
        ->check(CLI::Range(1, kMostJobs));
}

}  // namespace workbench
