#include "plan.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace workbench {

namespace {

double sumOf(const LevelTable& levels) {
    return std::accumulate(levels.begin(), levels.end(), 0.0);
}

void countOutcomes(const Plan& plan, Summary* summary) {
    for (const PlanDemand& demand : plan.demands) {
        summary->requested++;
        summary->offered += demand.bandwidth;
        switch (demand.outcome) {
            case Outcome::PLACED:
                summary->placed++;
                break;
            case Outcome::REFUSED:
                summary->refused++;
                break;
            case Outcome::REPLACED:
                summary->replaced++;
                break;
            case Outcome::PREEMPTED:
                summary->preempted++;
                break;
        }
        if (demand.lsp < 0) continue;
        summary->carried += demand.bandwidth;
        summary->unprotected += demand.unprotected.empty() ? 0 : 1;
    }
}

void sumTables(const Plan& plan, Summary* summary) {
    std::vector<double> reserved;
    std::vector<double> primary;
    for (const LinkTables& link : plan.links)
        for (std::size_t oa = 0; oa < link.capacity.size(); oa++) {
            const double booked = sumOf(link.reserved[oa]);
            const double carried = sumOf(link.primary[oa]);
            summary->backupShared += booked - carried;
            if (link.capacity[oa] <= 0.0) continue;
            reserved.push_back(booked / link.capacity[oa]);
            primary.push_back(carried / link.capacity[oa]);
        }
    summary->reserved = sharesOf(std::move(reserved));
    summary->primary = sharesOf(std::move(primary));
}

}  // namespace

Shares sharesOf(std::vector<double> shares) {
    if (shares.empty()) return {};
    std::sort(shares.begin(), shares.end());
    const auto rank =
        static_cast<std::size_t>(std::ceil(0.95 * static_cast<double>(shares.size())));
    return {.mean = std::accumulate(shares.begin(), shares.end(), 0.0) /
                    static_cast<double>(shares.size()),
            .percentile95 = shares[rank - 1],
            .maximum = shares.back()};
}

Summary summarise(const Plan& plan) {
    Summary summary;
    countOutcomes(plan, &summary);
    sumTables(plan, &summary);
    for (const PlanLsp& lsp : plan.lsps) {
        if (lsp.kind == LspKind::PRIMARY) continue;
        summary.backups++;
        summary.backupDedicated +=
            lsp.bandwidth * static_cast<double>(lsp.path.size() - 1);
    }
    return summary;
}

const char* toText(Protection protection) {
    switch (protection) {
        case Protection::LOCAL:
            return "local";
        case Protection::GLOBAL:
            return "global";
        case Protection::NONE:
            break;
    }
    return "none";
}

const char* toText(Routing routing) {
    return routing == Routing::SHORTEST_PATH ? "shortest-path" : "admitted";
}

const char* toText(Order order) {
    switch (order) {
        case Order::LARGEST:
            return "largest";
        case Order::SHUFFLED:
            return "shuffled";
        case Order::GIVEN:
            break;
    }
    return "given";
}

const char* toText(Outcome outcome) {
    switch (outcome) {
        case Outcome::PLACED:
            return "placed";
        case Outcome::REPLACED:
            return "re-placed";
        case Outcome::PREEMPTED:
            return "preempted";
        case Outcome::REFUSED:
            break;
    }
    return "refused";
}

const char* toText(FailureKind kind) {
    switch (kind) {
        case FailureKind::LINK:
            return "link";
        case FailureKind::CABLE:
            return "cable";
        case FailureKind::NODE:
            return "node";
        case FailureKind::GROUP:
            return "group";
        case FailureKind::PAIR:
            return "pair";
        case FailureKind::CUSTOM:
            break;
    }
    return "custom";
}

bool isDrained(const Plan& plan, int link) {
    const auto has = [](const std::vector<int>& ids, int id) {
        return std::ranges::find(ids, id) != ids.end();
    };
    const Link& one = plan.network.links[static_cast<std::size_t>(link)];
    return has(plan.drained.links, link) || has(plan.drained.nodes, one.src) ||
           has(plan.drained.nodes, one.dst);
}

double capacityOf(const Plan& plan, int link, int trafficClass) {
    if (isDrained(plan, link)) return 0.0;
    return plan.network.links[static_cast<std::size_t>(link)].capacity *
           plan.configuration.classes[static_cast<std::size_t>(trafficClass)]
               .capacityShare;
}

int usualLevel(const Configuration& configuration, int trafficClass) {
    const auto part =
        std::ranges::find(configuration.parts, trafficClass, &TrafficPart::trafficClass);
    return part == configuration.parts.end() ? 0 : part->level;
}

const char* toText(LspKind kind) {
    switch (kind) {
        case LspKind::LOCAL_BACKUP:
            return "local";
        case LspKind::GLOBAL_BACKUP:
            return "global";
        case LspKind::PRIMARY:
            break;
    }
    return "primary";
}

}  // namespace workbench
