// Where the traffic of an LSP goes when something fails.
#pragma once

#include <string>
#include <vector>

#include "audit/routes.h"

namespace workbench {

// What is down at a time, by link and by node. A node takes its links along.
class Outage {
  public:
    explicit Outage(const Network& network);

    void begin(const FailureSet& set);
    void end();

    bool hasLink(int link) const { return linkDown_[static_cast<std::size_t>(link)]; }
    bool hasNode(int node) const { return nodeDown_[static_cast<std::size_t>(node)]; }
    const std::vector<int>& links() const { return links_; }

  private:
    std::vector<std::vector<int>> atNode_;  // links
    std::vector<char> linkDown_;
    std::vector<char> nodeDown_;
    std::vector<int> links_;
    std::vector<int> nodes_;
};

struct Switchover {
    bool restored = false;
    bool endsHere = false;     // an end of the LSP is down
    std::vector<int> backups;  // in use, by id
    std::vector<int> links;    // that the traffic takes then
    std::string reason;        // why it is not restored
};

// Follows the traffic of a primary that is hit from its head on. In front of the first
// link that is down it takes a backup that guards this link and is up, and where that
// ends it is back on the primary. So several local backups may be in use at once.
Switchover switchOver(const Route& primary, const Outage& outage);

}  // namespace workbench
