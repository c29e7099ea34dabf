// The LSPs of a plan as routes over links, found by what they cross.
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "plan.h"

namespace workbench {

struct Route {
    const PlanLsp* lsp = nullptr;
    std::vector<int> links;
    std::vector<const Route*> backups;  // of a primary
    std::vector<int> guarded;  // of a backup: links of its primary, by where it starts
};

class Routes {
  public:
    // Notes in `problems` whatever does not hold together, and leaves it out.
    Routes(const Plan& plan, std::vector<std::string>* problems);
    Routes(const Routes&) = delete;
    Routes& operator=(const Routes&) = delete;

    const std::vector<Route>& all() const { return routes_; }
    const Route* find(int lsp) const;

    // Primaries that cross a link, or touch a node, in the order of ids.
    const std::vector<const Route*>& onLink(int link) const { return onLink_[link]; }
    const std::vector<const Route*>& atNode(int node) const { return atNode_[node]; }

    int linkBetween(int src, int dst) const;  // -1 if there is none
    std::vector<int> linksOf(const std::vector<int>& path) const;

  private:
    std::string addRoute(const Plan& plan, const PlanLsp& lsp);
    std::string checkBackup(Route* backup) const;
    void index(const Plan& plan);

    std::unordered_map<long long, int> linkOf_;
    std::vector<Route> routes_;
    std::unordered_map<int, std::size_t> position_;  // in routes_, by id
    std::vector<std::vector<const Route*>> onLink_;
    std::vector<std::vector<const Route*>> atNode_;
    long long nbNodes_ = 0;
};

}  // namespace workbench
