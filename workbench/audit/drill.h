// Fails sets of links and nodes on paper.
#pragma once

#include <set>
#include <vector>

#include "audit/audit.h"
#include "audit/link_loads.h"
#include "audit/switchover.h"
#include "graph/shortest.h"

namespace workbench {

// Primaries that a failure hits, in the order of ids.
std::vector<const Route*> hitBy(const FailureSet& set, const Routes& routes);

class Drill {
  public:
    Drill(const Plan& plan, const Routes& routes);

    // Failures are counted from 0 in the order in which they are tried.
    Failure fail(const FailureSet& set);

    // With nothing failed.
    Load fullest() const { return loads_.fullest(); }
    std::vector<Load> overloads() const { return loads_.overloads(); }

    // So far: by link * classes + class.
    const std::vector<WorstLoad>& worst() const { return worst_; }

  private:
    void reroute(const Route& route, Failure* failure);
    LossCause causeOf(const PlanLsp& lsp, const Route& route,
                      const Failure& failure) const;
    void judge(Failure* failure);

    const Plan& plan_;
    const Routes& routes_;
    Outage outage_;
    ShortestPaths shortest_;
    std::set<FailureKind> claimed_;
    LinkLoads loads_;
    std::vector<WorstLoad> worst_;
    int nbFailures_ = 0;
};

}  // namespace workbench
