// The report's page with everything but its data, bundled when this program is built.
#pragma once

#include <string_view>

namespace workbench {

// Empty where the page was left out of the build.
extern const std::string_view kReportPage;

// Stands in the page once, where the data belongs.
constexpr std::string_view kDataMark = "/*DATA*/";

}  // namespace workbench
