#include "engine/change.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <map>

#include "audit/failure_sets.h"
#include "cli/error.h"
#include "cli/file.h"
#include "cli/progress.h"
#include "commands/commands.h"
#include "commands/diff.h"
#include "commands/promises.h"
#include "names.h"
#include "plan_json.h"

namespace workbench {

namespace {

using Texts = std::vector<std::string>;

struct Options {
    std::string plan;
    std::string output;
    Texts add, remove, drain, undrain, capacity, link, without, route, lock, unlock;
    std::string backTo;
};

// "WHAT=VALUE", split at the last sign.
std::pair<std::string, std::string> halves(const std::string& text, const char* option) {
    const std::size_t at = text.rfind('=');
    if (at == text.npos || at == 0 || at + 1 == text.size())
        throw UserError(fmt::format("{}: '{}' is not WHAT=VALUE", option, text));
    return {text.substr(0, at), text.substr(at + 1)};
}

// Demands by the id of their LSP, or by their name.
std::vector<int> demandsNamed(const Plan& plan, const std::string& text) {
    int id = -1;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), id);
    const bool isNumber = error == std::errc() && end == text.data() + text.size();
    std::vector<int> found;
    for (std::size_t i = 0; i < plan.demands.size(); i++) {
        const PlanDemand& demand = plan.demands[i];
        if (demand.name == text || (isNumber && id >= 0 && demand.lsp == id))
            found.push_back(static_cast<int>(i));
    }
    if (found.empty())
        throw UserError("the plan has no LSP and no demand '" + text + "'");
    return found;
}

std::pair<int, int> endsNamed(const Plan& plan, const std::string& text,
                              const char* option) {
    const NameIndex names = nodeNames(plan.network);
    const auto trimmed = [](std::string part) {
        part.erase(0, part.find_first_not_of(' '));
        part.erase(part.find_last_not_of(' ') + 1);
        return part;
    };
    for (std::size_t at = text.find_first_of(">-"); at != text.npos;
         at = text.find_first_of(">-", at + 1)) {
        const int src = names.find(trimmed(text.substr(0, at)));
        const int dst = names.find(trimmed(text.substr(at + 1)));
        if (src >= 0 && dst >= 0 && src != dst) return {src, dst};
    }
    throw UserError(
        fmt::format("{}: '{}' does not name two nodes, as in 'A > B'", option, text));
}

// "A > B=2.5G", "A > B=2.5G:voice" or "A > B=2.5G:voice:1".
PlanDemand demandFrom(const Plan& plan, const std::string& text) {
    const auto [ends, value] = halves(text, "--add");
    PlanDemand demand;
    std::tie(demand.src, demand.dst) = endsNamed(plan, ends, "--add");
    std::string oa =
        value.find(':') == value.npos ? "" : value.substr(value.find(':') + 1);
    demand.bandwidth = bandwidthFrom(value.substr(0, value.find(':')), "--add");
    const std::size_t colon = oa.rfind(':');
    const bool hasLevel = colon != oa.npos && colon + 2 == oa.size() &&
                          oa[colon + 1] >= '0' && oa[colon + 1] <= '7';
    const int level = hasLevel ? oa[colon + 1] - '0' : -1;
    if (hasLevel) oa.erase(colon);
    if (!oa.empty()) demand.trafficClass = classNamed(plan.configuration.classes, oa);
    demand.level = hasLevel ? level : usualLevel(plan.configuration, demand.trafficClass);
    return demand;
}

void addDemands(const Plan& plan, const std::string& text, Change* change) {
    if (!std::filesystem::exists(text)) {
        change->add.push_back(demandFrom(plan, text));
        return;
    }
    Findings findings;
    const Demands demands = readDemands(text, plan.network, findings);
    Configuration configuration = plan.configuration;
    configuration.maxDemands = 0;
    const auto more = requestsOf(demands.demands, configuration);
    change->add.insert(change->add.end(), more.begin(), more.end());
}

void addDrained(const Plan& plan, const std::string& text, Drained* drained) {
    const FailureSet set = failureNamed(plan, {text});
    drained->nodes.insert(drained->nodes.end(), set.nodes.begin(), set.nodes.end());
    drained->links.insert(drained->links.end(), set.links.begin(), set.links.end());
}

void takeOut(std::vector<int>* from, const std::vector<int>& values) {
    std::erase_if(*from,
                  [&](int value) { return std::ranges::count(values, value) > 0; });
}

Drained drainedFrom(const Plan& plan, const Options& options) {
    Drained drained = plan.drained;
    for (const std::string& text : options.drain) addDrained(plan, text, &drained);
    Drained back;
    for (const std::string& text : options.undrain) addDrained(plan, text, &back);
    takeOut(&drained.nodes, back.nodes);
    takeOut(&drained.links, back.links);
    for (auto* ids : {&drained.nodes, &drained.links}) {
        std::ranges::sort(*ids);
        ids->erase(std::unique(ids->begin(), ids->end()), ids->end());
    }
    return drained;
}

// "12=A,B,C": the demands of an LSP and the nodes of their route.
void addRoute(const Plan& plan, const std::string& text, Change* change) {
    const auto [who, nodes] = halves(text, "--route");
    std::vector<int> route;
    for (std::size_t at = 0; at <= nodes.size();) {
        const std::size_t comma = std::min(nodes.find(',', at), nodes.size());
        route.push_back(nodeNamed(plan.network, nodes.substr(at, comma - at)));
        at = comma + 1;
    }
    for (std::size_t i = 0; i + 1 < route.size(); i++)
        if (findLink(plan.network, route[i], route[i + 1]) < 0)
            throw UserError(fmt::format("--route: no link leads from {} to {}",
                                        plan.network.nodes[route[i]].name,
                                        plan.network.nodes[route[i + 1]].name));
    for (int demand : demandsNamed(plan, who)) {
        const PlanDemand& one = plan.demands[demand];
        if (one.src != route.front() || one.dst != route.back())
            throw UserError("--route: '" + nodes + "' does not join the ends of " + who);
        change->routes.push_back({demand, route});
    }
}

void addLocks(const Plan& plan, const Options& options, Change* change) {
    for (const std::string& text : options.unlock)
        for (int demand : demandsNamed(plan, text))
            change->routes.push_back({demand, {}});
    for (const std::string& text : options.lock)
        for (int demand : demandsNamed(plan, text))
            for (const PlanLsp& lsp : plan.lsps)
                if (lsp.id == plan.demands[demand].lsp)
                    change->routes.push_back({demand, lsp.path});
}

void addLink(const Plan& plan, const std::string& text, Change* change) {
    const std::size_t colon = text.rfind(':');
    if (colon == text.npos)
        throw UserError("--link: '" + text + "' is not such as 'A - B:10G'");
    const auto [src, dst] = endsNamed(plan, text.substr(0, colon), "--link");
    const double capacity = bandwidthFrom(text.substr(colon + 1), "--link");
    const bool oneWay = text.find('>') != text.npos;
    for (const auto& [a, b] : {std::pair(src, dst), std::pair(dst, src)}) {
        if (findLink(plan.network, a, b) >= 0)
            throw UserError("--link: '" + text + "' is there; --capacity changes it");
        change->links.push_back({a, b, capacity});
        if (oneWay) break;
    }
}

// Routes and drained parts as they were in another plan of the same network.
void goBack(const Plan& plan, const Plan& old, Change* change) {
    if (old.network.links.size() != plan.network.links.size())
        throw UserError("--back-to: the plans are not of one network");
    change->drained = old.drained;
    std::map<int, const PlanLsp*> lspOf;
    for (const PlanLsp& lsp : old.lsps) lspOf[lsp.id] = &lsp;
    for (std::size_t i = 0; i < plan.demands.size() && i < old.demands.size(); i++) {
        const PlanDemand& was = old.demands[i];
        const auto lsp = lspOf.find(was.lsp);
        if (was.src == plan.demands[i].src && was.dst == plan.demands[i].dst &&
            lsp != lspOf.end())
            change->paths.push_back({static_cast<int>(i), lsp->second->path});
    }
}

Change changeFrom(const Plan& plan, const Options& options) {
    Change change;
    change.drained = drainedFrom(plan, options);
    for (const std::string& text : options.capacity) {
        const auto [what, value] = halves(text, "--capacity");
        for (int link : linksNamed(plan.network, what))
            change.capacities.push_back({link, bandwidthFrom(value, "--capacity")});
    }
    for (const std::string& text : options.link) addLink(plan, text, &change);
    for (const std::string& text : options.without)
        for (int link : linksNamed(plan.network, text)) change.without.push_back(link);
    for (const std::string& text : options.remove)
        for (int demand : demandsNamed(plan, text)) change.remove.push_back(demand);
    for (const std::string& text : options.add) addDemands(plan, text, &change);
    for (const std::string& text : options.route) addRoute(plan, text, &change);
    addLocks(plan, options, &change);
    if (!options.backTo.empty()) goBack(plan, readPlan(options.backTo), &change);
    return change;
}

int changePlan(const Options& options, const Shared& shared) {
    const Plan before = readWorkingPlan(options.plan);
    const Change change = changeFrom(before, options);
    Plan after = before;
    {
        Progress progress(shared, {{"changing"}});
        applyChange(&after, change, [&progress] { progress.advance(); });
    }
    checkPromises(&after, shared);
    if (!options.output.empty()) writeFile(options.output, planText(after));
    if (options.output == "-") return 0;
    const PlanDiff diff = diffShown(before, after, shared);
    if (shared.json) {
        fmt::print("{}\n", toJson(diff).dump(1));
        return 0;
    }
    fmt::print("{}\n", after.network.name);
    printDiff(diff, after.network.unit);
    if (!options.drain.empty() && !options.output.empty())
        fmt::print("Way back: kavril change {} --back-to {} -o FILE\n", options.output,
                   options.plan);
    return 0;
}

void addList(CLI::App* cmd, const char* name, Texts* texts, const char* type,
             const char* text) {
    cmd->add_option(name, *texts, text)->allow_extra_args(false)->type_name(type);
}

}  // namespace

void addChange(CLI::App& app, Shared& shared) {
    CLI::App* cmd = app.add_subcommand(
        "change", "Change a running plan; what does not have to move stays");
    auto options = std::make_shared<Options>();
    cmd->add_option("PLAN", options->plan, "Plan")->required();
    addOutputFile(*cmd, &options->output, "Write the changed plan");
    addList(cmd, "--drain", &options->drain, "NAME",
            "Take a node, link (A > B) or cable (A - B) out of service for a while");
    addList(cmd, "--undrain", &options->undrain, "NAME", "Put it back into service");
    cmd->add_option("--back-to", options->backTo,
                    "Routes and drained parts as in this plan, where they fit")
        ->type_name("PLAN");
    addList(cmd, "--add", &options->add, "DEMAND",
            "New demand, 'A > B=2.5G', with :CLASS or :CLASS:LEVEL; or a file of them");
    addList(cmd, "--remove", &options->remove, "LSP",
            "Remove a demand, by the id of its LSP or by its name");
    addList(cmd, "--capacity", &options->capacity, "LINK=BANDWIDTH",
            "New capacity of a link or cable");
    addList(cmd, "--link", &options->link, "ENDS:BANDWIDTH",
            "New cable 'A - B:10G', or 'A > B:10G' for one direction");
    addList(cmd, "--without", &options->without, "LINK",
            "Remove a link or cable for good");
    addList(cmd, "--route", &options->route, "LSP=NODES",
            "Lead an LSP over these nodes, parted by commas, and keep it there");
    addList(cmd, "--lock", &options->lock, "LSP", "Keep an LSP on the path that it has");
    addList(cmd, "--unlock", &options->unlock, "LSP", "Let it move again");
    addOutputOptions(*cmd, shared);
    cmd->footer(
        "LSPs move, with their ids, that cross what is gone, drained or too small now;\n"
        "then demands are tried that were not up, and LSPs protected that were not.\n"
        "What fits nowhere is taken down and listed with the reason. All options can be\n"
        "repeated.\n"
        "\n"
        "Examples:\n"
        "  kavril change plan.json --drain Koeln -o night.json\n"
        "  kavril change night.json --back-to plan.json -o morning.json\n"
        "  kavril change plan.json --add \"Berlin > Essen=2.5G\" --capacity \"Ulm - "
        "Bonn=40G\"");
    onRun(*cmd, shared, [&shared, options] { return changePlan(*options, shared); });
}

}  // namespace workbench
