// The load of every link after every failure that a plan is to survive, kept up to date
// as LSPs come and go.
//
// The library books backups against the failure of single links and nodes. Both
// directions of a cable, or the links of a risk group, fail at once and send more traffic
// over a link than either alone. This is where that is seen, before a backup is kept.
#pragma once

#include <map>
#include <optional>
#include <unordered_map>
#include <vector>

#include "audit/switchover.h"
#include "plan.h"

namespace workbench {

class Survival {
  public:
    explicit Survival(const Plan& plan);

    // Puts an LSP with its backups in the place of what was known of it.
    void set(const PlanLsp& primary, const std::vector<PlanLsp>& backups);
    void remove(int primary);

    struct Overload {
        int link = 0;
        std::string failure;  // empty: with nothing failed
    };
    // Among the links that the LSP takes, now or after a failure.
    std::optional<Overload> overloadBy(int primary) const;

    // Failures, by number, that take an LSP down though both its ends stay up.
    std::vector<int> exposures(int primary) const;

    const std::vector<FailureSet>& failures() const { return failures_; }

    // Failures that hit an LSP on these links.
    std::vector<int> failuresOf(const std::vector<int>& links) const;

    // What a link has left in the worst of some failures, or with nothing failed.
    double room(int link, int trafficClass, const std::vector<int>& failures) const;
    // In the worst of all failures.
    double room(int link, int trafficClass) const;

    int linkBetween(int src, int dst) const;
    std::vector<int> linksOf(const std::vector<int>& path) const;

  private:
    // Bandwidth that one LSP adds to a cell: with nothing failed (-1), or on top of that
    // in a failure.
    struct Part {
        int failure;
        std::size_t cell;
        double bandwidth;
    };
    struct Record {
        std::vector<Part> parts;
        std::vector<int> exposures;
    };

    std::size_t cellOf(int link, int trafficClass) const;
    double worst(std::size_t cell, int* failure) const;
    void apply(const Record& record, double sign);
    void addFailure(int failure, const Route& route, Record* record);

    const Network& network_;
    std::size_t nbClasses_;
    std::vector<FailureSet> failures_;
    std::vector<std::vector<int>> onLink_;               // failures
    std::vector<double> capacity_;                       // by cell
    std::vector<double> load_;                           // by cell, with nothing failed
    std::vector<std::unordered_map<int, double>> more_;  // by cell and failure
    std::unordered_map<int, Record> records_;            // by LSP
    std::unordered_map<long long, int> linkOf_;
    Outage outage_;
};

}  // namespace workbench
