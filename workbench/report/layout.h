// Where to draw the nodes of a network: at the places that its file gives, or by
// Graphviz, whose placement is the same on every run.
#pragma once

#include <vector>

#include "network.h"

namespace workbench {

// x grows to the right, y downwards; the unit is free.
struct Point {
    double x = 0.0;
    double y = 0.0;
};

// From the file's positions, flattened around their middle latitude if they are degrees.
// A node without one, or at 0, 0, which fills gaps in files of degrees, goes amid its
// neighbours. Empty if fewer than half of the nodes have a position or all have the same.
std::vector<Point> placesFromFile(const Network& network);

std::vector<Point> computedPlaces(const Network& network);

}  // namespace workbench
