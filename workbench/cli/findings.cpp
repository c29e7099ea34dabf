#include <fmt/format.h>

#include <map>

#include "cli/shared.h"

namespace workbench {

static std::map<FindingKind, int> countByKind(const Findings& findings) {
    std::map<FindingKind, int> counts;
    for (const Finding& finding : findings) counts[finding.kind]++;
    return counts;
}

void printFindings(const Findings& findings, const Shared& shared) {
    if (shared.quiet || shared.json) return;
    for (const auto& [kind, count] : countByKind(findings))
        fmt::print(stderr, "note: {}: {}\n", describe(kind), count);
    if (!shared.listFindings) return;
    for (const Finding& finding : findings)
        fmt::print(stderr, "  {}: {}\n", keyOf(finding.kind), finding.text);
}

nlohmann::json findingsJson(const Findings& findings, const Shared& shared) {
    nlohmann::json json = {{"counts", nlohmann::json::object()}};
    for (const auto& [kind, count] : countByKind(findings))
        json["counts"][keyOf(kind)] = count;
    if (!shared.listFindings) return json;
    json["list"] = nlohmann::json::array();
    for (const Finding& finding : findings)
        json["list"].push_back({{"kind", keyOf(finding.kind)}, {"text", finding.text}});
    return json;
}

Matrix readMatrix(const std::string& network, const std::string& demands,
                  const Shared& shared) {
    Matrix matrix;
    matrix.network = readNetwork(network, shared.reading, matrix.findings);
    matrix.demands =
        readDemands(demands.empty() ? network : demands, matrix.network, matrix.findings);
    printFindings(matrix.findings, shared);
    return matrix;
}

}  // namespace workbench
