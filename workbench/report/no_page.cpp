// In place of the page in a build without node.
#include "report/page.h"

const std::string_view workbench::kReportPage;
const std::string_view workbench::kSweepPage;
