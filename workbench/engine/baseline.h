// Plans to compare with: what the network would do without traffic engineering.
#pragma once

#include "engine/place.h"

namespace workbench {

// Puts an LSP up for every demand of a new plan on its shortest path by the links'
// metrics, as a routing protocol would: whatever room there is, and without the limits,
// colours and backups that such a protocol knows nothing of. `step` is called for each.
void runBaseline(Plan* plan, const Step& step);

}  // namespace workbench
