#include "engine/headroom.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "cli/error.h"
#include "engine/trials.h"

namespace workbench {

namespace {

// A matrix that weighs next to nothing: what it cannot have has no place in the network.
constexpr double kLight = 1e-3;

class Search {
  public:
    Search(const Network& network, const std::vector<Demand>& demands,
           const Configuration& configuration, const HeadroomWatch& watch,
           Headroom* result)
        : network_(network),
          demands_(demands),
          configuration_(configuration),
          empty_(newPlan(network, {}, configuration)) {
        excuseHopeless(watch, result);
        options_.strict = true;
    }

    // Changes nothing: several threads may ask.
    TrialResult tryFactor(double factor, const Step& step) const {
        std::vector<PlanDemand> requests = requestsAt(factor);
        TrialResult outcome = {.works = run(&requests, step)};
        if (outcome.works) return outcome;
        for (std::size_t i = 0; i < requests.size(); i++) {
            const PlanDemand& request = requests[i];
            const std::string& reason =
                request.reason.empty() ? request.unprotected : request.reason;
            const bool excused = request.reason.empty() ? options_.excusedProtection[i]
                                                        : options_.excusedRequest[i];
            if (reason.empty() || excused) continue;
            outcome.request = static_cast<int>(i);
            outcome.reason = reason;
        }
        return outcome;
    }

  private:
    std::vector<PlanDemand> requestsAt(double factor) const {
        Configuration scaled = configuration_;
        scaled.scale *= factor;
        return requestsOf(demands_, scaled);
    }

    bool run(std::vector<PlanDemand>* requests, const Step& step) const {
        PlaceOptions options = options_;
        options.step = step;
        Engine engine(empty_);
        return placeAll(&engine, requests, options, nullptr);
    }

    void excuseHopeless(const HeadroomWatch& watch, Headroom* result) {
        const double factor = lightFactor();
        std::vector<PlanDemand> requests = requestsAt(factor);
        watch.start(factor);
        result->runs++;
        run(&requests, watch.step);
        for (const PlanDemand& request : requests) {
            options_.excusedRequest.push_back(request.lsp < 0);
            options_.excusedProtection.push_back(request.lsp < 0 ||
                                                 !request.unprotected.empty());
            result->neverPlaced += request.lsp < 0 ? 1 : 0;
            result->neverProtected += request.unprotected.empty() ? 0 : 1;
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
    PlaceOptions options_;  // but the step
};

}  // namespace

Headroom findHeadroom(const Network& network, const std::vector<Demand>& demands,
                      const Configuration& configuration, double precision, int jobs,
                      const HeadroomWatch& watch) {
    Headroom result;
    result.protection = configuration.protection;
    const Search search(network, demands, configuration, watch, &result);
    const auto requests = requestsOf(demands, configuration).size();
    if (static_cast<std::size_t>(result.neverPlaced) == requests)
        throw UserError("no request of the matrix has a path, however small it is");
    Course course(precision);
    Trials trials(jobs, [&search](double factor, const Step& step) {
        return search.tryFactor(factor, step);
    });
    while (!course.isOver()) {
        const double factor = course.factor();
        watch.start(factor);
        const TrialResult outcome = trials.next(course, watch.step);
        result.runs++;
        if (!outcome.works) {
            result.failsAt = factor;
            result.request = outcome.request;
            result.reason = outcome.reason;
        }
        course.note(outcome.works);
    }
    result.largest = course.largest();
    result.factor = course.best();
    result.checked = course.checked();
    return result;
}

}  // namespace workbench
