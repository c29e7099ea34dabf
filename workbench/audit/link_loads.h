// What every link carries of every class, with nothing failed and while something is.
#pragma once

#include <cstddef>
#include <vector>

#include "audit/audit.h"
#include "audit/routes.h"

namespace workbench {

bool isOverloaded(const Load& load);

// Cells are numbered link * classes + class. A failure moves a few LSPs: only the cells
// that it touches are looked at and put back. Sums keep the order in which LSPs are
// added, so that the same failure gives the same bits every time.
class LinkLoads {
  public:
    LinkLoads(const Plan& plan, const Routes& routes);

    void add(const std::vector<int>& links, const PlanLsp& lsp, double sign);

    // Back to nothing failed.
    void putBack();

    Load loadOf(std::size_t cell) const;
    std::size_t size() const { return load_.size(); }

    // Now; link -1 if there is no link.
    Load fullest() const;

    // Links above their capacity: of all, or of those that have changed.
    std::vector<Load> overloads() const;
    std::vector<Load> changedOverloads() const;

    template <class Act>
    void forEachChanged(Act act) const {
        for (const Change& change : changes_) act(change.cell);
    }

  private:
    struct Change {
        std::size_t cell;
        double before;
    };

    std::size_t nbClasses_;
    std::vector<double> capacity_;
    std::vector<double> load_;
    std::vector<std::size_t> byShare_;  // the fullest first, with nothing failed
    std::vector<Change> changes_;       // each cell once
    std::vector<char> isChanged_;
};

}  // namespace workbench
