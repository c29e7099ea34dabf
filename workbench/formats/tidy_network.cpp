#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <set>
#include <unordered_map>
#include <unordered_set>

#include "cli/error.h"
#include "formats/tidy.h"
#include "formats/units.h"
#include "graph/graph.h"

namespace workbench {

namespace {

// One line, without blanks at its ends.
std::string cleanName(const std::string& text) {
    std::string name;
    for (const char letter : text) {
        const auto code = static_cast<unsigned char>(letter);
        const bool blank = code <= ' ' || code == 127;
        if (!blank)
            name += letter;
        else if (!name.empty() && name.back() != ' ')
            name += ' ';
    }
    if (!name.empty() && name.back() == ' ') name.pop_back();
    return name;
}

class Tidier {
  public:
    Tidier(const Draft& draft, const ReadOptions& options, Findings& findings)
        : draft_(draft), options_(options), findings_(findings) {}

    Network run() {
        network_.name = draft_.name;
        network_.unit = draft_.unit;
        network_.geographic = draft_.geographic;
        findings_.insert(findings_.end(), draft_.findings.begin(), draft_.findings.end());
        addNodes();
        const bool openAsDirected = decideDirection();
        for (const DraftLink& link : draft_.links) addLink(link, openAsDirected);
        if (!network_.links.empty()) noteComponents();
        return std::move(network_);
    }

  private:
    void note(FindingKind kind, int line, const std::string& text) {
        findings_.push_back({kind, placeIn(draft_, line) + text});
    }

    std::string freeName(const std::string& wanted) const {
        std::string name = wanted;
        for (int copy = 2; names_.contains(name); copy++)
            name = fmt::format("{} ({})", wanted, copy);
        return name;
    }

    void addNodes() {
        for (const DraftNode& node : draft_.nodes) {
            const int id = static_cast<int>(network_.nodes.size());
            if (!nodeOf_.emplace(node.id, id).second)
                throw InputError(
                    draft_.file, node.line,
                    fmt::format("expected an id of its own, '{}' is taken", node.id));
            const std::string given = cleanName(node.name);
            const std::string name =
                freeName(given.empty() ? fmt::format("node {}", node.id) : given);
            if (name != given)
                note(FindingKind::RenamedNode, node.line,
                     fmt::format("node {} '{}' is now '{}'", node.id, given, name));
            names_.insert(name);
            network_.nodes.push_back({id, name, node.position});
        }
    }

    int resolve(const NodeRef& ref, int line) const {
        const auto count = static_cast<int>(network_.nodes.size());
        if (ref.number >= 0 && ref.number < count) return ref.number;
        const auto found = nodeOf_.find(ref.id);
        if (ref.number < 0 && found != nodeOf_.end()) return found->second;
        throw InputError(draft_.file, line,
                         ref.number < 0
                             ? fmt::format("expected the id of a node, got '{}'", ref.id)
                             : fmt::format("expected a node number below {}, got {}",
                                           count, ref.number));
    }

    // Whether links whose direction is open are to be taken one way.
    bool decideDirection() {
        std::set<std::pair<int, int>> pairs;
        for (const DraftLink& link : draft_.links)
            if (link.way == Way::Open)
                pairs.emplace(resolve(link.src, link.line), resolve(link.dst, link.line));
        if (pairs.empty()) return true;
        if (options_.direction != Direction::Auto)
            return options_.direction == Direction::Directed;
        const bool bothWays =
            std::all_of(pairs.begin(), pairs.end(), [&](const auto& pair) {
                return pairs.contains({pair.second, pair.first});
            });
        note(FindingKind::AssumedDirection, 0,
             bothWays
                 ? "every link has its reverse in the file: links are directed"
                 : "links do not have their reverse in the file: they are undirected");
        return bothWays;
    }

    std::string nameOf(const DraftLink& link, int src, int dst) const {
        return fmt::format("link {}{}{} > {}", link.name, link.name.empty() ? "" : " ",
                           network_.nodes[src].name, network_.nodes[dst].name);
    }

    double capacityOf(const DraftLink& link, const std::string& name) {
        if (link.capacity) return *link.capacity;
        if (link.modules.empty()) {
            note(FindingKind::DefaultCapacity, link.line,
                 fmt::format("{}: capacity {}", name,
                             formatBandwidth(options_.defaultCapacity, network_.unit)));
            return options_.defaultCapacity;
        }
        const auto [least, most] =
            std::minmax_element(link.modules.begin(), link.modules.end());
        const double capacity = options_.module == ModuleChoice::Largest ? *most : *least;
        note(FindingKind::ModuleCapacity, link.line,
             fmt::format("{}: module of {}, out of {}", name,
                         formatBandwidth(capacity, network_.unit), link.modules.size()));
        return capacity;
    }

    bool isDuplicate(const DraftLink& link, int src, int dst) {
        if (link.name.empty()) return false;
        const double capacity = link.capacity.value_or(-1);
        return !seen_.emplace(link.name, src, dst, capacity).second;
    }

    void addLink(const DraftLink& link, bool openAsDirected) {
        const int src = resolve(link.src, link.line);
        const int dst = resolve(link.dst, link.line);
        const std::string name = nameOf(link, src, dst);
        if (src == dst) return note(FindingKind::SelfLoop, link.line, name);
        if (isDuplicate(link, src, dst))
            return note(FindingKind::DuplicateLink, link.line, name);
        const double capacity = capacityOf(link, name);
        addDirection(link, src, dst, capacity);
        if (link.way == Way::Directed || (link.way == Way::Open && openAsDirected))
            return;
        note(FindingKind::UndirectedLink, link.line, name);
        addDirection(link, dst, src, capacity);
    }

    void addDirection(const DraftLink& link, int src, int dst, double capacity) {
        const int id = static_cast<int>(network_.links.size());
        const auto [found, added] = linkOf_.try_emplace({src, dst}, id);
        if (!added) return merge(link, capacity, &network_.links[found->second]);
        network_.links.push_back({.id = id,
                                  .src = src,
                                  .dst = dst,
                                  .capacity = capacity,
                                  .colour = link.colour,
                                  .metric = link.metric,
                                  .delay = link.delay,
                                  .name = link.name,
                                  .groups = link.groups});
    }

    // The first link keeps its name, metric and delay; a colour of any part counts.
    void merge(const DraftLink& link, double capacity, Link* first) {
        first->capacity += capacity;
        first->colour |= link.colour;
        first->groups.insert(first->groups.end(), link.groups.begin(), link.groups.end());
        note(FindingKind::MergedLink, link.line,
             fmt::format("{}: {} more, {} in all", nameOf(link, first->src, first->dst),
                         formatBandwidth(capacity, network_.unit),
                         formatBandwidth(first->capacity, network_.unit)));
    }

    void noteComponents() {
        const Components parts = components(network_);
        if (parts.sizes.size() < 2) return;
        std::vector<bool> named(parts.sizes.size());
        for (const Node& node : network_.nodes) {
            const int part = parts.of[node.id];
            if (named[part]) continue;
            named[part] = true;
            note(FindingKind::SeparateComponents, 0,
                 fmt::format("part {} of {}: {} nodes, {} among them", part + 1,
                             parts.sizes.size(), parts.sizes[part], node.name));
        }
    }

    const Draft& draft_;
    const ReadOptions& options_;
    Findings& findings_;
    Network network_;
    std::unordered_map<std::string, int> nodeOf_;  // by id
    std::unordered_set<std::string> names_;
    std::map<std::pair<int, int>, int> linkOf_;
    std::set<std::tuple<std::string, int, int, double>> seen_;
};

}  // namespace

std::string placeIn(const Draft& draft, int line) {
    return line > 0 ? fmt::format("{}:{}: ", draft.file, line) : draft.file + ": ";
}

Network tidyNetwork(const Draft& draft, const ReadOptions& options, Findings& findings) {
    return Tidier(draft, options, findings).run();
}

}  // namespace workbench
