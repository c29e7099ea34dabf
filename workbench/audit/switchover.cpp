#include "audit/switchover.h"

#include <algorithm>

namespace workbench {

Outage::Outage(const Network& network)
    : atNode_(network.nodes.size()),
      linkDown_(network.links.size(), 0),
      nodeDown_(network.nodes.size(), 0) {
    for (int id = 0; id < std::ssize(network.links); id++) {
        atNode_[network.links[id].src].push_back(id);
        atNode_[network.links[id].dst].push_back(id);
    }
}

void Outage::begin(const FailureSet& set) {
    links_ = set.links;
    nodes_ = set.nodes;
    for (int node : nodes_) {
        nodeDown_[node] = 1;
        links_.insert(links_.end(), atNode_[node].begin(), atNode_[node].end());
    }
    for (int link : links_) linkDown_[link] = 1;
}

void Outage::end() {
    for (int link : links_) linkDown_[link] = 0;
    for (int node : nodes_) nodeDown_[node] = 0;
}

namespace {

// The backup of a primary to take in front of one of its links. Traffic that has left the
// primary before cannot go back to an earlier node of it.
const Route* backupFor(const Route& primary, std::size_t hop, bool hasLeft,
                       const Outage& outage, std::string* reason) {
    *reason = primary.backups.empty() ? "has no backup"
                                      : "no backup is there for a link that is down";
    for (const Route* backup : primary.backups) {
        if (std::ranges::count(backup->guarded, primary.links[hop]) == 0) continue;
        if (hasLeft && backup->lsp->path.front() != primary.lsp->path[hop]) continue;
        if (std::ranges::none_of(backup->links,
                                 [&](int link) { return outage.hasLink(link); }))
            return backup;
        *reason = "backup " + std::to_string(backup->lsp->id) + " is down too";
    }
    return nullptr;
}

std::size_t positionOf(int node, const std::vector<int>& path, std::size_t from) {
    return static_cast<std::size_t>(
        std::find(path.begin() + static_cast<std::ptrdiff_t>(from), path.end(), node) -
        path.begin());
}

}  // namespace

Switchover switchOver(const Route& primary, const Outage& outage) {
    const std::vector<int>& nodes = primary.lsp->path;
    Switchover result;
    if (outage.hasNode(nodes.front()) || outage.hasNode(nodes.back())) {
        result.endsHere = true;
        result.reason = "ends at a node that is down";
        return result;
    }
    std::size_t hop = 0;
    while (hop < primary.links.size()) {
        if (!outage.hasLink(primary.links[hop])) {
            result.links.push_back(primary.links[hop++]);
            continue;
        }
        const Route* backup =
            backupFor(primary, hop, !result.backups.empty(), outage, &result.reason);
        if (backup == nullptr) return result;
        const std::size_t head = positionOf(backup->lsp->path.front(), nodes, 0);
        if (result.backups.empty()) result.links.resize(head);
        result.backups.push_back(backup->lsp->id);
        result.links.insert(result.links.end(), backup->links.begin(),
                            backup->links.end());
        hop = positionOf(backup->lsp->path.back(), nodes, head);
    }
    result.restored = true;
    result.reason.clear();
    return result;
}

}  // namespace workbench
