// Fails links and nodes on paper.
#pragma once

#include <vector>

#include "audit/audit.h"
#include "audit/routes.h"

namespace workbench {

// Loads per link and class. A failure moves a few LSPs; their loads are put back after.
class Drill {
  public:
    Drill(const Plan& plan, const Routes& routes);

    Failure failLink(int link);
    Failure failNode(int node);

    // With nothing failed.
    Load fullest() const;
    std::vector<Load> overloads() const;

  private:
    struct Change {
        std::size_t cell;
        double before;
    };

    void fail(const std::vector<const Route*>& hit, Failure* failure);
    void reroute(const Route& route, Failure* failure);
    bool isDown(int link, const Failure& failure) const;
    std::vector<int> detour(const Route& route, const Route& backup) const;
    void add(const std::vector<int>& links, const PlanLsp& lsp, double sign);
    void addTo(std::size_t cell, double bandwidth);
    Load loadOf(std::size_t cell) const;
    void judge(Failure* failure) const;
    void putBack();

    const Plan& plan_;
    const Routes& routes_;
    std::size_t nbClasses_;
    std::vector<double> load_;          // by link * classes + class
    std::vector<std::size_t> byShare_;  // cells, the fullest first, with nothing failed
    std::vector<Change> changes_;       // of the failure in hand, each cell once
    std::vector<char> isChanged_;       // by cell
    std::vector<char> isPromised_;      // by demand: protection from link failures
};

}  // namespace workbench
