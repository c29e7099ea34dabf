// Fails sets of links and nodes on paper.
#pragma once

#include <set>
#include <vector>

#include "audit/audit.h"
#include "audit/switchover.h"
#include "graph/shortest.h"

namespace workbench {

// Loads per link and class. A failure moves a few LSPs; their loads are put back after.
class Drill {
  public:
    Drill(const Plan& plan, const Routes& routes);

    // Failures are counted from 0 in the order in which they are tried.
    Failure fail(const FailureSet& set);

    // With nothing failed.
    Load fullest() const;
    std::vector<Load> overloads() const;

    // So far: by link * classes + class.
    const std::vector<WorstLoad>& worst() const { return worst_; }

  private:
    struct Change {
        std::size_t cell;
        double before;
    };

    std::vector<const Route*> hitBy(const FailureSet& set) const;
    void reroute(const Route& route, Failure* failure);
    LossCause causeOf(const PlanLsp& lsp, const Route& route,
                      const Failure& failure) const;
    void add(const std::vector<int>& links, const PlanLsp& lsp, double sign);
    void addTo(std::size_t cell, double bandwidth);
    Load loadOf(std::size_t cell) const;
    void judge(Failure* failure);
    void putBack();

    const Plan& plan_;
    const Routes& routes_;
    std::size_t nbClasses_;
    Outage outage_;
    ShortestPaths shortest_;
    std::set<FailureKind> claimed_;
    std::vector<double> load_;          // by link * classes + class
    std::vector<std::size_t> byShare_;  // cells, the fullest first, with nothing failed
    std::vector<Change> changes_;       // of the failure in hand, each cell once
    std::vector<char> isChanged_;       // by cell
    std::vector<WorstLoad> worst_;
    int nbFailures_ = 0;
};

}  // namespace workbench
