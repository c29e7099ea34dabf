// The congestion cost of a link: piecewise linear in its load, steeper the fuller it is.
//
// Slopes after Fortz and Thorup, "Internet Traffic Engineering by Optimizing OSPF
// Weights" (INFOCOM 2000), with breakpoints of its own.
#pragma once

// A load x on a link of capacity c costs slope * x + intercept * c.
struct Segment {
    double slope;
    double intercept;
};

// Chosen by utilisation. The slope 10 of the published function is out of reach, since
// its bound is 0 instead of 0.9: utilisations from 2/3 to 1 cost with slope 70. The last
// intercept is this system's own. All values are of single precision, widened.
inline Segment segmentAt(double utilisation) {
    if (utilisation < 1.0F / 3.0F) return {1.0, 0.0};
    if (utilisation < 2.0F / 3.0F) return {3.0, -2.0F / 3.0F};
    if (utilisation < 0.0) return {10.0, -16.0F / 3.0F};
    if (utilisation < 1.0) return {70.0, -178.0F / 3.0F};
    if (utilisation < 1.1F) return {500.0, -1468.0F / 3.0F};
    return {5000.0, -19468.0F / 3.0F};
}
