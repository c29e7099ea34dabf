#include "audit/recompute.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <tuple>

namespace workbench {

namespace {

// Class, level, failed link.
using Cells = std::map<std::tuple<int, int, int>, double>;

struct Books {
    Cells backup;
    Cells freed;
};

void add(Cells* cells, const PlanLsp& lsp, int failedLink, double sign) {
    (*cells)[{lsp.trafficClass, lsp.level, failedLink}] += sign * lsp.bandwidth;
}

// Each link of a primary carries it, and is rid of it if any of them fails.
void bookPrimary(const Route& route, std::vector<Books>* books,
                 std::vector<LinkTables>* tables) {
    const PlanLsp& lsp = *route.lsp;
    for (int link : route.links) {
        (*tables)[link].primary[lsp.trafficClass][lsp.level] += lsp.bandwidth;
        for (int failed : route.links) add(&(*books)[link].freed, lsp, failed, 1.0);
    }
}

// A backup is carried by its links if a link that it guards fails. Where the primary
// keeps flowing then, before the backup's head and behind a local one's end, what the
// primary said to be freed is taken back.
void bookBackup(const Route& route, const Route& primary, std::vector<Books>* books) {
    const PlanLsp& lsp = *route.lsp;
    for (int link : route.links)
        for (int failed : route.guarded) add(&(*books)[link].backup, lsp, failed, 1.0);
    const std::vector<int>& nodes = primary.lsp->path;
    const auto head = std::ranges::find(nodes, lsp.path.front());
    const auto start = head - nodes.begin();
    const auto end = std::find(head, nodes.end(), lsp.path.back()) - nodes.begin();
    if (lsp.kind == LspKind::LOCAL_BACKUP) {
        for (std::ptrdiff_t hop = 0; hop < std::ssize(primary.links); hop++)
            if (hop < start || hop >= end)
                add(&(*books)[primary.links[hop]].freed, lsp, route.guarded.front(),
                    -1.0);
        return;
    }
    for (int link : primary.links)
        for (std::ptrdiff_t hop = 0; hop < start; hop++)
            add(&(*books)[link].freed, lsp, primary.links[hop], -1.0);
}

// Bandwidth that one failure activates and frees, by level.
struct Need {
    LevelTable backup = {};
    LevelTable freed = {};
};

// Failures by number: a link's own, a node's as -1 - node.
std::map<int, Need> needsOf(const Plan& plan, const Books& books, int trafficClass) {
    std::map<int, Need> needs;
    const auto collect = [&](const Cells& cells, LevelTable Need::*side) {
        for (const auto& [cell, bandwidth] : cells) {
            const auto [oa, level, failed] = cell;
            if (oa != trafficClass) continue;
            const int head = -1 - plan.network.links[failed].dst;
            (needs[failed].*side)[level] += bandwidth;
            (needs[head].*side)[level] += bandwidth;
        }
    };
    collect(books.backup, &Need::backup);
    collect(books.freed, &Need::freed);
    return needs;
}

// The levels up to p reserve their primaries and the worst failure's need, summed over
// those levels.
LevelTable reservedOf(const Plan& plan, const Books& books, const LevelTable& primary,
                      int trafficClass) {
    LevelTable worst = {};
    for (const auto& [failure, need] : needsOf(plan, books, trafficClass)) {
        double backup = 0.0;
        double freed = 0.0;
        for (int level = 0; level < kPlanLevels; level++) {
            backup += need.backup[level];
            freed += need.freed[level];
            worst[level] = std::max(worst[level], backup - freed);
        }
    }
    LevelTable reserved = {};
    for (int level = 0; level < kPlanLevels; level++)
        reserved[level] =
            primary[level] + worst[level] - (level > 0 ? worst[level - 1] : 0.0);
    return reserved;
}

std::vector<FailureCell> cellsOf(const Cells& cells) {
    std::vector<FailureCell> all;
    for (const auto& [cell, bandwidth] : cells)
        if (bandwidth != 0.0)
            all.push_back(
                {std::get<0>(cell), std::get<1>(cell), std::get<2>(cell), bandwidth});
    return all;
}

// Compares the cells of one link.
class Comparison {
  public:
    Comparison(int link, double scale, TableCheck* check)
        : link_(link), scale_(scale), check_(check) {}

    void compare(const char* table, int oa, int level, int failed, double inPlan,
                 double recomputed) {
        if (inPlan == 0.0 && recomputed == 0.0) return;
        check_->cells++;
        const double tolerance =
            kRounding * std::max({scale_, std::abs(inPlan), std::abs(recomputed)});
        if (inPlan == recomputed)
            check_->exact++;
        else if (std::abs(inPlan - recomputed) <= tolerance)
            check_->rounding++;
        else
            check_->differing.push_back(
                {link_, table, oa, level, failed, inPlan, recomputed});
    }

    void compare(const char* table, const std::vector<FailureCell>& inPlan,
                 const std::vector<FailureCell>& recomputed) {
        std::map<std::tuple<int, int, int>, std::pair<double, double>> pairs;
        for (const FailureCell& cell : inPlan)
            pairs[{cell.trafficClass, cell.level, cell.failedLink}].first +=
                cell.bandwidth;
        for (const FailureCell& cell : recomputed)
            pairs[{cell.trafficClass, cell.level, cell.failedLink}].second =
                cell.bandwidth;
        for (const auto& [cell, both] : pairs)
            compare(table, std::get<0>(cell), std::get<1>(cell), std::get<2>(cell),
                    both.first, both.second);
    }

  private:
    int link_;
    double scale_;
    TableCheck* check_;
};

}  // namespace

std::vector<LinkTables> recomputeTables(const Plan& plan, const Routes& routes) {
    const std::size_t classes = plan.configuration.classes.size();
    std::vector<LinkTables> tables(plan.network.links.size());
    std::vector<Books> books(tables.size());
    for (LinkTables& link : tables) link.primary.resize(classes);
    for (const Route& route : routes.all())
        if (route.lsp->kind == LspKind::PRIMARY)
            bookPrimary(route, &books, &tables);
        else
            bookBackup(route, *routes.find(route.lsp->primary), &books);
    for (std::size_t i = 0; i < tables.size(); i++) {
        for (std::size_t oa = 0; oa < classes; oa++) {
            tables[i].capacity.push_back(
                capacityOf(plan, static_cast<int>(i), static_cast<int>(oa)));
            tables[i].reserved.push_back(
                reservedOf(plan, books[i], tables[i].primary[oa], static_cast<int>(oa)));
        }
        tables[i].backup = cellsOf(books[i].backup);
        tables[i].freed = cellsOf(books[i].freed);
    }
    return tables;
}

TableCheck checkTables(const Plan& plan, const std::vector<LinkTables>& recomputed) {
    TableCheck check;
    for (std::size_t i = 0; i < recomputed.size(); i++) {
        const LinkTables& inPlan = plan.links[i];
        const LinkTables& own = recomputed[i];
        Comparison link(static_cast<int>(i), plan.network.links[i].capacity, &check);
        for (int oa = 0; oa < std::ssize(own.capacity); oa++) {
            link.compare("capacity", oa, 0, -1, inPlan.capacity[oa], own.capacity[oa]);
            for (int level = 0; level < kPlanLevels; level++) {
                link.compare("primary", oa, level, -1, inPlan.primary[oa][level],
                             own.primary[oa][level]);
                link.compare("reserved", oa, level, -1, inPlan.reserved[oa][level],
                             own.reserved[oa][level]);
            }
        }
        link.compare("backup", inPlan.backup, own.backup);
        link.compare("freed", inPlan.freed, own.freed);
    }
    return check;
}

}  // namespace workbench
