// kavril upgrade: where more capacity would help most.
#include <fmt/format.h>

#include <algorithm>

#include "audit/audit_json.h"
#include "audit/failure_sets.h"
#include "bound/flow_bound.h"
#include "cli/progress.h"
#include "commands/class_table.h"
#include "commands/commands.h"
#include "commands/failures.h"
#include "commands/promises.h"
#include "engine/change.h"
#include "engine/promises.h"

namespace workbench {

namespace {

using nlohmann::json;

struct Options {
    std::string plan;
    std::optional<double> step;
    std::size_t candidates = 8;
};

// Nodes that little capacity joins to the others, for the traffic that has to cross.
struct Cut {
    std::vector<int> nodes;
    std::vector<int> links;
    double demand = 0.0;
    double capacity = 0.0;
    double share() const { return capacity > 0.0 ? demand / capacity : 0.0; }
};

Cut cutAround(const Plan& plan, const std::vector<char>& inside) {
    Cut cut;
    for (const Link& link : plan.network.links)
        if (inside[link.src] && !inside[link.dst] && !isDrained(plan, link.id)) {
            cut.links.push_back(link.id);
            cut.capacity += link.capacity;
        }
    for (const PlanDemand& demand : plan.demands)
        if (inside[demand.src] && !inside[demand.dst]) cut.demand += demand.bandwidth;
    return cut;
}

// Grows a set from every node by the neighbour that makes its cut the tightest.
Cut tightestCut(const Plan& plan, const std::function<void()>& step) {
    const std::size_t nodes = plan.network.nodes.size();
    Cut tightest;
    for (std::size_t seed = 0; seed < nodes; seed++) {
        std::vector<char> inside(nodes, 0);
        inside[seed] = 1;
        for (std::size_t size = 1; size < nodes; size++) {
            const Cut cut = cutAround(plan, inside);
            if (cut.share() > tightest.share()) {
                tightest = cut;
                tightest.nodes.clear();
                for (std::size_t i = 0; i < nodes; i++)
                    if (inside[i]) tightest.nodes.push_back(static_cast<int>(i));
            }
            int best = -1;
            double most = -1.0;
            for (int link : cut.links) {
                const int next = plan.network.links[link].dst;
                inside[next] = 1;
                if (const double share = cutAround(plan, inside).share(); share > most) {
                    most = share;
                    best = next;
                }
                inside[next] = 0;
            }
            if (best < 0) break;
            inside[best] = 1;
        }
        step();
    }
    return tightest;
}

struct Figures {
    Verdict verdict;
    int unprotected = 0;
    FlowBound bound;

    double carried() const { return verdict.all.bandwidthCarried; }
    double isProtected() const { return verdict.all.bandwidthProtected; }
};

Figures figuresOf(const Plan& plan, const AuditResult& result) {
    return {.verdict = verdictOf(plan, result),
            .unprotected = summarise(plan).unprotected,
            .bound =
                flowBound(plan, plan.demands, std::vector<char>(plan.demands.size(), 1))};
}

struct Addition {
    FailureSet cable;
    double added = 0.0;
    Figures figures;
};

// Cables that hold the optimum down, cross the tightest cut or are the fullest.
std::vector<Addition> candidatesFor(const Plan& plan, const AuditResult& result,
                                    const Figures& now, const Cut& cut,
                                    const Options& options) {
    std::vector<double> worst(plan.network.links.size(), 0.0);
    for (const WorstLoad& one : result.worst)
        worst[one.load.link] = std::max(worst[one.load.link], one.load.share());
    for (int link : cut.links) worst[link] += 1.0;
    for (int link : now.bound.tight) worst[link] += 2.0;
    std::vector<std::pair<double, Addition>> ranked;
    for (FailureSet& cable : cableFailures(plan.network)) {
        double rank = 0.0;
        for (int link : cable.links) rank = std::max(rank, worst[link]);
        double added = plan.network.links[cable.links.front()].capacity;
        if (options.step) added = *options.step;
        ranked.push_back(
            {rank, {.cable = std::move(cable), .added = added, .figures = {}}});
    }
    std::ranges::stable_sort(ranked, {}, [](const auto& one) { return -one.first; });
    std::vector<Addition> candidates;
    for (auto& [rank, one] : ranked)
        if (candidates.size() < options.candidates) candidates.push_back(std::move(one));
    return candidates;
}

void tryOut(const Plan& plan, Addition* addition, Progress* progress) {
    progress->start({{"trying " + addition->cable.name}});
    Change change;
    change.drained = plan.drained;
    for (int link : addition->cable.links)
        change.capacities.push_back(
            {link, plan.network.links[link].capacity + addition->added});
    Plan changed = plan;
    const Step step = [progress] { progress->advance(); };
    applyChange(&changed, change, step);
    keepPromises(&changed, step);
    addition->figures = figuresOf(changed, auditShown(changed, progress));
}

json toJson(const Figures& figures, const Plan& plan) {
    return {{"carried", figures.carried()},
            {"protected", figures.isProtected()},
            {"worstLost", figures.verdict.all.worstLost},
            {"worstLoad", figures.verdict.worstLoad},
            {"unprotected", figures.unprotected},
            {"levels", toJson(figures.verdict.levels, plan)},
            {"optimum", figures.bound.known ? json(figures.bound.factor) : json()}};
}

std::string optimum(const Figures& figures) {
    return figures.bound.known ? fmt::format("{:.4g}", figures.bound.factor) : "-";
}

std::string nameOf(const Addition& addition, const std::string& unit) {
    return addition.cable.name + " +" + formatBandwidth(addition.added, unit);
}

// How much of the requested bandwidth is protected then.
void printLevels(const Plan& plan, const Figures& now,
                 const std::vector<Addition>& additions) {
    if (now.verdict.levels.size() < 2) return;
    fmt::print("  {:<40}", "protected, of what is requested");
    for (const Fate& fate : now.verdict.levels)
        fmt::print(
            " {:>12}",
            fmt::format("{} {}", plan.configuration.classes[fate.trafficClass].name,
                        fate.level));
    const auto line = [](const std::string& name, const Verdict& verdict) {
        fmt::print("\n  {:<40}", name);
        for (const Fate& fate : verdict.levels)
            fmt::print(" {:>12}",
                       percentText(fate.bandwidthProtected, fate.bandwidthRequested));
    };
    line("nothing", now.verdict);
    for (const Addition& one : additions)
        line(nameOf(one, plan.network.unit), one.figures.verdict);
    fmt::print("\n");
}

void print(const Plan& plan, const Figures& now, const Cut& cut,
           const std::vector<Addition>& additions) {
    const std::string& unit = plan.network.unit;
    fmt::print("{}\n", plan.network.name);
    if (!cut.links.empty()) {
        fmt::print("  tightest cut: {} leave {} nodes over links of {} ({:.1f} %)\n",
                   formatBandwidth(cut.demand, unit), cut.nodes.size(),
                   formatBandwidth(cut.capacity, unit), 100.0 * cut.share());
        for (int link : cut.links) fmt::print("    {}\n", linkName(plan.network, link));
    }
    fmt::print("  {:<40} {:>12} {:>12} {:>12} {:>12} {:>9}  stretch\n",
               "more capacity for", "carried", "protected", "unprotected", "worst loss",
               "optimum");
    const auto line = [&](const std::string& name, const Figures& figures) {
        fmt::print("  {:<40} {:>12} {:>12} {:>12} {:>12} {:>9}  {}\n", name,
                   formatBandwidth(figures.carried(), unit),
                   formatBandwidth(figures.isProtected(), unit), figures.unprotected,
                   formatBandwidth(figures.verdict.all.worstLost, unit), optimum(figures),
                   stretchText(figures.verdict.all.stretch));
    };
    line("nothing", now);
    for (const Addition& one : additions) line(nameOf(one, unit), one.figures);
    printLevels(plan, now, additions);
    if (!now.bound.known) fmt::print("  optimum not known: {}\n", now.bound.whyNot);
}

int upgrade(const Options& options, const Shared& shared) {
    const Plan plan = readWorkingPlan(options.plan);
    Figures now;
    Cut cut;
    std::vector<Addition> additions;
    {
        Progress progress(shared, {{"growing cuts", plan.network.nodes.size()}});
        cut = tightestCut(plan, [&progress] { progress.advance(); });
        const AuditResult result = auditShown(plan, &progress);
        now = figuresOf(plan, result);
        additions = candidatesFor(plan, result, now, cut, options);
        for (Addition& one : additions) tryOut(plan, &one, &progress);
    }
    std::ranges::stable_sort(additions, {}, [](const Addition& one) {
        return std::tuple(-one.figures.isProtected(), -one.figures.carried(),
                          -one.figures.bound.factor);
    });
    if (!shared.json) {
        print(plan, now, cut, additions);
        return 0;
    }
    json list = json::array();
    for (const Addition& one : additions) {
        list.push_back(toJson(one.figures, plan));
        list.back()["cable"] = one.cable.name;
        list.back()["added"] = one.added;
    }
    json links = json::array();
    for (int link : cut.links) links.push_back(linkName(plan.network, link));
    fmt::print("{}\n", json({{"now", toJson(now, plan)},
                             {"cut",
                              {{"nodes", cut.nodes},
                               {"links", std::move(links)},
                               {"demand", cut.demand},
                               {"capacity", cut.capacity}}},
                             {"additions", std::move(list)}})
                           .dump(1));
    return 0;
}

}  // namespace

void addUpgrade(CLI::App& app, Shared& shared) {
    CLI::App* cmd = app.add_subcommand(
        "upgrade",
        "Which cables are worth more capacity, and the cut that limits a plan");
    auto options = std::make_shared<Options>();
    cmd->add_option("PLAN", options->plan, "Plan")->required();
    cmd->add_option_function<std::string>(
           "--step",
           [options](const std::string& text) {
               options->step = bandwidthFrom(text, "--step");
           },
           "Capacity to add, each way [as much as the cable has]")
        ->type_name("BANDWIDTH");
    cmd->add_option("--candidates", options->candidates, "Cables to try [8]")
        ->check(CLI::Range(1, 1000).description(""));
    addOutputOptions(*cmd, shared);
    cmd->footer(
        "Each addition is tried on the running plan as change --capacity would make it:\n"
        "what was refused or unprotected is tried again, nothing moves. The best is the\n"
        "one that protects most, then the one that carries most. The optimum is the\n"
        "factor to which all demands could grow if traffic could split, without\n"
        "protection. The cut is the tightest that was found by growing sets of nodes,\n"
        "which need not be the tightest.\n"
        "\n"
        "Example:\n"
        "  kavril upgrade plan.json --step 10G");
    onRun(*cmd, shared, [&shared, options] { return upgrade(*options, shared); });
}

}  // namespace workbench
