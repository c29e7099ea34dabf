// The tables of a plan, for kavril export. docs/formats.md describes the columns.
#pragma once

#include "formats/table.h"
#include "plan.h"

namespace workbench {

// What a link books, over all classes.
struct LinkUse {
    double primary = 0.0;   // bandwidth
    double reserved = 0.0;  // with what is kept for backups
};
std::vector<LinkUse> linkUses(const Plan& plan);

Table planLinks(const Plan& plan);
Table planLsps(const Plan& plan);
Table planDemands(const Plan& plan);
Table planClasses(const Plan& plan);

}  // namespace workbench
