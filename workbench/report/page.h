// The reports' pages with everything but their data, bundled when this program is built.
#pragma once

#include <string_view>

namespace workbench {

// Of a plan and of a sweep. Empty where the pages were left out of the build.
extern const std::string_view kReportPage;
extern const std::string_view kSweepPage;

// Stand in a page once, where the data belongs, and in a plan's where the rest of the
// plan does (page_plan.h): only in pages with an engine.
constexpr std::string_view kDataMark = "/*DATA*/";
constexpr std::string_view kRestMark = "/*REST*/";

}  // namespace workbench
