// From what stands in a file to what the commands work on.
#pragma once

#include "formats/draft.h"
#include "formats/read.h"

namespace workbench {

// Names the nodes, fills in capacities, takes undirected links both ways, drops loops and
// duplicates, merges parallels. A link to an unknown node is an InputError. A draft
// without links gives a network without links.
Network tidyNetwork(const Draft& draft, const ReadOptions& options, Findings& findings);

// Finds the ends of the demands, drops those that ask for nothing.
Demands tidyDemands(const Draft& draft, const Network& network, Findings& findings);

}  // namespace workbench
