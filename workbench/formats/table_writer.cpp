// Links and demands as tables.
#include "formats/groups.h"
#include "formats/table.h"
#include "formats/units.h"
#include "formats/writers.h"

namespace workbench {

static std::string optionalText(const std::optional<double>& value) {
    return value ? numberText(*value) : "";
}

Table linkTable(const Network& network) {
    Table table{{"src", "dst", withUnit("capacity", network.unit), "metric", "delay",
                 "colour", "name", "groups"},
                {}};
    for (const Link& link : network.links)
        table.rows.push_back({network.nodes[link.src].name, network.nodes[link.dst].name,
                              numberText(link.capacity), optionalText(link.metric),
                              optionalText(link.delay), std::to_string(link.colour),
                              link.name, groupsText(link.groups)});
    return table;
}

Table demandTable(const Demands& demands, const Network& network) {
    Table table{{"src", "dst", withUnit("bandwidth", demands.unit), "class", "level",
                 "avoid", "max delay", "max hops", "name"},
                {}};
    const auto limit = [](double value) { return value > 0 ? numberText(value) : ""; };
    for (const Demand& demand : demands.demands)
        table.rows.push_back(
            {network.nodes[demand.src].name, network.nodes[demand.dst].name,
             numberText(demand.bandwidth), demand.trafficClass,
             demand.level ? std::to_string(*demand.level) : "", limit(demand.avoid),
             limit(demand.maxDelay), limit(demand.maxHops), demand.name});
    return table;
}

}  // namespace workbench
