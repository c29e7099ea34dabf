#include "bound/flow_bound.h"

#ifdef KAVRIL_CLP
#include <ClpSimplex.hpp>
#include <CoinPackedMatrix.hpp>
#endif

#include <algorithm>
#include <map>
#include <set>

namespace workbench {

#ifdef KAVRIL_CLP

namespace {

constexpr std::size_t kMostFlows = 100000;  // links times sources; more takes too long

using Matrix =
    std::map<int, std::map<int, double>>;  // bandwidth by source and destination

// Columns: the factor, then a flow per source and link. Rows: for each source and other
// node what stays there, then for each link what it carries.
class Program {
  public:
    Program(const Plan& plan, int trafficClass, const Matrix& matrix)
        : plan_(plan), oa_(trafficClass), matrix_(matrix) {}

    bool solve(FlowBound* bound) {
        build();
        ClpSimplex model;
        model.setLogLevel(0);
        const CoinPackedMatrix cells(true, rows_.data(), columns_.data(), values_.data(),
                                     static_cast<CoinBigIndex>(values_.size()));
        std::vector<double> lower(nbColumns_, 0.0);
        std::vector<double> upper(nbColumns_, COIN_DBL_MAX);
        std::vector<double> gain(nbColumns_, 0.0);
        gain[0] = 1.0;
        model.loadProblem(cells, lower.data(), upper.data(), gain.data(),
                          rowLower_.data(), rowUpper_.data());
        model.setOptimizationDirection(-1);
        model.dual();
        if (!model.isProvenOptimal()) return false;
        const double factor = model.primalColumnSolution()[0];
        if (!bound->tight.empty() && factor >= bound->factor) return true;
        bound->factor = factor;
        bound->tight.clear();
        for (const Link& link : plan_.network.links)
            if (std::abs(model.dualRowSolution()[firstLinkRow_ + link.id]) > 1e-12)
                bound->tight.push_back(link.id);
        return true;
    }

  private:
    void put(int row, int column, double value) {
        rows_.push_back(row);
        columns_.push_back(column);
        values_.push_back(value);
    }

    void build() {
        const auto& links = plan_.network.links;
        const int nodes = static_cast<int>(plan_.network.nodes.size());
        const int sources = static_cast<int>(matrix_.size());
        firstLinkRow_ = sources * nodes;
        nbColumns_ = 1 + static_cast<std::size_t>(sources) * links.size();
        rowLower_.assign(static_cast<std::size_t>(firstLinkRow_) + links.size(), 0.0);
        rowUpper_ = rowLower_;
        int number = 0;
        for (const auto& [source, bandwidths] : matrix_) {
            const int first = number * nodes;
            // The source's own row follows from the others.
            rowLower_[first + source] = -COIN_DBL_MAX;
            rowUpper_[first + source] = COIN_DBL_MAX;
            for (const auto& [node, bandwidth] : bandwidths)
                put(first + node, 0, -bandwidth);
            for (const Link& link : links) {
                const int column = 1 + number * static_cast<int>(links.size()) + link.id;
                put(first + link.dst, column, 1.0);
                put(first + link.src, column, -1.0);
                put(firstLinkRow_ + link.id, column, 1.0);
            }
            number++;
        }
        for (const Link& link : links) {
            rowLower_[firstLinkRow_ + link.id] = -COIN_DBL_MAX;
            rowUpper_[firstLinkRow_ + link.id] = capacityOf(plan_, link.id, oa_);
        }
    }

    const Plan& plan_;
    int oa_;
    const Matrix& matrix_;
    int firstLinkRow_ = 0;
    std::size_t nbColumns_ = 0;
    std::vector<int> rows_;
    std::vector<int> columns_;
    std::vector<double> values_;
    std::vector<double> rowLower_;
    std::vector<double> rowUpper_;
};

}  // namespace

FlowBound flowBound(const Plan& plan, const std::vector<PlanDemand>& demands,
                    const std::vector<char>& counted) {
    std::map<int, Matrix> matrices;  // by class
    for (std::size_t i = 0; i < demands.size(); i++)
        if (counted[i])
            matrices[demands[i].trafficClass][demands[i].src][demands[i].dst] +=
                demands[i].bandwidth;
    FlowBound bound;
    for (const auto& [oa, matrix] : matrices) {
        if (matrix.size() * plan.network.links.size() > kMostFlows) {
            bound.whyNot = "the network is too large for it";
            return bound;
        }
        if (!Program(plan, oa, matrix).solve(&bound)) {
            bound.whyNot = "the linear program found no end";
            return bound;
        }
    }
    bound.known = !matrices.empty();
    if (!bound.known) bound.whyNot = "there are no demands";
    return bound;
}

#else

FlowBound flowBound(const Plan&, const std::vector<PlanDemand>&,
                    const std::vector<char>&) {
    return {.whyNot =
                "this build is without the linear program (on Debian: apt-get "
                "install coinor-libclp-dev, and build again)",
            .tight = {}};
}

#endif

}  // namespace workbench
