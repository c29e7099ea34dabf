#include "engine/headroom.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "cli/error.h"

namespace workbench {

namespace {

// A matrix that weighs next to nothing: what it cannot have has no place in the network.
constexpr double kLight = 1e-3;

// Factors beyond are of no use to anyone.
constexpr double kMostGrowth = 1e12;

// Parts of the largest factor that are tried too.
constexpr double kParts[] = {0.1, 0.2,  0.3,  0.4,   0.5,  0.6,  0.7,  0.8,  0.85,
                             0.9, 0.92, 0.94, 0.955, 0.97, 0.98, 0.99, 0.995};

class Search {
  public:
    Search(const Network& network, const std::vector<Demand>& demands,
           const Configuration& configuration, const HeadroomWatch& watch,
           Headroom* result)
        : network_(network),
          demands_(demands),
          configuration_(configuration),
          empty_(newPlan(network, {}, configuration)),
          watch_(watch),
          result_(result) {
        options_.step = watch.step;
        excuseHopeless();
        options_.strict = true;
    }

    // Notes what was refused if something was.
    bool works(double factor) {
        std::vector<PlanDemand> requests = requestsAt(factor);
        if (run(factor, &requests)) return true;
        for (std::size_t i = 0; i < requests.size(); i++) {
            const PlanDemand& request = requests[i];
            const std::string& reason =
                request.reason.empty() ? request.unprotected : request.reason;
            const bool excused = request.reason.empty() ? options_.excusedProtection[i]
                                                        : options_.excusedRequest[i];
            if (reason.empty() || excused) continue;
            result_->request = static_cast<int>(i);
            result_->reason = reason;
        }
        result_->failsAt = factor;
        return false;
    }

  private:
    std::vector<PlanDemand> requestsAt(double factor) const {
        Configuration scaled = configuration_;
        scaled.scale *= factor;
        return requestsOf(demands_, scaled);
    }

    bool run(double factor, std::vector<PlanDemand>* requests) {
        watch_.start(factor);
        Engine engine(empty_);
        result_->runs++;
        return placeAll(&engine, requests, options_, nullptr);
    }

    void excuseHopeless() {
        const double factor = lightFactor();
        std::vector<PlanDemand> requests = requestsAt(factor);
        run(factor, &requests);
        for (const PlanDemand& request : requests) {
            options_.excusedRequest.push_back(request.lsp < 0);
            options_.excusedProtection.push_back(request.lsp < 0 ||
                                                 !request.unprotected.empty());
            result_->neverPlaced += request.lsp < 0 ? 1 : 0;
            result_->neverProtected += request.unprotected.empty() ? 0 : 1;
        }
    }

    double lightFactor() const {
        double least = std::numeric_limits<double>::infinity();
        for (const Link& link : network_.links)
            for (const TrafficClass& oa : configuration_.classes)
                if (const double room = link.capacity * oa.capacityShare; room > 0.0)
                    least = std::min(least, room);
        double total = 0.0;
        for (const PlanDemand& request : requestsAt(1.0)) total += request.bandwidth;
        return std::isinf(least) || total <= 0.0 ? 1.0 : kLight * least / total;
    }

    const Network& network_;
    const std::vector<Demand>& demands_;
    const Configuration& configuration_;
    const Plan empty_;
    const HeadroomWatch& watch_;
    Headroom* result_;
    PlaceOptions options_;
};

}  // namespace

Headroom findHeadroom(const Network& network, const std::vector<Demand>& demands,
                      const Configuration& configuration, double precision,
                      const HeadroomWatch& watch) {
    Headroom result;
    result.protection = configuration.protection;
    Search search(network, demands, configuration, watch, &result);
    const auto requests = requestsOf(demands, configuration).size();
    if (static_cast<std::size_t>(result.neverPlaced) == requests)
        throw UserError("no request of the matrix has a path, however small it is");
    double works = 0.0;
    double fails = 1.0;
    while (fails < kMostGrowth && search.works(fails)) {
        works = fails;
        fails *= 2.0;
    }
    while (fails - works > precision * fails) {
        const double middle = (works + fails) / 2.0;
        if (search.works(middle))
            works = middle;
        else
            fails = middle;
    }
    result.largest = works;
    result.factor = works;
    double before = 0.0;
    for (const double part : kParts) {
        result.checked++;
        if (!search.works(part * result.largest)) {
            result.factor = before;
            break;
        }
        before = part * result.largest;
    }
    return result;
}

}  // namespace workbench
