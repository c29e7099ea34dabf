// Shortest paths by what a link counts, and how much longer an LSP's path is.
#pragma once

#include <limits>
#include <map>
#include <vector>

#include "plan.h"

namespace workbench {

inline constexpr double kNoWay = std::numeric_limits<double>::infinity();

// What every link counts: its metric, or 1 for all if the network has no metrics. A link
// that states none among others that do counts 1.
std::vector<double> metricsOf(const Network& network);

// The shortest path of at most maxHops links (0 for any), links that count kNoWay left
// out. Empty if there is none. The fewest links among equally short ones.
std::vector<int> shortestPath(const Network& network, const std::vector<double>& lengths,
                              int src, int dst, int maxHops = 0);

// The shortest paths by the metrics of a network, whatever room there is: those of a
// routing protocol that knows nothing else. Trees are kept, one per source asked for.
class ShortestPaths {
  public:
    explicit ShortestPaths(const Network& network);

    // Empty if there is no path.
    std::vector<int> links(int src, int dst);

    // Length of a path against the shortest between its ends; 1 is as short as can be.
    double stretch(const std::vector<int>& path);
    // The same of a path that is named by its links, one at least.
    double stretchOver(const std::vector<int>& links);

  private:
    // Length of the shortest path to every node, and its last link, -1 where there is
    // none.
    struct Tree {
        std::vector<double> lengths;
        std::vector<int> last;
    };
    const Tree& treeFrom(int src);
    double lengthOf(const std::vector<int>& path) const;
    double against(int src, int dst, double length);

    const Network& network_;
    std::vector<std::vector<int>> out_;  // links, by node
    std::vector<double> lengths_;        // by link
    std::map<int, Tree> trees_;
};

// How much longer the paths of some LSPs are than they could be.
struct Stretch {
    double total = 0.0;
    int lsps = 0;
    double maximum = 1.0;
    int longest = -1;  // LSP with the maximum

    void add(int lsp, double stretch);
    void add(const Stretch& more);
    double mean() const { return lsps > 0 ? total / lsps : 1.0; }
};

// Of every LSP of a plan.
std::vector<double> stretches(const Plan& plan);

// What the links would carry if every demand took its shortest path whatever room there
// is: the plan of a routing protocol that knows its metrics only.
struct Baseline {
    double carried = 0.0;  // bandwidth of the demands that have a path
    Shares shares;         // of all classes together, over links with a capacity
    int overloaded = 0;    // links above their capacity
    int fullest = -1;      // link
};
Baseline baselineOf(const Plan& plan);

}  // namespace workbench
