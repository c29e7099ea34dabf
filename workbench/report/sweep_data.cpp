#include "report/sweep_data.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>

#include "cli/error.h"
#include "report/markup.h"
#include "sweep/results.h"
#include "sweep/rows_json.h"

namespace workbench {

using nlohmann::json;

namespace {

constexpr int kWorstCases = 500;
constexpr std::size_t kGravest = 40;      // failures that the page has by name
constexpr std::size_t kDetails = 60'000;  // cases of these
constexpr int kMostPlans = 20'000;

class SweepData {
  public:
    explicit SweepData(const std::string& file) : database_(openResults(file)) {}

    json all() {
        json data = {{"version", KAVRIL_VERSION}};
        data["networks"] = rows("SELECT network, name, unit FROM networks");
        data["totals"] = rows(
            "SELECT count(*) AS cases, count(error) AS failed, "
            "count(CASE WHEN lost > 0 THEN 1 END) AS losing, "
            "count(CASE WHEN overloads > 0 THEN 1 END) AS overloading, "
            "max(worst_load) AS worstLoad FROM cases")[0];
        data["totals"]["plans"] = rows("SELECT count(*) AS n FROM plans")[0]["n"];
        data["totals"]["meanLost"] = rows(
            "SELECT avg(c.lost / p.carried) AS mean FROM cases c JOIN plans p "
            "USING (plan) WHERE c.error IS NULL AND p.carried > 0")[0]["mean"];
        data["plans"] = plans();
        data["worst"] = rows(fmt::format(
            "SELECT * FROM all_cases WHERE error IS NULL AND (lost > 0 OR overloads > 0) "
            "ORDER BY lost_share DESC, worst_load DESC, id LIMIT {}",
            kWorstCases));
        data["fullest"] = rows(
            "SELECT * FROM all_cases WHERE worst_load = (SELECT max(worst_load) FROM "
            "cases) ORDER BY id LIMIT 1");
        // By percent of what the plan carries: 0 for nothing, 1 for up to 1 %.
        data["histogram"] = rows(
            "SELECT p.protection, p.replanning, CASE WHEN c.lost > 0 AND p.carried > 0 "
            "THEN 1 + CAST(100 * c.lost / p.carried AS INTEGER) ELSE 0 END AS bin, "
            "count(*) AS cases FROM cases c JOIN plans p USING (plan) WHERE c.error IS "
            "NULL GROUP BY 1, 2, 3 ORDER BY 1, 2, 3");
        data["errors"] = rows(
            "SELECT p.matrix, c.error AS reason, count(*) AS cases FROM cases c JOIN "
            "plans p USING (plan) WHERE c.error IS NOT NULL GROUP BY 1, 2 ORDER BY 3 "
            "DESC LIMIT 100");
        addGravest(&data);
        return data;
    }

  private:
    json rows(const std::string& sql) { return rowsJson(database_.prepare(sql)); }

    json plans() {
        return rows(fmt::format(
            "SELECT p.plan, n.name AS network, p.matrix, p.scale, p.classes, p.weights, "
            "p.protection, p.replanning, p.id, p.requests, p.placed, p.offered, "
            "p.carried, p.refused, p.protected, p.error, s.cases, s.failed, s.worstLost, "
            "s.meanLost, s.worstLoad, s.overloading FROM plans p JOIN networks n "
            "USING (network) LEFT JOIN (SELECT plan, count(*) AS cases, count(error) AS "
            "failed, max(lost) AS worstLost, avg(lost) AS meanLost, max(worst_load) AS "
            "worstLoad, count(CASE WHEN overloads > 0 THEN 1 END) AS overloading FROM "
            "cases GROUP BY plan) s USING (plan) ORDER BY p.plan LIMIT {}",
            kMostPlans));
    }

    // Failures, by their number, that cost most, by themselves or as one of a pair.
    std::vector<int> gravestOf(int network, std::size_t count) {
        std::map<int, double> lost;
        Statement most = database_.prepare(
            "SELECT c.failure, c.second, max(c.lost) FROM cases c JOIN plans p USING "
            "(plan) WHERE p.network = ? AND c.failure > 0 GROUP BY 1, 2");
        most(network);
        while (most.next())
            for (const int part : {0, 1})
                if (const auto failure = static_cast<int>(most.whole(part)); failure > 0)
                    lost[failure] += most.number(2);
        std::vector<int> all;
        for (const auto& [failure, sum] : lost) all.push_back(failure);
        std::ranges::stable_sort(all, std::greater<>(), [&](int f) { return lost[f]; });
        all.resize(std::min(count, all.size()));
        return all;
    }

    void addGravest(json* data) {
        const std::size_t plans = std::max<std::size_t>(1, (*data)["plans"].size());
        std::size_t count = kGravest;
        while (count > 1 && plans * count * (count + 1) / 2 > kDetails) count--;
        (*data)["failures"] = json::array();
        (*data)["details"] = json::array();
        Statement failure = database_.prepare(
            "SELECT kind || ' ' || name FROM failures WHERE network = ? AND failure = ?");
        Statement details = database_.prepare(
            "SELECT c.plan, c.failure, c.second, c.lost, c.worst_load, c.overloads FROM "
            "plans p CROSS JOIN cases c USING (plan) WHERE p.network = ? AND c.failure = "
            "? AND c.error IS NULL");
        for (const json& network : (*data)["networks"]) {
            const int number = network["network"];
            const std::vector<int> gravest = gravestOf(number, count);
            const std::set<int> wanted(gravest.begin(), gravest.end());
            for (const int one : gravest) {
                failure(number, one).next();
                (*data)["failures"].push_back({number, one, failure.text(0)});
                details(number, one);
                while (details.next()) {
                    const auto second = static_cast<int>(details.whole(2));
                    if (second == 0 || wanted.contains(second))
                        (*data)["details"].push_back(
                            {details.whole(0), one, second, details.number(3),
                             details.number(4), details.whole(5)});
                }
            }
        }
    }

    Database database_;
};

}  // namespace

std::string sweepPageData(const std::string& results) {
    json data = SweepData(results).all();
    data["file"] = std::filesystem::path(results).filename().string();
    return withoutMarkup(data);
}

}  // namespace workbench
