// What the page of a sweep shows, as it reads it (page/sweep.js).
#pragma once

#include <string>

namespace workbench {

// Out of a sweep's results, in one line of JSON that can stand in a script element. It
// grows with the number of plans, not with that of cases: of these there are sums, the
// worst ones, and those of the gravest failures.
std::string sweepPageData(const std::string& results);

}  // namespace workbench
