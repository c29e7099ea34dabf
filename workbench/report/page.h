// The reports' pages with everything but their data, bundled when this program is built.
#pragma once

#include <string_view>

namespace workbench {

// Of a plan and of a sweep. Empty where the pages were left out of the build.
extern const std::string_view kReportPage;
extern const std::string_view kSweepPage;

// Stands in a page once, where the data belongs.
constexpr std::string_view kDataMark = "/*DATA*/";

}  // namespace workbench
