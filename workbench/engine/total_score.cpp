#include "engine/total_score.h"

#include <algorithm>
#include <array>
#include <limits>
#include <map>

namespace workbench {

namespace {

struct Slope {
    double from;  // utilisation
    double slope;
};

constexpr std::array<Slope, 5> kSlopes = {
    {{0.0, 1.0}, {1.0 / 3.0, 3.0}, {2.0 / 3.0, 70.0}, {1.0, 500.0}, {1.1, 5000.0}}};

double delayOf(double load, double capacity) {
    return load < capacity ? 1.0 / (capacity - load)
                           : std::numeric_limits<double>::infinity();
}

double linkScore(const Weights& w, double load, double capacity) {
    const double share = load / capacity;
    double score = w.fortz * congestion(load, capacity) + w.load * load +
                   w.squaredLoad * load * load + w.relativeLoad * share +
                   (w.squaredRelativeLoad + w.loadBalance) * share * share;
    if (w.delay != 0.0) score += w.delay * delayOf(load, capacity);
    return score;
}

}  // namespace

double congestion(double load, double capacity) {
    double cost = 0.0;
    for (std::size_t i = 0; i < kSlopes.size(); i++) {
        const double from = kSlopes[i].from * capacity;
        const double to = i + 1 < kSlopes.size() ? kSlopes[i + 1].from * capacity : load;
        if (load > from) cost += kSlopes[i].slope * (std::min(load, to) - from);
    }
    return cost;
}

Loads loadsOf(const Plan& plan) {
    const std::size_t classes = plan.configuration.classes.size();
    std::map<std::pair<int, int>, int> linkOf;
    for (const Link& link : plan.network.links) linkOf[{link.src, link.dst}] = link.id;
    Loads loads(plan.network.links.size() * classes, 0.0);
    for (const PlanLsp& lsp : plan.lsps) {
        if (lsp.kind != LspKind::PRIMARY) continue;
        for (std::size_t i = 0; i + 1 < lsp.path.size(); i++)
            addLoad({linkOf.at({lsp.path[i], lsp.path[i + 1]})}, lsp.trafficClass,
                    lsp.bandwidth, classes, &loads);
    }
    return loads;
}

void addLoad(const std::vector<int>& links, int trafficClass, double bandwidth,
             std::size_t nbClasses, Loads* loads) {
    for (int link : links)
        (*loads)[static_cast<std::size_t>(link) * nbClasses +
                 static_cast<std::size_t>(trafficClass)] += bandwidth;
}

// Load balance is the sum of the squared utilisations, here with those of the links, less
// the square of their sum by the number of links.
double totalScore(const Network& network, const Configuration& configuration,
                  const Loads& loads) {
    const std::size_t classes = configuration.classes.size();
    double total = 0.0;
    for (std::size_t oa = 0; oa < classes; oa++) {
        double utilisations = 0.0;
        for (const Link& link : network.links) {
            const double capacity =
                link.capacity * configuration.classes[oa].capacityShare;
            const double load = loads[static_cast<std::size_t>(link.id) * classes + oa];
            if (capacity <= 0.0) continue;
            total += linkScore(configuration.weights, load, capacity);
            utilisations += load / capacity;
        }
        if (!network.links.empty())
            total -= configuration.weights.loadBalance * utilisations * utilisations /
                     static_cast<double>(network.links.size());
    }
    return total;
}

}  // namespace workbench
