#include "report/report_data.h"

#include <algorithm>
#include <cmath>

#include "report/layout.h"

namespace workbench {

using nlohmann::json;

namespace {

// Whole numbers of a unit that no screen resolves.
json spotsOf(const std::vector<Point>& points) {
    double unit = 0.0;
    for (const Point& point : points)
        unit = std::max({unit, std::abs(point.x), std::abs(point.y)});
    if (unit <= 0.0) unit = 1.0;
    json spots = json::array();
    for (const Point& point : points)
        spots.push_back(
            {std::round(point.x / unit * 1e5), std::round(point.y / unit * 1e5)});
    return spots;
}

// `spot` is left out where the file has no positions to speak of.
void placeNodes(const Network& network, json* nodes) {
    const json fromFile = spotsOf(placesFromFile(network));
    const json computed = spotsOf(computedPlaces(network));
    for (std::size_t i = 0; i < nodes->size(); i++) {
        (*nodes)[i]["computed"] = computed[i];
        if (!fromFile.empty()) (*nodes)[i]["spot"] = fromFile[i];
    }
}

}  // namespace

json reportData(const Audited& now, const Audited* before) {
    json data = planData(now);
    placeNodes(now.plan.network, &data["nodes"]);
    if (before != nullptr) {
        data["before"] = planData(*before);
        data["before"]["file"] = before->file;
        data["changes"] = changesOf(before->plan, now.plan);
    }
    return data;
}

}  // namespace workbench
